#include "ProjectFile.h"

#include "TextLines.h"

#include <algorithm>
#include <optional>

namespace {

/// An optional sign and then digits only, unlike QStringView::toLongLong, which lets spaces pass.
std::optional<qint64> decimalInteger(QStringView text)
{
    const bool isSigned = text.startsWith(u'+') || text.startsWith(u'-');
    const QStringView digits = isSigned ? text.sliced(1) : text;
    const auto isDigit = [](QChar character) { return character >= u'0' && character <= u'9'; };
    if (digits.isEmpty() || !std::all_of(digits.begin(), digits.end(), isDigit))
        return std::nullopt;
    bool fits = false;
    const qint64 number = text.toLongLong(&fits);
    return fits ? std::optional(number) : std::nullopt;
}

void overrideByFirstQuoted(QString &field, QStringView line)
{
    const QStringList texts = quoted(line, 1);
    if (!texts.isEmpty())
        field = texts.first();
}

}

ProjectFile ProjectFile::parse(QStringView text)
{
    ProjectFile file;
    QStringView featuresLine;
    TextLines::forEachUntil(text, [&file, &featuresLine](QStringView untrimmed) {
        constexpr QStringView versionKey = u"config_version=";
        const QStringView line = TextLines::trimmed(untrimmed);
        if (line.isEmpty())
            return true;
        if (line.startsWith(versionKey))
            file.configVersion = decimalInteger(line.sliced(versionKey.size())).value_or(file.configVersion);
        else if (line.startsWith(u"config/name="))
            overrideByFirstQuoted(file.name, line);
        else if (line.startsWith(u"run/main_scene="))
            overrideByFirstQuoted(file.mainScene, line);
        else if (line.startsWith(u"config/features="))
            featuresLine = line;
        return true;
    });
    file.features = quoted(featuresLine);
    return file;
}

QStringList quoted(QStringView line, qsizetype most)
{
    QStringList texts;
    qsizetype opening = line.indexOf(u'"');
    while (opening >= 0 && texts.size() < most) {
        const qsizetype closing = line.indexOf(u'"', opening + 1);
        if (closing < 0)
            break;
        texts.append(line.sliced(opening + 1, closing - opening - 1).toString());
        opening = line.indexOf(u'"', closing + 1);
    }
    return texts;
}
