#include "BusLink.h"

#include "MessageBus.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QTimer>

#include <chrono>
#include <utility>

namespace {

constexpr std::chrono::milliseconds longestConnecting { 5000 };
/// Progress asks for the bus many times a second.
constexpr std::chrono::milliseconds pauseAfterFailure { 10000 };

}

BusLink::BusLink(std::function<QString()> address)
    : m_address(std::move(address))
{
}

void BusLink::use(Use use)
{
    m_waiting.append(std::move(use));
    const bool isMissing = m_missing.isValid() && !m_missing.hasExpired(pauseAfterFailure.count());
    if (isConnected() || isMissing || m_isGivenUp) {
        answerAll();
        return;
    }
    if (m_isConnecting)
        return;
    m_connection.reset();
    const QString address = m_address();
    if (address.isEmpty())
        answerAll();
    else
        connect(address);
}

void BusLink::send(const QDBusMessage &message) const
{
    if (isConnected())
        m_connection->send(message);
}

void BusLink::connect(const QString &address)
{
    m_isConnecting = true;
    MessageBus::connect(address, m_prepare,
                        [self = shared_from_this()](std::optional<QDBusConnection> connection) {
                            self->connected(std::move(connection));
                        });
    QTimer::singleShot(longestConnecting, QCoreApplication::instance(),
                       [self = weak_from_this(), attempt = ++m_attempt] {
                           if (const auto link = self.lock())
                               link->giveUp(attempt);
                       });
}

void BusLink::connected(std::optional<QDBusConnection> connection)
{
    m_isConnecting = false;
    m_isGivenUp = false;
    m_connection = std::move(connection);
    if (m_connection)
        m_missing.invalidate();
    else
        m_missing.start();
    answerAll();
}

void BusLink::giveUp(int attempt)
{
    if (!m_isConnecting || attempt != m_attempt)
        return;
    m_isGivenUp = true;
    answerAll();
}

void BusLink::answerAll()
{
    const std::optional<QDBusConnection> connection = m_connection;
    const QList<Use> waiting = std::exchange(m_waiting, {});
    for (const Use &use : waiting)
        use(connection ? &*connection : nullptr);
}
