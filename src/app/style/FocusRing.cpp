#include "FocusRing.h"

#include "Measures.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QFocusEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QVariant>

namespace {

/// A focus frame that comes back when its widget is scrolled into view.
class Frame final : public QFocusFrame {
protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const bool result = QFocusFrame::eventFilter(watched, event);
        const bool mayComeIntoView = event->type() == QEvent::Move || event->type() == QEvent::Resize;
        if (mayComeIntoView && isHidden() && widget() && widget()->isVisible()) {
            raise();
            show();
        }
        return result;
    }
};

/// These show the focus themselves, with a frame or a cursor.
bool showsItsOwn(const QWidget *widget)
{
    return qobject_cast<const QLineEdit *>(widget) || qobject_cast<const QAbstractItemView *>(widget)
        || widget->isWindow();
}

}

FocusRing::FocusRing() { QApplication::instance()->installEventFilter(this); }

FocusRing::~FocusRing() { delete m_frame; }

double FocusRing::radiusOf(const QWidget &widget)
{
    if (const QVariant radius = widget.property(radiusProperty); radius.isValid())
        return radius.toDouble();
    return qobject_cast<const QPlainTextEdit *>(&widget) ? Measures::wellRadius : Measures::buttonRadius;
}

bool FocusRing::eventFilter(QObject *watched, QEvent *event)
{
    const bool isFocus = event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut;
    auto *widget = isFocus ? qobject_cast<QWidget *>(watched) : nullptr;
    if (!widget)
        return false;
    const Qt::FocusReason reason = static_cast<const QFocusEvent *>(event)->reason();
    if (event->type() == QEvent::FocusIn)
        follow(widget, reason);
    else if (reason != Qt::PopupFocusReason && m_frame)
        m_frame->setWidget(nullptr);
    return false;
}

void FocusRing::follow(QWidget *widget, Qt::FocusReason reason)
{
    if (reason == Qt::MouseFocusReason)
        m_chosenByMouse = widget;
    // The window, or a menu over it, only gives back what was there before.
    else if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
        m_chosenByMouse.clear();
    if (m_chosenByMouse == widget || showsItsOwn(widget)) {
        if (m_frame)
            m_frame->setWidget(nullptr);
        return;
    }
    if (!m_frame)
        m_frame = new Frame;
    m_frame->setWidget(widget);
}
