#include "MemberName.h"

#include "UnpackError.h"

#include <QByteArray>
#include <QString>

#include <algorithm>

namespace {

constexpr std::size_t longestPart = 255;

QString decoded(const std::string &name)
{
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

/// Decoding replaces what is no UTF-8, so that only a text that is comes back as it was.
bool isUtf8(const std::string &name)
{
    const QByteArray again = decoded(name).toUtf8();
    return std::string_view(again.constData(), static_cast<std::size_t>(again.size())) == name;
}

bool hasControlCharacters(const std::string &name)
{
    const QString text = decoded(name);
    return std::any_of(text.begin(), text.end(),
                       [](QChar character) { return character.category() == QChar::Other_Control; });
}

[[noreturn]] void refuse(const std::string &name, const std::string &reason)
{
    throw UnpackError("The archive cannot be trusted: the name " + quoted(name) + " " + reason + ".");
}

}

std::vector<std::string> partsOf(std::string_view text)
{
    std::vector<std::string> parts;
    for (;;) {
        const std::size_t slash = text.find('/');
        parts.emplace_back(text.substr(0, slash));
        if (slash == std::string_view::npos)
            return parts;
        text.remove_prefix(slash + 1);
    }
}

void checkMemberName(const std::string &name)
{
    if (name.empty())
        refuse(name, "is empty");
    if (name.size() > longestName)
        refuse(name, "is too long");
    if (!isUtf8(name))
        refuse(name, "is not written in UTF-8");
    if (hasControlCharacters(name))
        refuse(name, "holds control characters");
    if (name.find('\\') != std::string::npos)
        refuse(name, "holds a backslash");
    if (name.front() == '/')
        refuse(name, "leads out of the folder");
    for (const std::string &part : partsOf(name)) {
        if (part == "..")
            refuse(name, "leads out of the folder");
        if (part.empty() || part == ".")
            refuse(name, "has an empty part");
        if (part.size() > longestPart)
            refuse(name, "is too long");
    }
}

void checkLinkTarget(const std::string &link, const std::string &target)
{
    if (target.empty() || target.size() > longestName || !isUtf8(target) || hasControlCharacters(target))
        throw UnpackError("The archive cannot be trusted: the link " + quoted(link)
                          + " leads to no proper path.");
    if (target.front() == '/')
        throw UnpackError("The archive cannot be trusted: the link " + quoted(link)
                          + " leads out of the folder.");
}

std::string comparisonKey(const std::string &name)
{
    // Capitals first: only as a capital does "ß" become the "SS" that it is the same as. Folding can undo the
    // normal form, so that it is made again behind it.
    const QString normal = decoded(name).normalized(QString::NormalizationForm_D).toUpper().toCaseFolded();
    return normal.normalized(QString::NormalizationForm_D).toStdString();
}

std::string quoted(const std::string &name)
{
    constexpr qsizetype longestShown = 120;
    QString text = decoded(name);
    for (QChar &character : text) {
        if (!character.isPrint() && !character.isSurrogate())
            character = QLatin1Char('?');
    }
    if (text.size() > longestShown)
        text = text.left(longestShown) + QStringLiteral("…");
    return (QStringLiteral("“") + text + QStringLiteral("”")).toStdString();
}
