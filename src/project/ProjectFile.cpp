#include "ProjectFile.h"

#include "TextLines.h"

#include <algorithm>
#include <optional>

namespace {

constexpr QByteArrayView versionKey = "config_version=";
constexpr QByteArrayView nameKey = "config/name=";
constexpr QByteArrayView mainSceneKey = "run/main_scene=";
constexpr QByteArrayView featuresKey = "config/features=";

/// An optional sign, then digits only, unlike QByteArrayView::toLongLong, which accepts spaces.
std::optional<qint64> decimalInteger(QByteArrayView text)
{
    const bool isSigned = text.startsWith('+') || text.startsWith('-');
    const QByteArrayView digits = isSigned ? text.sliced(1) : text;
    const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
    if (digits.isEmpty() || !std::all_of(digits.begin(), digits.end(), isDigit))
        return std::nullopt;
    bool fits = false;
    const qint64 number = text.toLongLong(&fits);
    return fits ? std::optional(number) : std::nullopt;
}

void overrideByFirstQuoted(QString &field, QByteArrayView line)
{
    const QStringList texts = quoted(line, 1);
    if (!texts.isEmpty())
        field = texts.first();
}

}

ProjectFile ProjectFile::parse(QByteArrayView text)
{
    ProjectFile file;
    QByteArrayView featuresLine;
    TextLines::forEachUntil(text, [&file, &featuresLine](QByteArrayView line) {
        if (line.startsWith(versionKey))
            file.configVersion = decimalInteger(line.sliced(versionKey.size())).value_or(file.configVersion);
        else if (line.startsWith(nameKey))
            overrideByFirstQuoted(file.name, line);
        else if (line.startsWith(mainSceneKey))
            overrideByFirstQuoted(file.mainScene, line);
        else if (line.startsWith(featuresKey))
            featuresLine = line;
        return true;
    });
    file.features = quoted(featuresLine);
    return file;
}

QStringList quoted(QByteArrayView line, qsizetype most)
{
    QStringList texts;
    qsizetype opening = line.indexOf('"');
    while (opening >= 0 && texts.size() < most) {
        const qsizetype closing = line.indexOf('"', opening + 1);
        if (closing < 0)
            break;
        texts.append(TextLines::decoded(line.sliced(opening + 1, closing - opening - 1)));
        opening = line.indexOf('"', closing + 1);
    }
    return texts;
}
