#include "MemberName.h"

#include "UnpackError.h"

#include <QByteArray>
#include <QString>
#include <QStringDecoder>

#include <algorithm>
#include <optional>

namespace {

constexpr std::size_t longestPart = 255;

bool isAscii(std::string_view text)
{
    return std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

/// `name` decoded, or nothing when it is not UTF-8. A byte order mark is kept like any other character.
std::optional<QString> decoded(const std::string &name)
{
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    const QString text = decoder(QByteArrayView(name.data(), static_cast<qsizetype>(name.size())));
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

bool hasControlCharacters(const std::string &name)
{
    const auto isAsciiControl = [](char character) {
        const auto code = static_cast<unsigned char>(character);
        return code < 0x20 || code == 0x7f;
    };
    if (std::ranges::any_of(name, isAsciiControl))
        return true;
    const QString text = isAscii(name) ? QString() : decoded(name).value_or(QString());
    return std::any_of(text.begin(), text.end(),
                       [](QChar character) { return character.category() == QChar::Other_Control; });
}

[[noreturn]] void refuse(const std::string &name, const std::string &reason)
{
    throw UnpackError("The archive cannot be trusted: the name " + inQuotes(name) + " " + reason + ".");
}

/// All rules for names that do not depend on the character set.
void checkParts(const std::string &name)
{
    if (name.empty())
        refuse(name, "is empty");
    if (name.size() > longestName)
        refuse(name, "is too long");
    if (hasControlCharacters(name))
        refuse(name, "holds control characters");
    if (name.find('\\') != std::string::npos)
        refuse(name, "holds a backslash");
    if (name.front() == '/')
        refuse(name, "leads out of the folder");
    for (const std::string &part : partsOf(name)) {
        // The part as some file system may see it.
        const std::string key = comparisonKey(part);
        if (key == "..")
            refuse(name, "leads out of the folder");
        if (key.empty() || key == ".")
            refuse(name, "has an empty part");
        if (part.size() > longestPart)
            refuse(name, "is too long");
    }
}

/// Whether HFS+ ignores the character when it compares names.
bool isIgnoredByHfs(QChar character)
{
    const char16_t code = character.unicode();
    return (code >= 0x200c && code <= 0x200f) || (code >= 0x202a && code <= 0x202e)
        || (code >= 0x206a && code <= 0x206f) || code == 0xfeff;
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
    if (!isAscii(name) && !decoded(name))
        refuse(name, "is not written in UTF-8");
    checkParts(name);
}

void checkOtherName(const std::string &name) { checkParts(name); }

void checkLinkTarget(const std::string &link, const std::string &target)
{
    const auto isDisguised = [](const std::string &part) {
        const std::string key = comparisonKey(part);
        return key != part && (key.empty() || key == "." || key == "..");
    };
    if (target.empty() || target.size() > longestName || (!isAscii(target) && !decoded(target))
        || hasControlCharacters(target) || std::ranges::any_of(partsOf(target), isDisguised))
        throw UnpackError("The archive cannot be trusted: the link " + inQuotes(link)
                          + " leads to no proper path.");
    if (target.front() == '/')
        throw UnpackError("The archive cannot be trusted: the link " + inQuotes(link)
                          + " leads out of the folder.");
}

std::string comparisonKey(const std::string &part)
{
    const auto text = isAscii(part) ? std::nullopt : decoded(part);
    if (!text) {
        // ASCII, or an unknown character set, in which only ASCII letters are sure to have a case.
        std::string key = part;
        for (char &character : key) {
            if (character >= 'A' && character <= 'Z')
                character = static_cast<char>(character - 'A' + 'a');
        }
        return key;
    }
    QString normal = text->normalized(QString::NormalizationForm_D);
    normal.removeIf(isIgnoredByHfs);
    // Uppercase before folding, so that ß equals SS; folding can denormalise, so normalise again.
    return normal.toUpper().toCaseFolded().normalized(QString::NormalizationForm_D).toStdString();
}

std::string inQuotes(const std::string &name)
{
    constexpr qsizetype longestShown = 120;
    QString text = QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
    for (QChar &character : text) {
        if (!character.isPrint() && !character.isSurrogate())
            character = QLatin1Char('?');
    }
    if (text.size() > longestShown)
        text = text.left(longestShown) + QStringLiteral("…");
    return (QStringLiteral("“") + text + QStringLiteral("”")).toStdString();
}
