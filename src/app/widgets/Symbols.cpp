#include "Symbols.h"

#include <QPainterPathStroker>
#include <QPolygonF>
#include <QTransform>

#include <algorithm>

namespace {

/// Arms, legs and body: one line, round at its ends and joints.
QPainterPath limb(const QPolygonF &joints)
{
    constexpr double thickness = 6.4;
    QPainterPath line;
    line.addPolygon(joints);
    QPainterPathStroker stroker;
    stroker.setWidth(thickness);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    return stroker.createStroke(line);
}

}

QPainterPath Symbols::play(const QRectF &box)
{
    const double corner = box.height() * 0.18;
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
    const double corner = box.width() / 4;
    QPainterPath square;
    square.addRoundedRect(box, corner, corner);
    return square;
}

QPainterPath Symbols::runner(const QRectF &box)
{
    const QPointF shoulder(39, 22);
    QPainterPath figure;
    figure.setFillRule(Qt::WindingFill); // its parts overlap
    figure.addEllipse(QPointF(41, 9), 6, 6);
    // One arm drawn back, the body, and the leg whose knee is lifted in front.
    figure.addPath(limb({ { 18, 21 }, { 30, 16 }, shoulder, { 32, 35 }, { 42, 43 }, { 39, 57 } }));
    // The arm that swings forward, and the leg that pushes off behind.
    figure.addPath(limb({ shoulder, { 44, 30 }, { 53, 28 } }));
    figure.addPath(limb({ { 30, 36 }, { 23, 46 }, { 10, 48 } }));

    const QRectF bounds = figure.boundingRect();
    const double scale = box.height() / bounds.height();
    QTransform place;
    place.translate(box.center().x(), box.center().y());
    place.scale(scale, scale);
    place.translate(-bounds.center().x(), -bounds.center().y());
    return place.map(figure);
}
