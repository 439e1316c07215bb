#pragma once

#include <QDBusConnection>
#include <QElapsedTimer>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

class QDBusMessage;

/// The link to one message bus, made when first needed and again after the bus has ended. A bus that takes
/// too long to answer counts as missing until it answers after all, and one that could not be reached is left
/// alone for a while. A thread that waits for the bus keeps this object alive after its owner has released
/// it. Main thread.
class BusLink final : public std::enable_shared_from_this<BusLink> {
public:
    using Use = std::function<void(const QDBusConnection *)>;

    /// `address` returns the bus's address, or an empty one if there is no bus.
    explicit BusLink(std::function<QString()> address);

    /// `prepare` is called on another thread, once for each connection, before that is used.
    void prepareWith(std::function<void(QDBusConnection)> prepare) { m_prepare = std::move(prepare); }

    /// Calls `use` once, at once or later, with the connection, or with null if there is none.
    void use(Use use);
    /// Sends `message`, which nobody answers, if the bus is connected. Never connects to it.
    void send(const QDBusMessage &message) const;

    /// Whether a thread is still waiting for the bus.
    bool isConnecting() const { return m_isConnecting; }

private:
    bool isConnected() const { return m_connection && m_connection->isConnected(); }
    void connect(const QString &address);
    void connected(std::optional<QDBusConnection> connection);
    void giveUp(int attempt);
    void answerAll();

    const std::function<QString()> m_address;
    std::function<void(QDBusConnection)> m_prepare;
    std::optional<QDBusConnection> m_connection;
    QList<Use> m_waiting;
    /// Since the bus could last not be reached.
    QElapsedTimer m_missing;
    bool m_isConnecting = false;
    bool m_isGivenUp = false;
    /// Counts the attempts to connect, so that a late timeout ends only its own attempt.
    int m_attempt = 0;
};
