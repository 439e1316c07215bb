#include "PlayButton.h"

#include "Measures.h"
#include "Symbols.h"
#include "Tokens.h"

namespace {

constexpr int buttonWidth = 260;
/// A triangle looks smaller than a letter of its height.
constexpr double signHeight = 1.08;
constexpr double signWidth = 0.92;

}

PlayButton::PlayButton(QWidget *parent)
    : ActionButton(QStringLiteral("Play"),
                   { .size = { buttonWidth, Measures::playHeight },
                     .cornerRadius = Measures::playRadius,
                     .labelPoints = 28,
                     .labelWeight = QFont::Bold,
                     .gap = 12 },
                   parent)
{
}

ActionButton::Inks PlayButton::inks(const Tokens &tokens) const
{
    QColor ground = tokens.accent;
    if (isDown())
        ground = tokens.accentPressed;
    else if (underMouse())
        ground = tokens.accentHover;
    return { .ground = ground, .edge = Qt::transparent, .sign = tokens.onAccent, .label = tokens.onAccent };
}

QPainterPath PlayButton::sign(double capHeight) const
{
    return Symbols::play(QRectF(0, 0, capHeight * signWidth, capHeight * signHeight));
}
