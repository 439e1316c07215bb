#include "Banner.h"

#include "Symbols.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPen>

namespace {

constexpr int bannerHeight = 130;
constexpr double cornerRadius = 14;
constexpr double figureSize = 64;
constexpr double shadowRadius = 4;
constexpr double shadowOpacity = 0.33;

/// A blur without pixels: outlines of growing width laid over each other, together as dark as the shadow is.
void paintShadow(QPainter &painter, const QPainterPath &figure)
{
    constexpr int layers = 12;
    QColor shade = Qt::black;
    shade.setAlphaF(static_cast<float>(shadowOpacity / layers));
    for (int layer = 0; layer < layers; ++layer) {
        // A blur of this radius fades out over somewhat more than the radius.
        const double spread = 1.6 * shadowRadius * layer / (layers - 1);
        const QPen pen(shade, 2 * spread, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
        painter.setPen(layer == 0 ? QPen(Qt::NoPen) : pen);
        painter.setBrush(shade);
        painter.drawPath(figure);
    }
}

}

Banner::Banner(QWidget *parent)
    : QWidget(parent)
{
    setFixedHeight(bannerHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(QStringLiteral("A running figure"));
}

void Banner::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    QLinearGradient ground(rect().topLeft(), rect().bottomRight());
    ground.setColorAt(0, QColor::fromRgbF(0.25F, 0.55F, 0.95F));
    ground.setColorAt(1, QColor::fromRgbF(0.35F, 0.8F, 0.5F));
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(rect(), cornerRadius, cornerRadius);

    QRectF box(0, 0, figureSize, figureSize);
    box.moveCenter(QRectF(rect()).center());
    const QPainterPath figure = Symbols::runner(box);
    paintShadow(painter, figure);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawPath(figure);
}
