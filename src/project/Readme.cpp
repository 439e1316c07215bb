#include "Readme.h"

#include "FolderListing.h"
#include "TextFile.h"
#include "TextLines.h"

namespace {

// A line with fewer is a badge, a caption or a list of links.
constexpr qsizetype wordsOfASentence = 7;

bool isSentence(QByteArrayView text)
{
    qsizetype words = 0;
    bool inWord = false;
    for (const char character : text) {
        const bool startsWord = !inWord && character != ' ';
        inWord = character != ' ';
        if (startsWord && ++words == wordsOfASentence)
            return true;
    }
    return false;
}

}

QByteArray readmeText(const QString &root)
{
    const auto path = firstPath(root, [](const QString &name) {
        return name.startsWith(QLatin1StringView("readme"), Qt::CaseInsensitive);
    });
    return path ? TextFile::read(*path).value_or(QByteArray()) : QByteArray();
}

QString blurb(QByteArrayView readme, const QString &fallback)
{
    QString heading;
    QString paragraph;
    TextLines::forEachUntil(
        readme,
        [&heading, &paragraph](QByteArrayView line) {
            if (line.startsWith("![") || line.startsWith('<'))
                return true;
            if (line.startsWith('#')) {
                if (heading.isEmpty())
                    heading = TextLines::withoutMarkdown(line);
            } else if (paragraph.isEmpty() && isSentence(line)) {
                // Removing the Markdown may leave fewer words.
                const QString text = TextLines::withoutMarkdown(line);
                if (isSentence(text.toUtf8()))
                    paragraph = text;
            }
            // The heading may come after the paragraph.
            return heading.isEmpty() || paragraph.isEmpty();
        },
        longestParagraph);

    if (heading.isEmpty() && paragraph.isEmpty())
        return fallback;
    if (heading.isEmpty())
        return paragraph;
    if (paragraph.isEmpty())
        return heading;
    return heading + QStringLiteral(" \u2014 ") + paragraph;
}
