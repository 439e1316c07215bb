#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringView>

/// Reads UTF-8 text line by line without copying or decoding it: a game's file may be large, and few of its
/// lines matter.
namespace TextLines {

/// The most bytes of a line that are used unless a caller says otherwise. Lines are shown to the player, and
/// nobody reads that far.
constexpr qsizetype longestLine = 64 * 1024;

/// Removes the next non-empty line from `rest` and returns it, trimmed and no longer than `longest`; empty
/// when there is none. Lines end at every newline character.
QByteArrayView takeLine(QByteArrayView &rest, qsizetype longest = longestLine);

/// Calls `see` with every line that `takeLine` finds in `text`, until it returns false.
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

/// Decodes `text` and keeps a leading U+FEFF. QString::fromUtf8 would drop it as a byte order mark, which it
/// only is at the beginning of a file.
QString decoded(QByteArrayView text);

/// `line` without the Markdown that would only be noise in plain text: removes every "**", then every "__",
/// then every "`", then every "#", and trims the rest.
QString withoutMarkdown(QByteArrayView line);

}
