#pragma once

#include <QRectF>

class QColor;
class QPainter;
class QRect;
class QStyleOptionComboBox;
class QStyleOptionMenuItem;
class QStyleOptionProgressBar;
class QStyleOptionSlider;
struct Tokens;

/// How each of the launcher's controls is drawn. Every function leaves the painter as it was.
namespace Drawing {

/// Fills `rect` and draws a hairline along the inside of its edge, sharp at every scale.
void panel(QPainter &painter, const QRectF &rect, double radius, const QColor &fill, const QColor &edge);

/// What lies behind the label of a push button.
enum class Emphasis { Plain, Prominent };
struct ButtonState {
    Emphasis emphasis = Emphasis::Plain;
    bool isEnabled = true;
    bool isHovered = false;
    bool isPressed = false;
};
void button(QPainter &painter, const QRectF &rect, const ButtonState &state, const Tokens &tokens);

/// A closed choice without its label. The two arrows are in `arrows`.
void choice(QPainter &painter, const QStyleOptionComboBox &option, const QRect &arrows, const Tokens &tokens);

/// The background of a menu, or of the list of a choice.
void menu(QPainter &painter, const QRectF &rect, const Tokens &tokens);
/// `hasIcon` says whether to show the entry's icon.
void menuItem(QPainter &painter, const QStyleOptionMenuItem &item, bool hasIcon, const Tokens &tokens);

/// A horizontal bar. `phase` is where the piece of an indeterminate one is on its way, from 0 to 1; negative
/// to draw it still.
void progressBar(QPainter &painter, const QStyleOptionProgressBar &option, double phase,
                 const Tokens &tokens);

/// The part of a scroll bar that can be dragged, inside of `slider`.
void scrollThumb(QPainter &painter, const QStyleOptionSlider &option, const QRect &slider,
                 const Tokens &tokens);

/// Around what is `rect` without the ring's own width and gap, and has corners of this radius.
void focusRing(QPainter &painter, const QRectF &rect, double radius, const Tokens &tokens);

}
