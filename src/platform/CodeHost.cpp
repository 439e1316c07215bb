#include "CodeHost.h"

namespace {

QUrl &currentAddress()
{
    static QUrl address = CodeHost::official();
    return address;
}

}

QUrl CodeHost::official() { return QUrl(QStringLiteral("https://github.com")); }

QUrl CodeHost::address() { return currentAddress(); }

void CodeHost::setAddress(const QUrl &address) { currentAddress() = address; }

QUrl CodeHost::url(const QString &path)
{
    if (!path.startsWith(QLatin1Char('/')))
        return QUrl();
    return QUrl(address().toString() + path, QUrl::StrictMode);
}
