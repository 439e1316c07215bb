#include "StopButton.h"

#include "Measures.h"
#include "Symbols.h"
#include "Tokens.h"

#include <cmath>

namespace {

constexpr int buttonWidth = 220;
/// A square of 12 beside a label of 15.
constexpr double signHeight = 1.1;

}

StopButton::StopButton(QWidget *parent)
    : ActionButton(QStringLiteral("Stop"),
                   { .size = { buttonWidth, Measures::stopHeight },
                     .cornerRadius = Measures::stopRadius,
                     .labelPoints = 15,
                     .labelWeight = QFont::DemiBold,
                     .gap = 10 },
                   parent)
{
}

ActionButton::Inks StopButton::inks(const Tokens &tokens) const
{
    QColor ground = tokens.control;
    if (isDown())
        ground = tokens.controlPressed;
    else if (underMouse())
        ground = tokens.controlHover;
    return { .ground = ground, .edge = tokens.controlEdge, .sign = tokens.redDot, .label = tokens.ink };
}

QPainterPath StopButton::sign(double capHeight) const
{
    const double side = std::round(capHeight * signHeight);
    return Symbols::stop(QRectF(0, 0, side, side));
}
