#include "TextLines.h"

namespace {

bool isBlank(QChar character) { return character == u' ' || character == u'\t'; }

}

QStringView TextLines::trimmed(QStringView line)
{
    while (!line.isEmpty() && isBlank(line.front()))
        line = line.sliced(1);
    while (!line.isEmpty() && isBlank(line.back()))
        line.chop(1);
    return line;
}

QString TextLines::withoutMarkdown(QStringView line)
{
    QString text = without(line, u"**");
    text = without(text, u"__");
    text = without(text, u"`");
    text = without(text, u"#");
    return trimmed(text).toString();
}

QString TextLines::without(QStringView text, QStringView what, Qt::CaseSensitivity sensitivity)
{
    QString rest;
    qsizetype start = 0;
    for (qsizetype found = 0; (found = text.indexOf(what, start, sensitivity)) >= 0;
         start = found + what.size())
        rest += text.sliced(start, found - start);
    rest += text.sliced(start);
    return rest;
}
