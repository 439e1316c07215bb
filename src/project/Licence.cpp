#include "Licence.h"

#include "FolderListing.h"
#include "TextFile.h"
#include "TextLines.h"

#include <QChar>

#include <utility>

namespace {

constexpr QStringView copyrightWord = u"copyright";

/// A whole character and the number of units that it takes: there are digits beyond the first 65,536
/// characters.
std::pair<char32_t, qsizetype> firstCharacter(QStringView text)
{
    const QChar first = text.front();
    if (first.isHighSurrogate() && text.size() > 1 && text[1].isLowSurrogate())
        return { QChar::surrogateToUcs4(first, text[1]), 2 };
    return { first.unicode(), 1 };
}

/// `text` from its first character on that belongs to no list of years.
QStringView withoutLeadingYears(QStringView text)
{
    while (!text.isEmpty()) {
        const auto [character, size] = firstCharacter(text);
        if (!QChar::isNumber(character) && character != U' ' && character != U',' && character != U'-')
            break;
        text = text.sliced(size);
    }
    return text;
}

QString authorOf(QStringView copyrightLine)
{
    QString holder = copyrightLine.sliced(copyrightWord.size()).toString();
    holder.remove(QLatin1StringView("(c)"), Qt::CaseInsensitive);
    holder.remove(u'\u00a9');
    return TextLines::trimmed(withoutLeadingYears(holder)).toString();
}

}

LicenseInfo LicenseInfo::parse(QStringView text)
{
    QStringView title;
    QStringView copyrightLine;
    TextLines::forEachUntil(text, [&title, &copyrightLine](QStringView untrimmed) {
        const QStringView line = TextLines::trimmed(untrimmed);
        if (title.isEmpty())
            title = line;
        if (line.startsWith(copyrightWord, Qt::CaseInsensitive))
            copyrightLine = line;
        return copyrightLine.isEmpty();
    });

    const QString author = copyrightLine.isEmpty() ? QString() : authorOf(copyrightLine);
    return { title.isEmpty() ? QStringLiteral("See LICENSE file") : title.toString(),
             author.isEmpty() ? QStringLiteral("see LICENSE") : author };
}

LicenseInfo licenseInfo(const QString &root)
{
    const auto path = firstPath(root, [](const QString &name) {
        const QString upper = name.toUpper();
        return upper.startsWith(QLatin1StringView("LICENSE"))
            || upper.startsWith(QLatin1StringView("COPYING"));
    });
    if (!path)
        return { QStringLiteral("No licence file found in the repository"), QStringLiteral("unknown") };
    return LicenseInfo::parse(TextFile::read(*path).value_or(QString()));
}
