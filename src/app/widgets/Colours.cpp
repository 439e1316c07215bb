#include "Colours.h"

#include <algorithm>
#include <cmath>

namespace {

double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor &colour)
{
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
        + 0.0722 * linear(colour.blueF());
}

QColor mix(const QColor &one, const QColor &other, double shareOfOther)
{
    const auto channel = [shareOfOther](float from, float to) {
        return static_cast<float>(from + (to - from) * shareOfOther);
    };
    return QColor::fromRgbF(channel(one.redF(), other.redF()), channel(one.greenF(), other.greenF()),
                            channel(one.blueF(), other.blueF()));
}

const QColor red = QColor::fromRgb(0xd7, 0x2a, 0x2a);

}

double Colours::contrast(const QColor &one, const QColor &other)
{
    const double first = luminance(one);
    const double second = luminance(other);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

QColor Colours::over(const QColor &top, const QColor &bottom)
{
    QColor opaque = top;
    opaque.setAlphaF(1);
    return mix(bottom, opaque, top.alphaF());
}

QColor Colours::readable(const QColor &ink, const QColor &paper, double ratio)
{
    const bool towardsWhite = contrast(Qt::white, paper) > contrast(Qt::black, paper);
    const QColor end = towardsWhite ? Qt::white : Qt::black;
    constexpr int steps = 32;
    for (int step = 0; step < steps; ++step) {
        const QColor candidate = mix(ink, end, static_cast<double>(step) / steps);
        if (contrast(candidate, paper) >= ratio)
            return candidate;
    }
    return end;
}

QColor Colours::secondary(const QPalette &palette)
{
    const QColor paper = palette.color(QPalette::Window);
    return readable(mix(palette.color(QPalette::WindowText), paper, 0.4), paper, textContrast);
}

QColor Colours::failure(const QPalette &palette)
{
    // The panel is the harder background of the two: it is closer to red than the window is.
    return readable(red, over(failurePanel(), palette.color(QPalette::Window)), textContrast);
}

QColor Colours::failurePanel() { return QColor::fromRgbF(1.0F, 0.0F, 0.0F, 0.08F); }

QColor Colours::well() { return QColor::fromRgbF(0.0F, 0.0F, 0.0F, 0.06F); }

QColor Colours::accent(const QPalette &palette)
{
    return readable(palette.color(QPalette::Highlight), onAccent(palette), textContrast);
}

QColor Colours::onAccent(const QPalette &palette) { return palette.color(QPalette::HighlightedText); }

QColor Colours::link(const QPalette &palette)
{
    return readable(palette.color(QPalette::Link), palette.color(QPalette::Window), textContrast);
}
