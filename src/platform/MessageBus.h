#pragma once

#include <QDBusConnection>
#include <QString>

#include <functional>
#include <optional>

/// The message buses of a desktop, connected to without waiting for them.
///
/// Use the connection that you are handed, and nothing else of QDBusConnection, on the main thread: looking a
/// connection up by its name and connecting to a signal both wait for whatever is being connected just then.
namespace MessageBus {

/// The address of the session bus; empty when there is none. Looked up here because the D-Bus library would
/// start a bus of its own when it finds none.
QString sessionAddress();

/// The address of the system bus, whether there is one or not.
QString systemAddress();

/// Connects to the bus at `address` on a detached thread, because a bus may hang. Calls `prepare` on that
/// thread once it is connected; what connects to signals belongs there. Then calls `onEnd` on the main
/// thread, with no value if there is no such bus; never, if the bus never answers. Main thread.
void connect(const QString &address, std::function<void(QDBusConnection)> prepare,
             std::function<void(std::optional<QDBusConnection>)> onEnd);

}
