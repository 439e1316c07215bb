#include "Workspace.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QFile>
#include <QFileInfo>
#include <QThreadPool>
#include <QUrl>
#include <QUuid>

#include <chrono>

namespace {

// A file manager may have to be started first.
constexpr auto longestWait = std::chrono::seconds(10);

/// The address of the player's bus; empty when there is none. Asked for here rather than left to the bus
/// library, which starts a bus of its own when it finds none.
QString sessionBusAddress()
{
    const QString named = QString::fromLocal8Bit(qgetenv("DBUS_SESSION_BUS_ADDRESS"));
    if (!named.isEmpty())
        return named;
    const QString socket = QFile::decodeName(qgetenv("XDG_RUNTIME_DIR")) + QStringLiteral("/bus");
    return QFileInfo::exists(socket) ? QStringLiteral("unix:path=") + socket : QString();
}

void openFolder(const QString &folder)
{
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(folder)))
        qWarning("Nothing on this desktop opens the folder %s.", qUtf8Printable(folder));
}

void openParent(const QString &folder) { openFolder(QFileInfo(folder).absolutePath()); }

void showInFileManager(const QString &connectionName, const QString &folder)
{
    const QDBusConnection connection(connectionName);
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    const QString startupId;
    message << QStringList(QUrl::fromLocalFile(folder).toString(QUrl::FullyEncoded)) << startupId;

    const auto limit = std::chrono::milliseconds(longestWait);
    auto *answer = new QDBusPendingCallWatcher(connection.asyncCall(message, static_cast<int>(limit.count())),
                                               QCoreApplication::instance());
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer, [answer, connectionName, folder] {
        const bool shown = !answer->isError();
        answer->deleteLater();
        QDBusConnection::disconnectFromBus(connectionName);
        if (!shown)
            openParent(folder);
    });
}

}

void DesktopWorkspace::reveal(const QString &folder)
{
    const QString address = sessionBusAddress();
    if (address.isEmpty()) {
        openParent(folder);
        return;
    }
    // Connecting waits for the bus to answer, and a bus may be stuck: never on the main thread.
    QThreadPool::globalInstance()->start([address, folder] {
        const QString name = QUuid::createUuid().toString();
        const bool isConnected = QDBusConnection::connectToBus(address, name).isConnected();
        if (auto *application = QCoreApplication::instance()) {
            const auto show = [isConnected, name, folder] {
                if (isConnected) {
                    showInFileManager(name, folder);
                } else {
                    QDBusConnection::disconnectFromBus(name);
                    openParent(folder);
                }
            };
            QMetaObject::invokeMethod(application, show, Qt::QueuedConnection);
        }
    });
}

void DesktopWorkspace::open(const QString &folder) { openFolder(folder); }
