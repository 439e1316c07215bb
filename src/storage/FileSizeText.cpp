#include "FileSizeText.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

struct Unit {
    QLatin1StringView name;
    qint64 bytes;
    /// Bytes per unit of the last digit shown: no decimals for kB, one for MB, two above.
    qint64 step;
};

constexpr qint64 thousand = 1000;
constexpr qint64 million = thousand * thousand;
constexpr qint64 billion = million * thousand;

constexpr std::array units {
    Unit { "kB"_L1, thousand, thousand },
    Unit { "MB"_L1, million, million / 10 },
    Unit { "GB"_L1, billion, billion / 100 },
    Unit { "TB"_L1, billion *thousand, billion *thousand / 100 },
    Unit { "PB"_L1, billion *million, billion *million / 100 },
    Unit { "EB"_L1, billion *billion, billion *billion / 100 },
};

/// `steps` of `unit` without trailing zeros: 12, 12.3, 12.35.
QString number(qint64 steps, const Unit &unit)
{
    const qint64 stepsPerUnit = unit.bytes / unit.step;
    QString text = QString::number(steps / stepsPerUnit);
    if (const qint64 rest = steps % stepsPerUnit) {
        // The 1 in front, dropped again, keeps the leading zeros.
        QString decimals = QString::number(stepsPerUnit + rest).sliced(1);
        while (decimals.endsWith(u'0'))
            decimals.chop(1);
        text += u'.' + decimals;
    }
    return text;
}

}

QString fileSizeText(qint64 bytes)
{
    if (bytes <= 0)
        return u"Zero kB"_s;
    if (bytes < thousand)
        return QString::number(bytes) + (bytes == 1 ? u" byte"_s : u" bytes"_s);
    for (const Unit &unit : units) {
        const qint64 steps = bytes / unit.step + (bytes % unit.step >= unit.step / 2 ? 1 : 0);
        // A size that would round to 1000 of this unit is shown in the next one.
        if (steps < thousand * (unit.bytes / unit.step))
            return number(steps, unit) + u' ' + unit.name;
    }
    Q_UNREACHABLE(); // 64 bits hold 9.22 EB
}
