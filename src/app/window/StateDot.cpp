#include "StateDot.h"

#include "Colours.h"

#include <QPainter>

namespace {

constexpr int diameter = 10;

QColor colour(StateFace::Dot dot)
{
    switch (dot) {
    case StateFace::Dot::Red:
        return QColor::fromRgb(0xe0, 0x3b, 0x30);
    case StateFace::Dot::Grey:
        return QColor::fromRgb(0x8e, 0x8e, 0x93);
    case StateFace::Dot::Green:
        return QColor::fromRgb(0x2f, 0xa8, 0x4f);
    case StateFace::Dot::Orange:
        return QColor::fromRgb(0xf0, 0x8a, 0x00);
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
    painter.setBrush(
        Colours::readable(colour(m_dot), palette().color(QPalette::Window), Colours::signContrast));
    painter.drawEllipse(rect());
}
