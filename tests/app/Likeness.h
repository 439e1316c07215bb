#pragma once

#include <QColor>
#include <QImage>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <vector>

/// Whether a picture still looks like an earlier one, whatever drew the letters.
namespace Likeness {

/// The side of the squares that are compared, in pixels.
constexpr int side = 4;
/// How many pixels a square may have moved. Letters of another renderer lie up to a pixel elsewhere.
constexpr int slack = 1;
/// How much a square's mean colour may differ, from 0 to 255. Measured: letters that were drawn differently
/// differ by up to 30, the faintest button that moved by four pixels differs by 56.
constexpr int tolerance = 42;
/// The same far from letters and edges, where only a colour can have changed, or a renderer have rounded it.
constexpr int flatTolerance = 5;

/// The mean colours of all squares of a picture, wherever they begin.
class Means final {
public:
    explicit Means(const QImage &picture)
        : m_width(picture.width())
        , m_height(picture.height())
        , m_sums(static_cast<size_t>(m_width + 1) * static_cast<size_t>(m_height + 1))
    {
        const QImage image = picture.convertToFormat(QImage::Format_RGB32);
        for (int y = 0; y < m_height; ++y) {
            std::array<int, 3> row {};
            for (int x = 0; x < m_width; ++x) {
                const QRgb pixel = image.pixel(x, y);
                row[0] += qRed(pixel);
                row[1] += qGreen(pixel);
                row[2] += qBlue(pixel);
                for (size_t channel = 0; channel < row.size(); ++channel)
                    at(x + 1, y + 1)[channel] = at(x + 1, y)[channel] + row[channel];
            }
        }
    }

    QColor of(int x, int y) const
    {
        std::array<int, 3> mean {};
        for (size_t channel = 0; channel < mean.size(); ++channel)
            mean[channel] = (at(x + side, y + side)[channel] - at(x, y + side)[channel]
                             - at(x + side, y)[channel] + at(x, y)[channel])
                / (side * side);
        return { mean[0], mean[1], mean[2] };
    }

private:
    using Sum = std::array<int, 3>;
    Sum &at(int x, int y) { return m_sums[index(x, y)]; }
    const Sum &at(int x, int y) const { return m_sums[index(x, y)]; }
    size_t index(int x, int y) const
    {
        return static_cast<size_t>(y) * static_cast<size_t>(m_width + 1) + static_cast<size_t>(x);
    }

    int m_width = 0;
    int m_height = 0;
    std::vector<Sum> m_sums;
};

/// What is stored of a picture: a pixel for each square.
inline QImage summary(const QImage &picture)
{
    const Means means(picture);
    QImage result(picture.size() / side, QImage::Format_RGB32);
    for (int y = 0; y < result.height(); ++y) {
        for (int x = 0; x < result.width(); ++x)
            result.setPixelColor(x, y, means.of(x * side, y * side));
    }
    return result;
}

inline int distance(const QColor &one, const QColor &other)
{
    return std::max({ std::abs(one.red() - other.red()), std::abs(one.green() - other.green()),
                      std::abs(one.blue() - other.blue()) });
}

/// Whether all around the pixel at (`x`, `y`) have nearly the same colour.
inline bool isFlat(const QImage &stored, int x, int y)
{
    constexpr int gradient = 3;
    if (!stored.rect().adjusted(1, 1, -1, -1).contains(x, y))
        return false;
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            if (distance(stored.pixelColor(x + dx, y + dy), stored.pixelColor(x, y)) > gradient)
                return false;
        }
    }
    return true;
}

struct Difference {
    /// How many squares differ too much, and where they are in the picture.
    int count = 0;
    QRect bounds;
};

inline Difference between(const QImage &picture, const QImage &stored)
{
    Difference result;
    if (picture.size() / side != stored.size())
        return { 1, picture.rect() };
    const Means means(picture);
    for (int y = 0; y < stored.height(); ++y) {
        for (int x = 0; x < stored.width(); ++x) {
            const QColor wanted = stored.pixelColor(x, y);
            int least = std::numeric_limits<int>::max();
            for (int dy = -slack; dy <= slack; ++dy) {
                for (int dx = -slack; dx <= slack; ++dx) {
                    const QColor mean = means.of(std::clamp(x * side + dx, 0, picture.width() - side),
                                                 std::clamp(y * side + dy, 0, picture.height() - side));
                    least = std::min(least, distance(mean, wanted));
                }
            }
            if (least > (isFlat(stored, x, y) ? flatTolerance : tolerance)) {
                ++result.count;
                result.bounds |= QRect(x * side, y * side, side, side);
            }
        }
    }
    return result;
}

}
