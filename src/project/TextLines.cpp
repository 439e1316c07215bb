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
    QString text = line.toString();
    text.remove(QLatin1StringView("**"));
    text.remove(QLatin1StringView("__"));
    text.remove(u'`');
    text.remove(u'#');
    return trimmed(text).toString();
}
