#include "Drawing.h"

#include "Measures.h"
#include "Tokens.h"

#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QPolygonF>
#include <QStyle>
#include <QStyleOptionComboBox>

#include <algorithm>
#include <cmath>

namespace {

/// Restores the painter when it goes out of scope.
class Brushwork final {
public:
    explicit Brushwork(QPainter &painter)
        : m_painter(painter)
    {
        m_painter.save();
        m_painter.setRenderHint(QPainter::Antialiasing);
        m_painter.setPen(Qt::NoPen);
        m_painter.setBrush(Qt::NoBrush);
    }
    ~Brushwork() { m_painter.restore(); }
    Q_DISABLE_COPY_MOVE(Brushwork)

private:
    QPainter &m_painter;
};

void fade(QPainter &painter) { painter.setOpacity(painter.opacity() * Measures::disabledOpacity); }

/// The width of a hairline: whole pixels of the screen, whatever its scale.
double hairline(const QPainter &painter)
{
    const double scale = painter.device()->devicePixelRatioF();
    return std::max(1.0, std::floor(Measures::hairline * scale)) / scale;
}

QPainterPath rounded(const QRectF &rect, double radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

/// Two arrowheads, one up and one down, of this width and twice as far apart as they are high.
void drawArrows(QPainter &painter, const QRectF &box, const QColor &ink)
{
    constexpr double halfWidth = 3;
    constexpr double height = 3;
    constexpr double halfGap = 1.5;
    constexpr double thickness = 1.5;
    painter.setPen(QPen(ink, thickness, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    for (const double side : { -1.0, 1.0 }) {
        const QPointF tip = box.center() + QPointF(0, side * (halfGap + height));
        const QPointF ends(halfWidth, -side * height);
        painter.drawPolyline(QPolygonF { tip + QPointF(-ends.x(), ends.y()), tip, tip + ends });
    }
}

/// Stands before the chosen entry of a list.
void drawTick(QPainter &painter, const QRectF &box, const QColor &ink)
{
    constexpr double thickness = 1.75;
    painter.setPen(QPen(ink, thickness, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF middle = box.center();
    painter.drawPolyline(
        QPolygonF { middle + QPointF(-4, 0.5), middle + QPointF(-1.25, 3.25), middle + QPointF(4, -3) });
}

/// Slanted stripes, which say "busy" without moving.
void drawStripes(QPainter &painter, const QRectF &track, const QColor &ink)
{
    constexpr double period = 16;
    const double slant = track.height();
    for (double x = track.left() - period; x < track.right() + slant; x += period) {
        painter.setBrush(ink);
        painter.drawPolygon(QPolygonF { { x, track.bottom() },
                                        { x + period / 2, track.bottom() },
                                        { x + period / 2 + slant, track.top() },
                                        { x + slant, track.top() } });
    }
}

/// The filling of a bar: `begin` and `end` are shares of its width, from its beginning.
QPainterPath filling(const QRectF &track, double begin, double end, bool fromRight)
{
    double left = track.left() + track.width() * (fromRight ? 1 - end : begin);
    double right = track.left() + track.width() * (fromRight ? 1 - begin : end);
    // A piece that is shorter than its round ends slides in from beyond the bar's.
    const double least = 2 * Measures::barRadius;
    if (right - left < least)
        (fromRight ? right : left) = fromRight ? left + least : right - least;
    const QPainterPath piece
        = rounded(QRectF(QPointF(left, track.top()), QPointF(right, track.bottom())), Measures::barRadius);
    return piece.intersected(rounded(track, Measures::barRadius));
}

}

void Drawing::panel(QPainter &painter, const QRectF &rect, double radius, const QColor &fill,
                    const QColor &edge)
{
    const Brushwork brushwork(painter);
    painter.setBrush(fill);
    painter.drawRoundedRect(rect, radius, radius);
    if (edge.alpha() == 0)
        return;
    const double width = hairline(painter);
    const double inset = width / 2;
    painter.setPen(QPen(edge, width));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(rect.adjusted(inset, inset, -inset, -inset), radius - inset, radius - inset);
}

void Drawing::button(QPainter &painter, const QRectF &rect, const ButtonState &state, const Tokens &tokens)
{
    const Brushwork brushwork(painter);
    const bool isProminent = state.emphasis == Emphasis::Prominent;
    QColor fill = isProminent ? tokens.accent : tokens.control;
    if (!state.isEnabled)
        fade(painter);
    else if (state.isPressed)
        fill = isProminent ? tokens.accentPressed : tokens.controlPressed;
    else if (state.isHovered)
        fill = isProminent ? tokens.accentHover : tokens.controlHover;
    panel(painter, rect, Measures::buttonRadius, fill,
          isProminent ? QColor(Qt::transparent) : tokens.controlEdge);
}

void Drawing::choice(QPainter &painter, const QStyleOptionComboBox &option, const QRect &arrows,
                     const Tokens &tokens)
{
    const bool isEnabled = option.state & QStyle::State_Enabled;
    button(painter, option.rect,
           { .isEnabled = isEnabled,
             .isHovered = bool(option.state & QStyle::State_MouseOver),
             .isPressed = bool(option.state & (QStyle::State_Sunken | QStyle::State_On)) },
           tokens);
    const Brushwork brushwork(painter);
    drawArrows(painter, arrows, isEnabled ? tokens.ink : tokens.disabled);
}

void Drawing::menu(QPainter &painter, const QRectF &rect, const Tokens &tokens)
{
    panel(painter, rect, Measures::menuRadius, tokens.sheet, tokens.divider);
}

void Drawing::menuItem(QPainter &painter, const QStyleOptionMenuItem &item, bool hasIcon,
                       const Tokens &tokens)
{
    const Brushwork brushwork(painter);
    const auto place
        = [&item](const QRect &rect) { return QStyle::visualRect(item.direction, item.rect, rect); };
    if (item.menuItemType == QStyleOptionMenuItem::Separator) {
        const double thickness = hairline(painter);
        QRectF line = QRectF(item.rect).adjusted(Measures::menuPadding, 0, -Measures::menuPadding, 0);
        line.setTop(item.rect.top() + item.rect.height() / 2);
        line.setHeight(thickness);
        painter.fillRect(line, tokens.divider);
        return;
    }

    const bool isEnabled = item.state & QStyle::State_Enabled;
    const bool isChosen = isEnabled && (item.state & QStyle::State_Selected);
    QRect inside = item.rect.adjusted(Measures::menuPadding, 0, -Measures::menuPadding, 0);
    if (isChosen)
        panel(painter, inside, Measures::menuRadius - 2, tokens.accent, Qt::transparent);
    const QColor ink = !isEnabled ? tokens.disabled : isChosen ? tokens.onAccent : tokens.ink;

    inside.adjust(Measures::entryPadding, 0, -Measures::entryPadding, 0);
    if (item.menuHasCheckableItems || item.checkType != QStyleOptionMenuItem::NotCheckable) {
        if (item.checked)
            drawTick(painter, place(QRect(inside.left(), inside.top(), Measures::tickWidth, inside.height())),
                     ink);
        inside.setLeft(inside.left() + Measures::tickWidth + Measures::menuPadding);
    }
    if (hasIcon) {
        const int side = item.fontMetrics.height();
        QRect icon(inside.left(), 0, side, side);
        icon.moveTop(inside.top() + (inside.height() - side) / 2);
        item.icon.paint(&painter, place(icon), Qt::AlignCenter, isEnabled ? QIcon::Normal : QIcon::Disabled);
        inside.setLeft(inside.left() + side + Measures::menuPadding);
    }
    painter.setFont(item.font);
    painter.setPen(ink);
    // On a desktop that reads from the right an ellipsis would move to the front.
    const int direction = item.text.isRightToLeft() ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight;
    const int flags
        = Qt::AlignVCenter | Qt::TextShowMnemonic | Qt::TextSingleLine | Qt::TextDontClip | direction;
    const auto sideOf = [&item](Qt::Alignment side) {
        return static_cast<int>(QStyle::visualAlignment(item.direction, side));
    };
    painter.drawText(place(inside), flags | sideOf(Qt::AlignLeft), item.text.section(u'\t', 0, 0));
    if (const QString shortcut = item.text.section(u'\t', 1); !shortcut.isEmpty()) {
        if (isEnabled && !isChosen)
            painter.setPen(tokens.secondary);
        painter.drawText(place(inside), flags | sideOf(Qt::AlignRight), shortcut);
    }
}

void Drawing::progressBar(QPainter &painter, const QStyleOptionProgressBar &option, double phase,
                          const Tokens &tokens)
{
    const Brushwork brushwork(painter);
    QRectF track(option.rect);
    track.setHeight(Measures::barHeight);
    track.moveTop(option.rect.top() + (option.rect.height() - Measures::barHeight) / 2);
    painter.fillPath(rounded(track, Measures::barRadius), tokens.barTrack);

    const bool fromRight = (option.direction == Qt::RightToLeft) != option.invertedAppearance;
    const bool isBusy = option.minimum == option.maximum;
    if (isBusy && phase < 0) {
        painter.setClipPath(rounded(track, Measures::barRadius));
        drawStripes(painter, track, tokens.mark);
    } else if (isBusy) {
        // It enters at one end and leaves at the other, so that the way begins again unseen.
        constexpr double length = 0.3;
        const double begin = phase * (1 + length) - length;
        painter.fillPath(filling(track, begin, begin + length, fromRight), tokens.mark);
    } else if (option.progress > option.minimum) {
        const double share
            = static_cast<double>(option.progress - option.minimum) / (option.maximum - option.minimum);
        painter.fillPath(filling(track, 0, std::min(share, 1.0), fromRight), tokens.mark);
    }
}

void Drawing::scrollThumb(QPainter &painter, const QStyleOptionSlider &option, const QRect &slider,
                          const Tokens &tokens)
{
    if (option.minimum == option.maximum)
        return;
    const Brushwork brushwork(painter);
    constexpr double inset = (Measures::scrollBarTarget - Measures::scrollBarThickness) / 2.0;
    const bool isGrabbed = option.state & QStyle::State_Sunken;
    const bool isHovered
        = (option.state & QStyle::State_MouseOver) && (option.activeSubControls & QStyle::SC_ScrollBarSlider);
    constexpr double radius = Measures::scrollBarThickness / 2.0;
    painter.fillPath(rounded(QRectF(slider).adjusted(inset, inset, -inset, -inset), radius),
                     isGrabbed || isHovered ? tokens.scrollThumbHover : tokens.scrollThumb);
}

void Drawing::focusRing(QPainter &painter, const QRectF &rect, double radius, const Tokens &tokens)
{
    const Brushwork brushwork(painter);
    constexpr double middle = Measures::focusRing / 2.0;
    const double outer = radius + Measures::focusGap + middle;
    painter.setPen(QPen(tokens.mark, Measures::focusRing));
    painter.drawRoundedRect(rect.adjusted(middle, middle, -middle, -middle), outer, outer);
}
