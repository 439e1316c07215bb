#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class QDBusConnection;

/// Asks the file manager on the session bus to show folders, one question at a time.
///
/// Connecting blocks until the bus answers, and a bus may hang, so it happens on a detached thread. A bus
/// that takes too long counts as missing until it answers after all. Everything else is for the main thread.
/// A pending question keeps this object alive after its owner has released it.
class FileManagerQuestions final : public std::enable_shared_from_this<FileManagerQuestions> {
public:
    struct Question {
        QString folder;
        /// Called on the main thread, once, unless a file manager shows the folder.
        std::function<void()> onNoAnswer;
    };

    void ask(Question question);

    /// Whether the thread is still waiting for the bus.
    bool isConnecting() const { return m_isConnecting; }

private:
    void askNext();
    void connectTo(const QString &address);
    void connected(const QDBusConnection &connection);
    void notConnected();
    void answered(bool shown);
    void giveUp();

    /// The pending question; no value once it was given up.
    std::optional<Question> m_current;
    QList<Question> m_waiting;
    bool m_isConnecting = false;
    /// Counts the attempts to connect, so that a late timeout ends only its own attempt.
    int m_attempt = 0;
};
