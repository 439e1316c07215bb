#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// Splits a byte stream into lines of text at every line feed and carriage return; drops empty lines. Invalid
/// UTF-8 becomes replacement characters. Not thread-safe; the handler may feed it again.
class LineSplitter final {
public:
    /// A program may print without ever ending a line. Once this many bytes are buffered they are passed on
    /// as a line, so that memory stays bounded and nothing is lost. A character is never split.
    static constexpr qsizetype longestLine = 1024 * 1024;

    explicit LineSplitter(std::function<void(const QString &)> handler);

    /// Adds bytes and passes on every line that they complete, in order.
    void feed(const QByteArray &data);

    /// Passes on what is left as a last line.
    void flush();

private:
    const std::function<void(const QString &)> m_handler;
    QByteArray m_buffer; // the bytes since the last line break
    qsizetype m_searched = 0; // the leading bytes of m_buffer known to hold no line break
};
