#pragma once

#include "Observable.h"

#include <QStringList>

#include <functional>
#include <memory>

/// The launcher's one log: the newest 3000 lines, oldest first, watched by the log view. No levels, no
/// timestamps, no file. `append` may be called from any thread; everything else belongs to the main thread.
class LogStore final : public Observable {
    Q_OBJECT

public:
    /// The most lines kept.
    static constexpr qint64 maxLines = 3000;
    /// The most UTF-16 code units that the kept lines hold together, about 24 MB: the output of a game that
    /// never ends a line arrives in pieces of LineSplitter::longestLine, and 3000 of those would exhaust the
    /// memory. The newest line is kept whatever its length.
    static constexpr qint64 maxTextLength = 12 * 1024 * 1024;

    LogStore();
    ~LogStore() override;

    /// Adds one line, without newline characters at its ends; those inside it stay, and an empty line counts.
    /// On the main thread the line is stored before this returns. From any other thread it is stored on a
    /// later turn of the main thread's event loop, in the order of the calls, or dropped if the store has
    /// been destroyed by then.
    void append(const QString &line);

    /// Returns `append` as a callback. It may outlive the store, and then does nothing. Main thread only.
    std::function<void(const QString &)> appender() const;

    /// The log. The model empties it by assigning an empty list.
    Published<QStringList> lines { this };

private:
    class Inbox;

    void add(const QString &line);

    /// Lines from other threads that the main thread has not stored yet. Shared with those threads, so that a
    /// late line finds a live inbox even after the store is destroyed.
    std::shared_ptr<Inbox> m_inbox;
    qint64 m_textLength = 0; // of the first m_countedLines lines
    qint64 m_countedLines = 0;
};
