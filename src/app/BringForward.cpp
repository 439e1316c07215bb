#include "BringForward.h"

#include <QApplication>
#include <QWidget>

void bringForward(QWidget &window)
{
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    QWidget *dialog = QApplication::activeModalWidget();
    if (dialog)
        dialog->raise();
    (dialog ? *dialog : window).activateWindow();
}
