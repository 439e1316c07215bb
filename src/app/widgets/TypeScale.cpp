#include "TypeScale.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>
#include <QScreen>

#include <algorithm>

namespace {

constexpr double bodyPoints = 13;
constexpr double fixedWidthPoints = 11;
constexpr double fixedWidthLinePoints = 16;
/// Large letters look better a little closer together.
constexpr double titleSpacingPoints = -0.3;

double pointsOf(TextStyle style)
{
    switch (style) {
    case TextStyle::LargeTitle:
        return 28;
    case TextStyle::Title:
        return 20;
    case TextStyle::Title2:
        return 17;
    case TextStyle::Headline:
    case TextStyle::Body:
        return bodyPoints;
    case TextStyle::Callout:
        return 12;
    case TextStyle::Caption:
        return 11;
    }
    return bodyPoints;
}

QFont::Weight weightOf(TextStyle style)
{
    switch (style) {
    case TextStyle::LargeTitle:
    case TextStyle::Title:
    case TextStyle::Title2:
        return QFont::Bold;
    case TextStyle::Headline:
        return QFont::DemiBold;
    case TextStyle::Body:
    case TextStyle::Callout:
    case TextStyle::Caption:
        break;
    }
    return QApplication::font().weight();
}

void setSize(QFont &font, double points)
{
    const QFont body = QApplication::font();
    // The desktop's font has its size either in points or in pixels; the other one is -1.
    if (body.pointSizeF() > 0)
        font.setPointSizeF(body.pointSizeF() * points / bodyPoints);
    else
        font.setPixelSize(std::max(1, qRound(body.pixelSize() * points / bodyPoints)));
}

}

double TypeScale::point()
{
    constexpr double fontPointsInInch = 72;
    const QFont body = QApplication::font();
    const double pixels = body.pointSizeF() > 0
        ? body.pointSizeF() * QGuiApplication::primaryScreen()->logicalDotsPerInchY() / fontPointsInInch
        : body.pixelSize();
    return pixels / bodyPoints;
}

QFont TypeScale::font(TextStyle style)
{
    QFont result = font(pointsOf(style), weightOf(style));
    if (style == TextStyle::LargeTitle)
        result.setLetterSpacing(QFont::AbsoluteSpacing, titleSpacingPoints * point());
    return result;
}

QFont TypeScale::font(double points, QFont::Weight weight)
{
    QFont result = QApplication::font();
    setSize(result, points);
    result.setWeight(weight);
    return result;
}

QFont TypeScale::fixedWidth()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    setSize(font, fixedWidthPoints);
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

double TypeScale::fixedWidthLineHeight() { return fixedWidthLinePoints * point(); }
