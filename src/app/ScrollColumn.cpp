#include "ScrollColumn.h"

#include <QAccessibleWidget>
#include <QVBoxLayout>

namespace {

/// Qt's own description of a scroll area crashes when it is asked for a part that it no longer has, as a
/// screen reader does that has counted the parts before a scroll bar went. That of any widget gives none.
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
    QAccessible::installFactory(describe); // one that is installed already is not installed again
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
