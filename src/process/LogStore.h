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
    /// The most UTF-16 code units that the kept lines hold together, about 24 MB: a game that prints without
    /// ever ending a line comes in pieces of LineSplitter::longestLine, and 3000 of those would fill the
    /// memory. The newest line stays whatever its length.
    static constexpr qint64 maxTextLength = 12 * 1024 * 1024;

    LogStore();
    ~LogStore() override;

    /// Adds one line, without newline characters at its ends; those inside it stay, and an empty line is a
    /// line. On the main thread the line is stored before this returns. From any other thread it is stored on
    /// a later turn of the main thread's event loop, in the order of the calls; it is dropped when the store
    /// is gone by then.
    void append(const QString &line);

    /// `append` as a callback that may outlive the store: then it does nothing. Made on the main thread.
    std::function<void(const QString &)> appender() const;

    /// The log. The model empties it by assigning an empty list.
    Published<QStringList> lines { this };

private:
    class Inbox;

    void add(const QString &line);

    /// What other threads have appended and the main thread has not yet stored. Shared with those threads, so
    /// that a late line finds a live inbox even when the store is gone.
    std::shared_ptr<Inbox> m_inbox;
    qint64 m_textLength = 0; // of the m_countedLines first lines
    qint64 m_countedLines = 0;
};
