#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <mutex>

/// Cuts a stream of bytes into lines of text at every line feed and carriage return; empty lines are left
/// out. Invalid UTF-8 becomes replacement characters. Any thread; the handler is called outside the lock.
class LineSplitter final {
public:
    /// A program may print without ever ending a line. Once this many bytes lie unfinished they are handed on
    /// as a line, so that memory stays bounded and nothing is lost. A character is never cut in two.
    static constexpr qsizetype longestLine = 1024 * 1024;

    explicit LineSplitter(std::function<void(const QString &)> handler);

    /// Adds bytes and hands on every line that they complete, in order.
    void feed(const QByteArray &data);

    /// Hands on what is left as a last line.
    void flush();

private:
    const std::function<void(const QString &)> m_handler;
    std::mutex m_lock;
    QByteArray m_buffer; // guarded by m_lock; the bytes since the last line break
    qsizetype m_searched = 0; // guarded by m_lock; so many bytes of m_buffer are known to hold no line break
};
