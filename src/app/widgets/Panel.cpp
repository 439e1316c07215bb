#include "Panel.h"

#include <QPainter>

Panel::Panel(const QColor &ground, double cornerRadius, QWidget *parent)
    : QWidget(parent)
    , m_ground(ground)
    , m_cornerRadius(cornerRadius)
{
}

void Panel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_ground);
    painter.drawRoundedRect(rect(), m_cornerRadius, m_cornerRadius);
}
