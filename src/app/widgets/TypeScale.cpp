#include "TypeScale.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>

namespace {

double factor(TextStyle style)
{
    switch (style) {
    case TextStyle::LargeTitle:
        return 2.0;
    case TextStyle::Title:
        return 1.7;
    case TextStyle::Title2:
        return 1.35;
    case TextStyle::Headline:
    case TextStyle::Body:
        return 1.0;
    case TextStyle::Callout:
        return 0.93;
    case TextStyle::Caption:
        return 0.85;
    }
    return 1.0;
}

bool isBold(TextStyle style)
{
    switch (style) {
    case TextStyle::LargeTitle:
    case TextStyle::Title:
    case TextStyle::Title2:
    case TextStyle::Headline:
        return true;
    case TextStyle::Body:
    case TextStyle::Callout:
    case TextStyle::Caption:
        return false;
    }
    return false;
}

constexpr double fixedWidthPoints = 11;

}

QFont TypeScale::font(TextStyle style)
{
    QFont font = QApplication::font();
    // The desktop's font has its size either in points or in pixels; the other one is -1.
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor(style));
    else
        font.setPixelSize(qRound(font.pixelSize() * factor(style)));
    if (isBold(style))
        font.setBold(true);
    return font;
}

QFont TypeScale::fixedWidth()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    font.setPointSizeF(fixedWidthPoints);
    if (QFontInfo(font).fixedPitch())
        return font;

    // If the desktop's font configuration does not match the installed fonts, "monospace" may be any font. A
    // family that is listed as fixed-pitch may resolve to that same font, so each candidate is checked.
    const QStringList families = QFontDatabase::families(QFontDatabase::Latin);
    for (const QString &family : families) {
        if (!QFontDatabase::isFixedPitch(family) || !QFontDatabase::isSmoothlyScalable(family))
            continue;
        QFont candidate = font;
        candidate.setFamilies({ family });
        if (QFontInfo(candidate).fixedPitch())
            return candidate;
    }
    return font;
}
