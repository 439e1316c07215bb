#include "ScrollColumn.h"

#include <QAccessibleWidget>
#include <QVBoxLayout>

namespace {

/// Qt's accessible interface for a scroll area crashes when it is asked for a child that no longer exists. A
/// screen reader does so if a scroll bar disappears after it has counted the children. The interface for
/// plain widgets returns null instead.
QAccessibleInterface *describe(const QString &className, QObject *object)
{
    return className == QLatin1StringView(ScrollColumn::staticMetaObject.className())
        ? new QAccessibleWidget(qobject_cast<QWidget *>(object), QAccessible::Client)
        : nullptr;
}

}

ScrollColumn::ScrollColumn(int padding, int spacing, QWidget *parent)
    : QScrollArea(parent)
{
    QAccessible::installFactory(describe); // installing it again has no effect
    auto *content = new QWidget;
    m_column = new QVBoxLayout(content);
    m_column->setContentsMargins(padding, padding, padding, padding);
    m_column->setSpacing(spacing);
    setWidget(content);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    // The window itself paints the background.
    viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);
}

int ScrollColumn::heightFor(int width) const { return m_column->totalHeightForWidth(width); }

QSize ScrollColumn::minimumSizeHint() const { return { 1, 1 }; }
