#include "Surface.h"

#include "Measures.h"

#include <QPainter>

void Surface::paint(QPainter &painter, const QRectF &bounds, double cornerRadius, const QColor &ground,
                    const QColor &edge)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(bounds, cornerRadius, cornerRadius);

    // A line is painted on both sides of its path: half a line further in, it covers whole pixels.
    constexpr double half = Measures::hairline / 2.0;
    painter.setPen(QPen(edge, Measures::hairline));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(bounds.adjusted(half, half, -half, -half), cornerRadius - half,
                            cornerRadius - half);
}
