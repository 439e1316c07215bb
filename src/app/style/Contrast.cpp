#include "Contrast.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int steps = 64;

double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

QColor mix(const QColor &one, const QColor &other, double shareOfOther)
{
    const auto channel = [shareOfOther](float from, float to) {
        return static_cast<float>(from + (to - from) * shareOfOther);
    };
    return QColor::fromRgbF(channel(one.redF(), other.redF()), channel(one.greenF(), other.greenF()),
                            channel(one.blueF(), other.blueF()));
}

double least(const QColor &colour, const QList<QColor> &grounds)
{
    double result = Contrast::between(Qt::white, Qt::black);
    for (const QColor &ground : grounds)
        result = std::min(result, Contrast::between(colour, ground));
    return result;
}

}

double Contrast::luminance(const QColor &colour)
{
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
        + 0.0722 * linear(colour.blueF());
}

double Contrast::between(const QColor &one, const QColor &other)
{
    const double first = luminance(one);
    const double second = luminance(other);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

QColor Contrast::over(const QColor &top, const QColor &bottom)
{
    QColor opaque = top;
    opaque.setAlphaF(1);
    return mix(bottom, opaque, top.alphaF());
}

QColor Contrast::readable(const QColor &ink, const QList<QColor> &grounds, double ratio)
{
    const QColor end = least(Qt::white, grounds) > least(Qt::black, grounds) ? Qt::white : Qt::black;
    for (int step = 0; step < steps; ++step) {
        // As it will be stored: a picture has 8 bits for a channel.
        const QColor candidate = QColor(mix(ink, end, static_cast<double>(step) / steps).rgb());
        if (least(candidate, grounds) >= ratio)
            return candidate;
    }
    return end;
}

QColor Contrast::visible(const QColor &tint, const QColor &fill, const QList<QColor> &grounds, double ratio)
{
    for (int step = 0; step <= steps; ++step) {
        QColor candidate = tint;
        candidate.setAlphaF(tint.alphaF() + (1 - tint.alphaF()) * static_cast<float>(step) / steps);
        const bool isVisible = std::all_of(grounds.begin(), grounds.end(), [&](const QColor &ground) {
            return between(QColor(over(candidate, over(fill, ground)).rgb()), ground) >= ratio;
        });
        if (isVisible)
            return candidate;
    }
    QColor opaque = tint;
    opaque.setAlphaF(1);
    return opaque;
}
