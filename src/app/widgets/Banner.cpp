#include "Banner.h"

#include "Measures.h"
#include "Symbols.h"

#include <QAccessibleWidget>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QtMath>

#include <cmath>

namespace {

constexpr int bannerHeight = 130;
constexpr double figureSize = 64;
/// From left to right and a little downwards: in degrees from straight up, clockwise.
constexpr double gradientAngle = 100;

constexpr double shadowRadius = 4;
constexpr double shadowOpacity = 0.33;
constexpr double shadowDrop = 1;

/// Replaces each pixel in a row of `count` pixels by the mean of itself and its two neighbours.
void soften(uchar *pixel, qsizetype step, int count)
{
    int before = 0;
    for (int index = 0; index < count; ++index, pixel += step) {
        const int here = *pixel;
        const int after = index + 1 < count ? pixel[step] : 0;
        *pixel = static_cast<uchar>((before + here + after) / 3);
        before = here;
    }
}

/// A shadow of the figure. Drawn in half the size, where three means of three pixels are as good as a real
/// blur, and cost nothing at the start.
void paintShadow(QPainter &painter, const QPainterPath &figure)
{
    constexpr int scale = 2;
    constexpr int rounds = 3;
    constexpr double reach = 3 * shadowRadius;
    const QRect area = figure.boundingRect().adjusted(-reach, -reach, reach, reach).toAlignedRect();
    QImage mask(area.size() / scale, QImage::Format_Alpha8);
    mask.fill(Qt::transparent);
    QPainter maskPainter(&mask);
    maskPainter.setRenderHint(QPainter::Antialiasing);
    maskPainter.scale(1.0 / scale, 1.0 / scale);
    maskPainter.translate(-area.topLeft());
    maskPainter.fillPath(figure, Qt::black);
    maskPainter.end();

    const qsizetype rowLength = mask.bytesPerLine();
    for (int round = 0; round < rounds; ++round) {
        for (int y = 0; y < mask.height(); ++y)
            soften(mask.bits() + y * rowLength, 1, mask.width());
        for (int x = 0; x < mask.width(); ++x)
            soften(mask.bits() + x, rowLength, mask.height());
    }

    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setOpacity(shadowOpacity);
    painter.drawImage(QRectF(QPointF(area.topLeft()) + QPointF(0, shadowDrop), QSizeF(mask.size() * scale)),
                      mask.convertToFormat(QImage::Format_ARGB32_Premultiplied));
    painter.setOpacity(1);
}

/// Its first and last colours lie in two corners.
QLinearGradient gradient(const QRectF &area)
{
    const double angle = qDegreesToRadians(gradientAngle);
    const QPointF direction(std::sin(angle), -std::cos(angle));
    const double half
        = (std::abs(area.width() * direction.x()) + std::abs(area.height() * direction.y())) / 2;
    QLinearGradient result(area.center() - direction * half, area.center() + direction * half);
    result.setColorAt(0, QColor::fromRgbF(0.25F, 0.55F, 0.95F));
    result.setColorAt(1, QColor::fromRgbF(0.35F, 0.8F, 0.5F));
    return result;
}

/// Screen readers announce it as a picture; a plain widget would be mere filler.
QAccessibleInterface *describe(const QString &className, QObject *object)
{
    return className == QLatin1StringView(Banner::staticMetaObject.className())
        ? new QAccessibleWidget(qobject_cast<QWidget *>(object), QAccessible::Graphic)
        : nullptr;
}

}

Banner::Banner(QWidget *parent)
    : QWidget(parent)
{
    QAccessible::installFactory(describe); // installing it again has no effect
    setFixedHeight(bannerHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(QStringLiteral("A running figure"));
}

void Banner::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient(rect()));
    painter.drawRoundedRect(rect(), Measures::bannerRadius, Measures::bannerRadius);

    QRectF box(0, 0, figureSize, figureSize);
    box.moveCenter(QRectF(rect()).center());
    const QPainterPath figure = Symbols::runner(box);
    paintShadow(painter, figure);
    painter.fillPath(figure, Qt::white);
}
