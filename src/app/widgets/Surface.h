#pragma once

class QColor;
class QPainter;
class QRectF;

/// The rounded grounds that texts and symbols stand on.
namespace Surface {

/// Fills `bounds` with `ground`, and paints the hairline `edge` over its rim. Corners in device-independent
/// pixels. Switches antialiasing on.
void paint(QPainter &painter, const QRectF &bounds, double cornerRadius, const QColor &ground,
           const QColor &edge);

}
