#include "LineSplitter.h"

#include "Utf8Repair.h"

#include <QStringList>

#include <algorithm>
#include <utility>

namespace {

bool isBreak(char byte) { return byte == '\n' || byte == '\r'; }

/// Moves pieces of `unfinished` to `lines` until less than `longestLine` is left, and returns that rest.
QByteArrayView cutPieces(QByteArrayView unfinished, QStringList &lines)
{
    while (unfinished.size() >= LineSplitter::longestLine) {
        const QByteArrayView longest = unfinished.first(LineSplitter::longestLine);
        const QByteArrayView piece = longest.chopped(Utf8Repair::unfinishedTail(longest));
        lines.append(Utf8Repair::decode(piece));
        unfinished = unfinished.sliced(piece.size());
    }
    return unfinished;
}

}

LineSplitter::LineSplitter(std::function<void(const QString &)> handler)
    : m_handler(std::move(handler))
{
}

void LineSplitter::feed(const QByteArray &data)
{
    if (data.isEmpty())
        return;
    m_buffer += data;
    QStringList lines;
    const char *const end = m_buffer.constData() + m_buffer.size();
    const char *start = m_buffer.constData();
    const char *lineBreak = std::find_if(start + m_searched, end, isBreak);
    while (lineBreak != end) {
        const QByteArrayView rest = cutPieces({ start, lineBreak }, lines);
        if (!rest.isEmpty())
            lines.append(Utf8Repair::decode(rest));
        start = lineBreak + 1;
        lineBreak = std::find_if(start, end, isBreak);
    }
    const QByteArrayView unfinished = cutPieces({ start, end }, lines);
    m_searched = unfinished.size();
    m_buffer.remove(0, m_buffer.size() - unfinished.size());
    for (const QString &line : std::as_const(lines))
        m_handler(line);
}

void LineSplitter::flush()
{
    const QByteArray rest = std::exchange(m_buffer, {});
    m_searched = 0;
    if (!rest.isEmpty())
        m_handler(Utf8Repair::decode(rest));
}
