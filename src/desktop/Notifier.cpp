#include "Notifier.h"

#include "BusLink.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPointer>

#include <chrono>
#include <utility>

namespace {

// The server may have to be started first.
constexpr std::chrono::milliseconds longestAnswer { 10000 };

QDBusMessage callTo(const QString &server, const QString &method)
{
    const QString name = QStringLiteral("org.freedesktop.Notifications");
    return QDBusMessage::createMethodCall(server.isEmpty() ? name : server,
                                          QStringLiteral("/org/freedesktop/Notifications"), name, method);
}

}

Notifier::Notifier(std::shared_ptr<BusLink> bus, QString icon, QString title)
    : m_bus(std::move(bus))
    , m_icon(std::move(icon))
    , m_title(std::move(title))
{
}

Notifier::~Notifier() { close(); }

void Notifier::show(const QString &sentence)
{
    m_isWanted = true;
    m_next = sentence;
    advance();
}

void Notifier::withdraw()
{
    m_isWanted = false;
    m_next.reset();
    advance();
}

void Notifier::advance()
{
    if (m_isAsking)
        return;
    if (!m_isWanted) {
        close();
        return;
    }
    if (!m_next)
        return;
    m_isAsking = true;
    m_bus->use([self = QPointer(this)](const QDBusConnection *bus) {
        if (!self)
            return;
        if (bus) {
            self->askServer(*bus);
        } else {
            self->m_next.reset();
            self->finishAsking();
        }
    });
}

void Notifier::finishAsking()
{
    m_isAsking = false;
    advance();
}

/// Asks each time: the server may have been replaced since.
void Notifier::askServer(const QDBusConnection &bus)
{
    auto *answer = new QDBusPendingCallWatcher(
        bus.asyncCall(callTo({}, QStringLiteral("GetCapabilities")), static_cast<int>(longestAnswer.count())),
        this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, bus] {
        answer->deleteLater();
        const QDBusPendingReply<QStringList> reply = *answer;
        if (reply.isError())
            m_next.reset();
        if (m_next)
            askOwner(bus, reply.value());
        else
            finishAsking();
    });
}

/// Asks which process owns the server's name: since Qt 6.8 an answer no longer says who sent it.
void Notifier::askOwner(const QDBusConnection &bus, const QStringList &capabilities)
{
    const QString daemon = QStringLiteral("org.freedesktop.DBus");
    QDBusMessage message = QDBusMessage::createMethodCall(daemon, QStringLiteral("/org/freedesktop/DBus"),
                                                          daemon, QStringLiteral("GetNameOwner"));
    message << callTo({}, {}).service();
    auto *answer
        = new QDBusPendingCallWatcher(bus.asyncCall(message, static_cast<int>(longestAnswer.count())), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, bus, capabilities] {
        answer->deleteLater();
        const QDBusPendingReply<QString> reply = *answer;
        if (reply.isError())
            m_next.reset();
        if (m_next)
            send(bus, reply.value(), capabilities);
        else
            finishAsking();
    });
}

void Notifier::send(const QDBusConnection &bus, const QString &server, const QStringList &capabilities)
{
    const QString sentence = std::exchange(m_next, std::nullopt).value();
    const bool hasBody = capabilities.contains(QStringLiteral("body"));
    const bool readsMarkup = capabilities.contains(QStringLiteral("body-markup"));
    const uint replaced = server == m_server ? m_shown : 0;
    const int usualTime = -1;

    QDBusMessage message = callTo(server, QStringLiteral("Notify"));
    message << m_title << replaced << m_icon << (hasBody ? m_title : sentence)
            << (hasBody ? (readsMarkup ? sentence.toHtmlEscaped() : sentence) : QString()) << QStringList()
            << QVariantMap { { QStringLiteral("desktop-entry"), m_icon } } << usualTime;
    auto *answer
        = new QDBusPendingCallWatcher(bus.asyncCall(message, static_cast<int>(longestAnswer.count())), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, server] {
        answer->deleteLater();
        const QDBusPendingReply<uint> reply = *answer;
        if (!reply.isError()) {
            m_shown = reply.value();
            m_server = server;
        }
        finishAsking();
    });
}

void Notifier::close()
{
    if (m_shown == 0)
        return;
    QDBusMessage message = callTo(m_server, QStringLiteral("CloseNotification"));
    message << std::exchange(m_shown, 0U);
    m_bus->send(message);
}
