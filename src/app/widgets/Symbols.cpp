#include "Symbols.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPathStroker>
#include <QPalette>
#include <QPixmap>
#include <QPolygonF>
#include <QTransform>

#include <algorithm>

namespace {

/// The side of the square that the runner is drawn in.
constexpr double grid = 64;

/// A limb: round at its ends and at its joint.
QPainterPath limb(const QPolygonF &joints, double thickness)
{
    QPainterPath line;
    line.addPolygon(joints);
    QPainterPathStroker stroker;
    stroker.setWidth(thickness);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    return stroker.createStroke(line);
}

/// Paints the stop symbol at any size.
class StopIconEngine final : public QIconEngine {
public:
    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override
    {
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        painter->setRenderHint(QPainter::Antialiasing);
        painter->fillPath(Symbols::stop(QRectF(rect)),
                          QGuiApplication::palette().color(group, QPalette::ButtonText));
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return picture;
    }

    QIconEngine *clone() const override { return new StopIconEngine(*this); }
};

}

QPainterPath Symbols::play(const QRectF &box)
{
    const double corner = box.height() * 0.16;
    const QRectF inner = box.adjusted(corner / 2, corner / 2, -corner / 2, -corner / 2);
    QPainterPath triangle;
    triangle.moveTo(inner.topLeft());
    triangle.lineTo(inner.right(), inner.center().y());
    triangle.lineTo(inner.bottomLeft());
    triangle.closeSubpath();

    QPainterPathStroker stroker;
    stroker.setWidth(corner);
    stroker.setJoinStyle(Qt::RoundJoin);
    return triangle.united(stroker.createStroke(triangle)).simplified();
}

QPainterPath Symbols::stop(const QRectF &box)
{
    const double side = std::min(box.width(), box.height()) * 0.8;
    QRectF square(0, 0, side, side);
    square.moveCenter(box.center());
    QPainterPath path;
    path.addRoundedRect(square, side * 0.14, side * 0.14);
    return path;
}

QPainterPath Symbols::runner(const QRectF &box)
{
    const QPointF shoulder(36.5, 20);
    const QPointF hip(29, 36.5);

    QPainterPath figure;
    figure.setFillRule(Qt::WindingFill); // its parts overlap
    figure.addEllipse(QPointF(43, 7.5), 6, 6);
    figure.addPath(limb({ shoulder, hip }, 9));
    // Arms: one drawn back, one swung forward, both bent.
    figure.addPath(limb({ { 35.5, 18 }, { 23.5, 18 }, { 16.5, 28 } }, 5));
    figure.addPath(limb({ { 38, 20.5 }, { 44, 30.5 }, { 54, 28.5 } }, 5));
    // Legs: one pushing off behind, one with its knee lifted in front.
    figure.addPath(limb({ hip, { 23.5, 49 }, { 9, 52 } }, 6));
    figure.addPath(limb({ hip, { 42, 42.5 }, { 39, 59.5 } }, 6));

    const double scale = std::min(box.width(), box.height()) / grid;
    QTransform place;
    place.translate(box.center().x(), box.center().y());
    place.scale(scale, scale);
    place.translate(-grid / 2, -grid / 2);
    return place.map(figure);
}

QIcon Symbols::stopIcon() { return QIcon(new StopIconEngine); }
