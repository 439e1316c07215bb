#pragma once

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QString>

#include <algorithm>
#include <cmath>

/// What a desktop draws around a window: a title bar and a shadow. Looks like no desktop in particular.
namespace WindowFrame {

constexpr int margin = 32; // for the shadow
constexpr int barHeight = 36;
constexpr double radius = 10;

/// How far `place` is outside of `area`, whose corners are rounded; 0 inside.
inline double distance(const QRectF &area, const QPointF &place)
{
    const QRectF core = area.adjusted(radius, radius, -radius, -radius);
    const double across = std::max({ core.left() - place.x(), 0.0, place.x() - core.right() });
    const double along = std::max({ core.top() - place.y(), 0.0, place.y() - core.bottom() });
    return std::max(0.0, std::hypot(across, along) - radius);
}

inline void drawShadow(QImage &picture, const QRectF &window)
{
    constexpr double strength = 0.32;
    constexpr double reach = 26;
    const QRectF area = window.translated(0, 6);
    const double scale = picture.devicePixelRatio();
    for (int y = 0; y < picture.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            const double rest = std::max(0.0, 1 - distance(area, QPointF(x + 0.5, y + 0.5) / scale) / reach);
            line[x] = qRgba(0, 0, 0, static_cast<int>(std::lround(255 * strength * rest * rest * rest)));
        }
    }
}

/// `content` as a window named `title`, on a transparent ground. Its bar is dark if `isDark`.
inline QImage around(const QImage &content, const QString &title, bool isDark)
{
    const double scale = content.devicePixelRatio();
    const QSizeF size = content.deviceIndependentSize();
    const QRectF window(margin, margin, size.width(), size.height() + barHeight);
    QImage picture((window.size() + QSizeF(2 * margin, 2 * margin)).toSize() * scale,
                   QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(scale);
    drawShadow(picture, window);

    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath shape;
    shape.addRoundedRect(window, radius, radius);
    QPainterPath foot; // only the upper corners are round
    foot.addRect(window.adjusted(0, radius, 0, 0));
    painter.setPen(Qt::NoPen);
    const QColor bar = isDark ? QColor(0x2b, 0x2d, 0x33) : QColor(0xe6, 0xe8, 0xec);
    const QColor ink = isDark ? QColor(0xdd, 0xdf, 0xe4) : QColor(0x3a, 0x3d, 0x44);
    painter.setBrush(bar);
    painter.drawPath(shape.united(foot));

    const QRectF barArea(window.topLeft(), QSizeF(window.width(), barHeight));
    QFont font;
    font.setPixelSize(13);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(ink);
    painter.drawText(barArea, Qt::AlignCenter, title);

    painter.setPen(QPen(ink, 1.5, Qt::SolidLine, Qt::RoundCap));
    const QPointF middle(barArea.right() - barHeight / 2.0, barArea.center().y());
    constexpr double arm = 4;
    painter.drawLine(middle + QPointF(-arm, -arm), middle + QPointF(arm, arm));
    painter.drawLine(middle + QPointF(-arm, arm), middle + QPointF(arm, -arm));

    painter.drawImage(barArea.bottomLeft(), content);
    return picture;
}

}
