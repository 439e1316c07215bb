#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

/// Asks the file manager on the session bus to show folders, one question at a time.
///
/// Connecting waits for the bus to answer, and a bus may be stuck: that happens on a thread of its own, which
/// nobody waits for. A bus that takes too long counts as none until it answers after all. Main thread, apart
/// from that. The questions outlive their owner for as long as one is under way.
class FileManagerQuestions final : public std::enable_shared_from_this<FileManagerQuestions> {
public:
    struct Question {
        QString folder;
        /// Called on the main thread, once, unless a file manager shows the folder.
        std::function<void()> onNoAnswer;
    };

    void ask(Question question);

    /// Whether the thread waits for the bus.
    bool isConnecting() const { return m_isConnecting; }

private:
    void askNext();
    void connectTo(const QString &address);
    void connected(const QString &connectionName);
    void notConnected();
    void answered(bool shown);
    void giveUp();

    /// The question under way; none once it was given up.
    std::optional<Question> m_current;
    QList<Question> m_waiting;
    bool m_isConnecting = false;
    /// Counts the attempts to connect, so that a late limit ends none but its own.
    int m_attempt = 0;
};
