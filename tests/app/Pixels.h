#pragma once

#include "Contrast.h"

#include <QImage>
#include <QTest>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <numbers>

/// Reads what a player sees from a picture of a window. One point is one pixel here.
namespace Pixels {

/// A picture of `part` as it looks in `window`, with `margin` pixels around it.
inline QImage of(QWidget &window, const QWidget &part, int margin = 0)
{
    const QRect place(part.mapTo(&window, QPoint(0, 0)), part.size());
    return window.grab(place.adjusted(-margin, -margin, margin, margin))
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
}

/// The largest difference between the two in any channel, from 0 to 255.
inline int distance(const QColor &one, const QColor &other)
{
    return std::max({ std::abs(one.red() - other.red()), std::abs(one.green() - other.green()),
                      std::abs(one.blue() - other.blue()) });
}

using Predicate = std::function<bool(const QColor &)>;

/// Calls `visit` with each place in `area`, row by row.
template <typename Visit> void each(const QRect &area, const Visit &visit)
{
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            visit(QPoint(x, y));
    }
}

/// The bounds of the pixels of `area` that match, and how many there are.
struct Found {
    QRect bounds;
    int count = 0;
};
inline Found find(const QImage &image, const QRect &area, const Predicate &isSuch)
{
    Found found;
    each(area, [&](const QPoint &place) {
        if (!isSuch(image.pixelColor(place)))
            return;
        found.bounds |= QRect(place, QSize(1, 1));
        ++found.count;
    });
    return found;
}

/// Splits `area` at the widest gap between columns with matching pixels, as between a sign and its text.
struct Halves {
    Found left;
    Found right;
};
inline Halves cutAtWidestGap(const QImage &image, const QRect &area, const Predicate &isSuch)
{
    int gapBegin = area.left();
    int gapEnd = area.left();
    int lastFilled = -1;
    for (int x = area.left(); x <= area.right(); ++x) {
        if (find(image, QRect(x, area.top(), 1, area.height()), isSuch).count == 0)
            continue;
        if (lastFilled >= 0 && x - lastFilled > gapEnd - gapBegin) {
            gapBegin = lastFilled;
            gapEnd = x;
        }
        lastFilled = x;
    }
    return { find(image, QRect(area.topLeft(), QPoint(gapBegin, area.bottom())), isSuch),
             find(image, QRect(QPoint(gapEnd, area.top()), area.bottomRight()), isSuch) };
}

/// The corner radius of the shape that fills `image`, computed from how much of `ground` shows in a square
/// of `side` pixels there. `side` exceeds the radius, and the square's inner corner shows the shape alone.
inline double cornerRadius(const QImage &image, Qt::Corner corner, const QColor &ground, int side)
{
    const bool isRight = corner == Qt::TopRightCorner || corner == Qt::BottomRightCorner;
    const bool isBottom = corner == Qt::BottomLeftCorner || corner == Qt::BottomRightCorner;
    const auto at = [&](int x, int y) {
        return image.pixelColor(isRight ? image.width() - 1 - x : x, isBottom ? image.height() - 1 - y : y);
    };
    const double whole = distance(at(side - 1, side - 1), ground);
    double missing = 0;
    each(QRect(0, 0, side, side), [&](const QPoint &place) {
        const double covered = std::min(1.0, distance(at(place.x(), place.y()), ground) / whole);
        // A gradient's colour varies a little.
        missing += covered > 0.93 ? 0 : 1 - covered;
    });
    return std::sqrt(missing / (1 - std::numbers::pi / 4));
}
/// Verifies the radius of these corners, to within a pixel.
inline void verifyCorners(const QImage &image, const QColor &ground, int radius,
                          const QList<Qt::Corner> &corners = { Qt::TopLeftCorner, Qt::TopRightCorner,
                                                               Qt::BottomLeftCorner, Qt::BottomRightCorner })
{
    for (const Qt::Corner corner : corners)
        QCOMPARE_LT(std::abs(cornerRadius(image, corner, ground, radius * 5 / 4) - radius), 1);
}

/// The colour of a text: that of the pixel with the highest contrast to `ground`.
inline QColor ink(const QImage &image, const QColor &ground)
{
    QColor most = ground;
    each(image.rect(), [&](const QPoint &place) {
        const QColor colour = image.pixelColor(place);
        if (Contrast::between(colour, ground) > Contrast::between(most, ground))
            most = colour;
    });
    return most;
}

}
