#include "ActionButton.h"

#include "FocusRing.h"
#include "Surface.h"
#include "Tokens.h"
#include "TypeScale.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

/// Kept free between the label and the button's edge.
constexpr double margin = 4;

}

ActionButton::ActionButton(const QString &text, const Shape &shape, QWidget *parent)
    : SteadyButton(text, parent)
    , m_shape(shape)
{
    setFixedSize(shape.size);
    setAttribute(Qt::WA_Hover);
    // Where the ring of the keyboard focus is round.
    setProperty(FocusRing::radiusProperty, shape.cornerRadius);
}

bool ActionButton::hitButton(const QPoint &position) const { return rect().contains(position); }

QFont ActionButton::labelFont() const
{
    QFont font = TypeScale::font(m_shape.labelPoints, m_shape.labelWeight);
    const QFontMetricsF metrics(font);
    // The capital letters stand in the middle, so the "y" and the "p" reach closest to the edge.
    const double reach = metrics.capHeight() / 2 + metrics.descent();
    const double room = height() / 2.0 - margin;
    if (reach > room)
        font.setPixelSize(static_cast<int>(QFontInfo(font).pixelSize() * room / reach));
    return font;
}

void ActionButton::paintEvent(QPaintEvent *)
{
    const Inks colours = inks(Tokens::of(*this));
    QPainter painter(this);
    Surface::paint(painter, rect(), m_shape.cornerRadius, colours.ground, colours.edge);

    painter.setFont(labelFont());
    const QFontMetrics metrics = painter.fontMetrics();
    const QPainterPath drawing = sign(metrics.capHeight());
    const QRectF bounds = drawing.boundingRect();
    const double labelWidth = metrics.horizontalAdvance(text());
    const double whole = bounds.width() + m_shape.gap + labelWidth;
    // Letters begin on whole pixels, and so does the sign.
    const double left = std::round((width() - whole) / 2);
    const double baseline = std::round((height() + metrics.capHeight()) / 2.0);
    const double top = std::round(baseline - (metrics.capHeight() + bounds.height()) / 2);

    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    const double signLeft = isMirrored ? left + labelWidth + m_shape.gap : left;
    const double labelLeft = isMirrored ? left : left + bounds.width() + m_shape.gap;
    painter.fillPath(drawing.translated(signLeft - bounds.left(), top - bounds.top()), colours.sign);
    painter.setPen(colours.label);
    painter.drawText(QPointF(std::round(labelLeft), baseline), text());
}
