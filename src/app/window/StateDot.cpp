#include "StateDot.h"

#include "Tokens.h"

#include <QPainter>

namespace {

constexpr int diameter = 10;

QColor colour(const Tokens &tokens, StateFace::Dot dot)
{
    switch (dot) {
    case StateFace::Dot::Red:
        return tokens.redDot;
    case StateFace::Dot::Grey:
        return tokens.greyDot;
    case StateFace::Dot::Green:
        return tokens.greenDot;
    case StateFace::Dot::Orange:
        return tokens.orangeDot;
    }
    return {};
}

}

StateDot::StateDot(QWidget *parent)
    : QWidget(parent)
{
    setFixedSize(diameter, diameter);
}

void StateDot::display(StateFace::Dot dot)
{
    if (dot == m_dot)
        return;
    m_dot = dot;
    update();
}

void StateDot::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour(Tokens::of(*this), m_dot));
    painter.drawEllipse(rect());
}
