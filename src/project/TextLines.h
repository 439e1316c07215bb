#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringView>

/// Looks at UTF-8 text line by line without copying or decoding it: a game's file may be large, and few of
/// its lines matter.
namespace TextLines {

/// How many bytes of a line are looked at unless a caller says otherwise. Lines become what the player sees,
/// and nobody reads that far.
constexpr qsizetype longestLine = 64 * 1024;

/// The next line of `rest` that is not empty, which is taken from it; empty when there is none. Lines end at
/// every newline character, and are given without blanks at both ends and no longer than `longest`.
QByteArrayView takeLine(QByteArrayView &rest, qsizetype longest = longestLine);

/// Calls `see` with every line of `text` that is not empty, as `takeLine` gives it, until it returns false.
template <typename See> void forEachUntil(QByteArrayView text, See see, qsizetype longest = longestLine)
{
    for (;;) {
        const QByteArrayView line = takeLine(text, longest);
        if (line.isEmpty() || !see(line))
            return;
    }
}

/// `text` without spaces and tabs (and nothing else) at both ends.
QByteArrayView trimmed(QByteArrayView text);
QStringView trimmed(QStringView text);

/// `text` decoded as it stands. QString::fromUtf8 would take a U+FEFF at its beginning for a byte order mark,
/// which it only is at the beginning of a file.
QString decoded(QByteArrayView text);

/// `line` without the signs of Markdown that would only be noise in plain text, trimmed: every "**", then
/// every "__", then every "`", then every "#".
QString withoutMarkdown(QByteArrayView line);

}
