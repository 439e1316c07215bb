#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <mutex>

/// Cuts a stream of bytes into lines of text at every line feed and carriage return; empty lines are left out.
/// Invalid UTF-8 becomes replacement characters. Any thread; the handler is called outside the lock.
class LineSplitter final {
public:
    /// A program may print without ever ending a line. Once this many bytes lie unfinished they are handed on as a
    /// line, so that memory stays bounded and nothing is lost.
    static constexpr qsizetype longestLine = 1024 * 1024;

    explicit LineSplitter(std::function<void(const QString &)> handler);

    /// Adds bytes and hands on every line that they complete, in order.
    void feed(const QByteArray &data);

    /// Hands on what is left as a last line.
    void flush();

private:
    const std::function<void(const QString &)> m_handler;
    std::mutex m_lock;
    QByteArray m_buffer;
};
