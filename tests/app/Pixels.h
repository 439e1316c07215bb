#pragma once

#include "Shades.h"

#include <QApplication>
#include <QImage>
#include <QWidget>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <numbers>

/// What a player sees, read from the picture of a window. One point is one pixel here.
namespace Pixels {

/// `part` as it looks in `window`, with `margin` pixels of what is around it.
inline QImage of(QWidget &window, const QWidget &part, int margin = 0)
{
    const QRect place(part.mapTo(&window, QPoint(0, 0)), part.size());
    return window.grab(place.adjusted(-margin, -margin, margin, margin))
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
}

/// How far the two are apart in the channel in which they differ most, of 255.
inline int distance(const QColor &one, const QColor &other)
{
    return std::max({ std::abs(one.red() - other.red()), std::abs(one.green() - other.green()),
                      std::abs(one.blue() - other.blue()) });
}

using Predicate = std::function<bool(const QColor &)>;

/// The smallest rectangle around all pixels of `area` that are such, and how many there are.
struct Found {
    QRect bounds;
    int count = 0;
};
inline Found find(const QImage &image, const QRect &area, const Predicate &isSuch)
{
    Found found;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (!isSuch(image.pixelColor(x, y)))
                continue;
            found.bounds |= QRect(x, y, 1, 1);
            ++found.count;
        }
    }
    return found;
}

/// Cuts `area` at the widest gap between columns that hold such pixels: a sign from the text beside it.
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

/// The radius of a corner of what fills `image`, from how much of `ground` shows in the square of `side`
/// pixels there. `side` is more than the radius, and at its inner end nothing but the filling is seen.
inline double cornerRadius(const QImage &image, Qt::Corner corner, const QColor &ground, int side)
{
    const bool isRight = corner == Qt::TopRightCorner || corner == Qt::BottomRightCorner;
    const bool isBottom = corner == Qt::BottomLeftCorner || corner == Qt::BottomRightCorner;
    const auto at = [&](int x, int y) {
        return image.pixelColor(isRight ? image.width() - 1 - x : x, isBottom ? image.height() - 1 - y : y);
    };
    const double whole = distance(at(side - 1, side - 1), ground);
    double missing = 0;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const double covered = std::min(1.0, distance(at(x, y), ground) / whole);
            // A gradient is a little different at every place.
            missing += covered > 0.93 ? 0 : 1 - covered;
        }
    }
    return std::sqrt(missing / (1 - std::numbers::pi / 4));
}
inline constexpr std::array corners { Qt::TopLeftCorner, Qt::TopRightCorner, Qt::BottomLeftCorner,
                                      Qt::BottomRightCorner };

/// The colour of a text: of all pixels the one that stands out most from `ground`.
inline QColor ink(const QImage &image, const QColor &ground)
{
    QColor most = ground;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (Shades::contrast(colour, ground) > Shades::contrast(most, ground))
                most = colour;
        }
    }
    return most;
}

/// The desktop's palette, for as long as this object lives.
class Palette final {
public:
    explicit Palette(const QPalette &palette)
        : m_before(QApplication::palette())
    {
        QApplication::setPalette(palette);
    }
    ~Palette() { QApplication::setPalette(m_before); }

    Palette(const Palette &) = delete;
    Palette &operator=(const Palette &) = delete;

    static QPalette light() { return QPalette(QColor(0xe8, 0xe8, 0xe8), QColor(0xef, 0xef, 0xef)); }
    static QPalette dark() { return QPalette(QColor(0x3a, 0x3b, 0x3f), QColor(0x2a, 0x2b, 0x2e)); }

private:
    QPalette m_before;
};

}
