#include "Panel.h"

#include "Measures.h"
#include "Surface.h"
#include "Tokens.h"

#include <QPainter>

Panel::Panel(Kind kind, QWidget *parent)
    : QWidget(parent)
    , m_kind(kind)
{
}

void Panel::paintEvent(QPaintEvent *)
{
    const Tokens &tokens = Tokens::of(*this);
    QPainter painter(this);
    switch (m_kind) {
    case Kind::Well:
        Surface::paint(painter, rect(), Measures::wellRadius, tokens.well, tokens.wellEdge);
        break;
    case Kind::Failure:
        Surface::paint(painter, rect(), Measures::panelRadius, tokens.failurePanel, tokens.failureEdge);
        break;
    }
}
