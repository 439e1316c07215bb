#include "Banner.h"

#include "Symbols.h"

#include <QAccessibleWidget>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPen>

namespace {

constexpr int bannerHeight = 130;
constexpr double cornerRadius = 14;
constexpr double figureSize = 64;
constexpr double shadowRadius = 4;
constexpr double shadowOpacity = 0.33;

/// Drawn small and then enlarged, which makes it soft at a fraction of the start-up time that a real blur
/// would cost.
void paintShadow(QPainter &painter, const QPainterPath &figure)
{
    constexpr double reach = 2 * shadowRadius;
    const QRectF area = figure.boundingRect().adjusted(-reach, -reach, reach, reach);
    QImage small((area.size() / shadowRadius).toSize(), QImage::Format_ARGB32_Premultiplied);
    small.fill(Qt::transparent);

    QPainter smallPainter(&small);
    smallPainter.setRenderHint(QPainter::Antialiasing);
    smallPainter.scale(small.width() / area.width(), small.height() / area.height());
    smallPainter.translate(-area.topLeft());
    // Wider than the figure, so that it is still dark at the figure's edge.
    smallPainter.setPen(QPen(Qt::black, shadowRadius));
    smallPainter.setBrush(Qt::black);
    smallPainter.drawPath(figure);
    smallPainter.end();

    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setOpacity(shadowOpacity);
    painter.drawImage(area, small);
    painter.setOpacity(1);
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
