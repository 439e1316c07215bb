#include "ScrollColumn.h"

#include <QVBoxLayout>

ScrollColumn::ScrollColumn(int padding, int spacing, QWidget *parent)
    : QScrollArea(parent)
{
    auto *content = new QWidget;
    m_column = new QVBoxLayout(content);
    m_column->setContentsMargins(padding, padding, padding, padding);
    m_column->setSpacing(spacing);
    setWidget(content);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    // The window itself is the ground.
    viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);
}

int ScrollColumn::heightFor(int width) const { return m_column->totalHeightForWidth(width); }

QSize ScrollColumn::minimumSizeHint() const { return { 1, 1 }; }
