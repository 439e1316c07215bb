#include "SteadyButton.h"

#include <QKeyEvent>
#include <QMouseEvent>

SteadyButton::SteadyButton(const QString &text, QWidget *parent)
    : TextButton(text, parent)
{
    // Return presses the button that has the focus, in a window as in a dialog.
    setAutoDefault(true);
}

void SteadyButton::mouseDoubleClickEvent(QMouseEvent *event) { event->accept(); }

void SteadyButton::keyPressEvent(QKeyEvent *event)
{
    if (event->isAutoRepeat())
        event->accept();
    else
        TextButton::keyPressEvent(event);
}
