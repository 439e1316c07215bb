#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class BusLink;
class QDBusConnection;

/// At most one notification, through org.freedesktop.Notifications: a new one replaces the last. Main thread.
class Notifier final : public QObject {
    Q_OBJECT

public:
    /// `icon` is the name of an icon and of the launcher's menu entry.
    Notifier(std::shared_ptr<BusLink> bus, QString icon, QString title);
    ~Notifier() override;

    /// Shows `sentence`, which is plain text.
    void show(const QString &sentence);
    /// Removes what is shown, and what is about to be.
    void withdraw();

private:
    void advance();
    void askServer(const QDBusConnection &bus);
    void askOwner(const QDBusConnection &bus, const QStringList &capabilities);
    void send(const QDBusConnection &bus, const QString &server, const QStringList &capabilities);
    void finishAsking();
    void close();

    const std::shared_ptr<BusLink> m_bus;
    const QString m_icon;
    const QString m_title;

    /// What is to be shown and was not sent yet.
    std::optional<QString> m_next;
    bool m_isWanted = false;
    /// Whether an answer of the server is pending. One question is asked at a time.
    bool m_isAsking = false;

    /// The shown notification, 0 when there is none, and the server's own name: after it was started again,
    /// the same number may be another program's.
    uint m_shown = 0;
    QString m_server;
};
