#include "LicenseInfo.h"

#include "FolderListing.h"
#include "TextFile.h"
#include "TextLines.h"

#include <QChar>

#include <utility>

namespace {

constexpr QByteArrayView copyrightWord = "copyright";

/// The first code point and its size in UTF-16 code units: some digits lie beyond U+FFFF.
std::pair<char32_t, qsizetype> firstCharacter(QStringView text)
{
    const QChar first = text.front();
    if (first.isHighSurrogate() && text.size() > 1 && text[1].isLowSurrogate())
        return { QChar::surrogateToUcs4(first, text[1]), 2 };
    return { first.unicode(), 1 };
}

/// `text` without leading years: numbers, spaces, commas and hyphens.
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

bool isCopyrightLine(QByteArrayView line)
{
    return qstrnicmp(line.data(), qMin(line.size(), copyrightWord.size()), copyrightWord.data(),
                     copyrightWord.size())
        == 0;
}

QString authorOf(QByteArrayView copyrightLine)
{
    QString holder = TextLines::decoded(copyrightLine.sliced(copyrightWord.size()));
    holder.remove(QLatin1StringView("(c)"), Qt::CaseInsensitive);
    holder.remove(u'\u00a9');
    return TextLines::trimmed(withoutLeadingYears(holder)).toString();
}

}

LicenseInfo LicenseInfo::parse(QByteArrayView text)
{
    QByteArrayView title;
    QByteArrayView copyrightLine;
    TextLines::forEachUntil(text, [&title, &copyrightLine](QByteArrayView line) {
        if (title.isEmpty())
            title = line;
        if (isCopyrightLine(line))
            copyrightLine = line;
        return copyrightLine.isEmpty();
    });

    const QString author = copyrightLine.isEmpty() ? QString() : authorOf(copyrightLine);
    return { title.isEmpty() ? QStringLiteral("See LICENSE file") : TextLines::decoded(title),
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
    return LicenseInfo::parse(TextFile::read(*path).value_or(QByteArray()));
}
