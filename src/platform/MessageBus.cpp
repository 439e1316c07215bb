#include "MessageBus.h"

#include "BusProbe.h"
#include "MainThread.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <system_error>
#include <thread>
#include <utility>

namespace {

std::optional<QDBusConnection> connected(const QString &address)
{
    if (!BusProbe::responds(address))
        return std::nullopt;
    const QString name = QUuid::createUuid().toString();
    const QDBusConnection connection = QDBusConnection::connectToBus(address, name);
    if (connection.isConnected())
        return connection;
    QDBusConnection::disconnectFromBus(name);
    return std::nullopt;
}

}

QString MessageBus::sessionAddress()
{
    const QString named = QString::fromLocal8Bit(qgetenv("DBUS_SESSION_BUS_ADDRESS"));
    if (!named.isEmpty())
        return named;
    const QString socket = QFile::decodeName(qgetenv("XDG_RUNTIME_DIR")) + QStringLiteral("/bus");
    return QFileInfo::exists(socket) ? QStringLiteral("unix:path=") + socket : QString();
}

QString MessageBus::systemAddress()
{
    const QString named = QString::fromLocal8Bit(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"));
    return named.isEmpty() ? QStringLiteral("unix:path=/var/run/dbus/system_bus_socket") : named;
}

void MessageBus::connect(const QString &address, std::function<void(QDBusConnection)> prepare,
                         std::function<void(std::optional<QDBusConnection>)> onEnd)
{
    try {
        std::thread([address, prepare = std::move(prepare), onEnd]() mutable {
            std::optional<QDBusConnection> connection = connected(address);
            if (connection && prepare)
                prepare(*connection);
            postToMainThread([onEnd = std::move(onEnd), connection] { onEnd(connection); });
        }).detach();
    } catch (const std::system_error &) {
        // No thread could be started.
        postToMainThread([onEnd] { onEnd(std::nullopt); });
    }
}
