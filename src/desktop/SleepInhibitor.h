#pragma once

#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <memory>

class BusLink;
class QDBusConnection;

/// Keeps the computer from falling asleep, but not its screen from going dark: through the desktop portal,
/// org.freedesktop.portal.Inhibit, or else through logind. Both let go by themselves when the launcher's
/// process ends. Main thread.
class SleepInhibitor final : public QObject {
    Q_OBJECT

public:
    /// `who` and `why` are shown to the player by some desktops.
    SleepInhibitor(std::shared_ptr<BusLink> sessionBus, std::shared_ptr<BusLink> systemBus, QString who,
                   QString why);
    ~SleepInhibitor() override;

    void hold();
    void release();

    /// Watches the portal on a new connection to the session bus. Any thread.
    void watchPortal(QDBusConnection sessionBus);

private Q_SLOTS:
    void requestEnded(uint result, const QVariantMap &details, const QDBusMessage &message);
    void portalChanged(const QString &name, const QString &before, const QString &after);

private:
    void advance();
    void askPortal();
    void callPortal(const QDBusConnection &bus);
    void askLogind();
    void callLogind(const QDBusConnection &bus);
    void finishAsking();
    void closeRequest();
    void letGo();

    const std::shared_ptr<BusLink> m_sessionBus;
    const std::shared_ptr<BusLink> m_systemBus;
    const QString m_who;
    const QString m_why;

    bool m_isWanted = false;
    /// Whether an answer of the portal or of logind is pending. One question is asked at a time.
    bool m_isAsking = false;
    /// Since `hold()`, so that neither is asked again and again.
    bool m_portalFailed = false;
    bool m_logindFailed = false;

    /// The portal's object that stands for what it holds, or was asked to hold; empty when there is none.
    QString m_request;
    int m_requestCount = 0;
    /// What logind holds, until this is closed.
    QDBusUnixFileDescriptor m_descriptor;
};
