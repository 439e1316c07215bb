#include "TextLines.h"

#include <QStringDecoder>

namespace {

bool isBlank(char byte) { return byte == ' ' || byte == '\t'; }
bool isBlank(QChar character) { return character == u' ' || character == u'\t'; }

bool isPlainNewline(char byte) { return byte >= '\n' && byte <= '\r'; }

/// The size in bytes of the newline character at `at`; 0 when there is none.
qsizetype newlineSize(const char *at, const char *end)
{
    const auto first = static_cast<unsigned char>(*at);
    if (first >= 0x0a && first <= 0x0d)
        return 1;
    const auto left = end - at;
    if (first == 0xc2 && left >= 2 && at[1] == '\x85')
        return 2;
    if (first == 0xe2 && left >= 3 && at[1] == '\x80' && (at[2] == '\xa8' || at[2] == '\xa9'))
        return 3;
    return 0;
}

/// `line` up to the last whole character that fits.
QByteArrayView cut(QByteArrayView line, qsizetype longest)
{
    if (line.size() <= longest)
        return line;
    qsizetype size = longest;
    while (size > 0 && (static_cast<unsigned char>(line[size]) & 0xc0) == 0x80)
        --size;
    return line.first(size);
}

}

QByteArrayView TextLines::takeLine(QByteArrayView &rest, qsizetype longest)
{
    const char *const end = rest.data() + rest.size();
    const char *start = rest.data();
    while (start != end) {
        // Fast path over empty lines and indentation.
        if (isBlank(*start) || isPlainNewline(*start)) {
            ++start;
            continue;
        }
        const char *at = start;
        qsizetype size = 0;
        for (; at != end; ++at) {
            // Fast path over nearly everything: no newline character begins with any of these bytes.
            const auto byte = static_cast<unsigned char>(*at);
            if ((byte > 0x0d && byte < 0xc2) || byte > 0xe2)
                continue;
            size = newlineSize(at, end);
            if (size > 0)
                break;
        }
        const QByteArrayView line(start, at);
        start = at + size;
        if (!line.isEmpty()) {
            rest = QByteArrayView(start, end);
            return trimmed(cut(line, longest));
        }
    }
    rest = {};
    return {};
}

QByteArrayView TextLines::trimmed(QByteArrayView text)
{
    const char *start = text.data();
    const char *end = start + text.size();
    while (start != end && isBlank(*start))
        ++start;
    while (start != end && isBlank(end[-1]))
        --end;
    return { start, end };
}

QStringView TextLines::trimmed(QStringView text)
{
    while (!text.isEmpty() && isBlank(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isBlank(text.back()))
        text.chop(1);
    return text;
}

QString TextLines::decoded(QByteArrayView text)
{
    return QStringDecoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom).decode(text);
}

QString TextLines::withoutMarkdown(QByteArrayView line)
{
    QString text = decoded(line);
    text.remove(QLatin1StringView("**"));
    text.remove(QLatin1StringView("__"));
    text.remove(u'`');
    text.remove(u'#');
    return trimmed(QStringView(text)).toString();
}
