#include "SleepInhibitor.h"

#include "BusLink.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPointer>

#include <chrono>
#include <utility>

namespace {

// Either service may have to be started first.
constexpr std::chrono::milliseconds longestAnswer { 10000 };

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
/// The portal's flag for suspending, as opposed to logging out, switching users or the idle screen.
constexpr uint suspending = 4;

/// The path that the portal gives to a request with this token.
QString requestPath(const QDBusConnection &bus, const QString &token)
{
    const QString sender = bus.baseService().mid(1).replace(u'.', u'_');
    return portalPath + QStringLiteral("/request/") + sender + u'/' + token;
}

}

SleepInhibitor::SleepInhibitor(std::shared_ptr<BusLink> sessionBus, std::shared_ptr<BusLink> systemBus,
                               QString who, QString why)
    : m_sessionBus(std::move(sessionBus))
    , m_systemBus(std::move(systemBus))
    , m_who(std::move(who))
    , m_why(std::move(why))
{
}

SleepInhibitor::~SleepInhibitor() { letGo(); }

void SleepInhibitor::hold()
{
    if (m_isWanted)
        return;
    m_isWanted = true;
    m_portalFailed = false;
    m_logindFailed = false;
    advance();
}

void SleepInhibitor::release()
{
    m_isWanted = false;
    advance();
}

void SleepInhibitor::watchPortal(QDBusConnection sessionBus)
{
    sessionBus.connect(QString(), QString(), requestInterface, QStringLiteral("Response"), this,
                       SLOT(requestEnded(uint, QVariantMap, QDBusMessage)));
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    sessionBus.connect(bus, QStringLiteral("/org/freedesktop/DBus"), bus, QStringLiteral("NameOwnerChanged"),
                       { portalService }, QString(), this, SLOT(portalChanged(QString, QString, QString)));
}

/// The portal answers first and only then asks the desktop, which may refuse.
void SleepInhibitor::requestEnded(uint result, const QVariantMap & /*details*/, const QDBusMessage &message)
{
    if (result == 0 || m_request.isEmpty() || message.path() != m_request)
        return;
    m_request.clear();
    m_portalFailed = true;
    advance();
}

/// A portal that ends takes with it what it held.
void SleepInhibitor::portalChanged(const QString & /*name*/, const QString &before, const QString & /*after*/)
{
    if (before.isEmpty() || m_request.isEmpty())
        return;
    m_request.clear();
    m_portalFailed = true;
    advance();
}

void SleepInhibitor::advance()
{
    if (m_isAsking)
        return;
    if (!m_isWanted) {
        letGo();
        return;
    }
    if (!m_request.isEmpty() || m_descriptor.isValid() || m_logindFailed)
        return;
    m_isAsking = true;
    if (m_portalFailed)
        askLogind();
    else
        askPortal();
}

void SleepInhibitor::finishAsking()
{
    m_isAsking = false;
    advance();
}

void SleepInhibitor::askPortal()
{
    m_sessionBus->use([self = QPointer(this)](const QDBusConnection *bus) {
        if (self && bus)
            self->callPortal(*bus);
        else if (self)
            self->askLogind();
    });
}

void SleepInhibitor::callPortal(const QDBusConnection &bus)
{
    const QString token = QStringLiteral("vantor_platformer_%1").arg(++m_requestCount);
    m_request = requestPath(bus, token);
    QDBusMessage message = QDBusMessage::createMethodCall(portalService, portalPath,
                                                          QStringLiteral("org.freedesktop.portal.Inhibit"),
                                                          QStringLiteral("Inhibit"));
    const QString noWindow;
    message << noWindow << suspending
            << QVariantMap { { QStringLiteral("reason"), m_why }, { QStringLiteral("handle_token"), token } };
    auto *answer
        = new QDBusPendingCallWatcher(bus.asyncCall(message, static_cast<int>(longestAnswer.count())), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> reply = *answer;
        if (reply.isError()) {
            closeRequest(); // a portal that took too long may still do what it was asked
            m_portalFailed = true;
        } else if (!m_request.isEmpty()) {
            m_request = reply.value().path();
        }
        finishAsking();
    });
}

void SleepInhibitor::askLogind()
{
    m_systemBus->use([self = QPointer(this)](const QDBusConnection *bus) {
        if (!self)
            return;
        if (bus) {
            self->callLogind(*bus);
        } else {
            self->m_logindFailed = true;
            self->finishAsking();
        }
    });
}

void SleepInhibitor::callLogind(const QDBusConnection &bus)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
    // Not "idle", which would keep the screen on. An idle computer is put to sleep, which "sleep" forbids.
    message << QStringLiteral("sleep") << m_who << m_why << QStringLiteral("block");
    auto *answer
        = new QDBusPendingCallWatcher(bus.asyncCall(message, static_cast<int>(longestAnswer.count())), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *answer;
        if (!reply.isError())
            m_descriptor = reply.value();
        m_logindFailed = !m_descriptor.isValid();
        finishAsking();
    });
}

void SleepInhibitor::closeRequest()
{
    if (m_request.isEmpty())
        return;
    QDBusMessage message = QDBusMessage::createMethodCall(portalService, std::exchange(m_request, {}),
                                                          requestInterface, QStringLiteral("Close"));
    message.setAutoStartService(false);
    m_sessionBus->send(message);
}

void SleepInhibitor::letGo()
{
    closeRequest();
    m_descriptor = QDBusUnixFileDescriptor();
}
