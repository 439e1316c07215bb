#pragma once

#include "TextFile.h"

#include <QString>
#include <QStringView>

/// Looks at a text line by line without copying it: a game's file may be large, and few of its lines matter.
namespace TextLines {

/// Calls `see` with every line of `text`, cut at every newline character, empty lines included, until it
/// returns false.
template <typename See> void forEachUntil(QStringView text, See see)
{
    qsizetype start = 0;
    for (qsizetype end = 0; end <= text.size(); ++end) {
        if (end < text.size() && !TextFile::isNewline(text[end]))
            continue;
        if (!see(text.sliced(start, end - start)))
            return;
        start = end + 1;
    }
}

/// `line` without spaces and tabs (and nothing else) at both ends.
QStringView trimmed(QStringView line);

/// `line` without the signs of Markdown that would only be noise in plain text, trimmed: every "**", then
/// every "__", then every "`", then every "#".
QString withoutMarkdown(QStringView line);

}
