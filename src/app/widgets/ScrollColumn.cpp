#include "ScrollColumn.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

namespace {

/// Around what is scrolled into view: room for the ring around the focus, and some air.
constexpr int margin = 20;

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
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) { revealFocus(now); });
}

ScrollColumn::~ScrollColumn()
{
    // The focus may change while the column is destroyed.
    qApp->disconnect(this);
}

int ScrollColumn::heightFor(int width) const { return m_column->totalHeightForWidth(width); }

void ScrollColumn::reveal(const QWidget &view)
{
    const int top = view.mapTo(widget(), QPoint(0, 0)).y() - margin;
    const int bottom = top + view.height() + 2 * margin;
    QScrollBar *bar = verticalScrollBar();
    bar->setValue(std::min(top, std::max(bar->value(), bottom - viewport()->height())));
}

QSize ScrollColumn::minimumSizeHint() const { return { 1, 1 }; }

bool ScrollColumn::eventFilter(QObject *watched, QEvent *event)
{
    const bool handled = QScrollArea::eventFilter(watched, event);
    // Queued, because the views only get their places after this event.
    if (watched == widget() && event->type() == QEvent::Resize)
        QMetaObject::invokeMethod(
            this, [this] { revealFocus(QApplication::focusWidget()); }, Qt::QueuedConnection);
    return handled;
}

bool ScrollColumn::focusNextPrevChild(bool next)
{
    // QScrollArea would scroll to a text's cursor, which may itself be scrolled out of sight.
    return QAbstractScrollArea::focusNextPrevChild(next);
}

void ScrollColumn::resizeEvent(QResizeEvent *event)
{
    QScrollArea::resizeEvent(event);
    revealFocus(QApplication::focusWidget());
}

void ScrollColumn::revealFocus(const QWidget *focused)
{
    // What the mouse presses is in view, and must not move before the mouse releases it.
    if (focused && widget()->isAncestorOf(focused) && QApplication::mouseButtons() == Qt::NoButton)
        reveal(*focused);
}
