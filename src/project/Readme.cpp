#include "Readme.h"

#include "FolderListing.h"
#include "TextFile.h"
#include "TextLines.h"

namespace {

// A line with fewer is a badge, a caption or a list of links.
constexpr qsizetype wordsOfASentence = 7;

bool isSentence(QStringView text)
{
    qsizetype words = 0;
    bool inWord = false;
    for (const QChar character : text) {
        const bool startsWord = !inWord && character != u' ';
        inWord = character != u' ';
        if (startsWord && ++words == wordsOfASentence)
            return true;
    }
    return false;
}

}

QString readmeText(const QString &root)
{
    const auto path = firstPath(root, [](const QString &name) {
        return name.startsWith(QLatin1StringView("readme"), Qt::CaseInsensitive);
    });
    return path ? TextFile::read(*path).value_or(QString()) : QString();
}

QString blurb(const QString &readme, const QString &fallback)
{
    QString heading;
    QString paragraph;
    TextLines::forEachUntil(readme, [&heading, &paragraph](QStringView untrimmed) {
        const QStringView line = TextLines::trimmed(untrimmed);
        if (line.isEmpty() || line.startsWith(u"![") || line.startsWith(u'<'))
            return true;
        if (line.startsWith(u'#')) {
            if (heading.isEmpty())
                heading = TextLines::withoutMarkdown(line);
        } else if (paragraph.isEmpty()) {
            const QString text = TextLines::withoutMarkdown(line);
            if (isSentence(text))
                paragraph = text;
        }
        // The heading may stand below the paragraph.
        return heading.isEmpty() || paragraph.isEmpty();
    });

    if (heading.isEmpty() && paragraph.isEmpty())
        return fallback;
    if (heading.isEmpty())
        return paragraph;
    if (paragraph.isEmpty())
        return heading;
    return heading + QStringLiteral(" \u2014 ") + paragraph;
}
