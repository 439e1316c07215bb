// The smallest Qt Widgets program with a window: the baseline for the launcher's start and memory.

#include <QApplication>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QWidget window;
    QVBoxLayout layout(&window);
    QPushButton button(QStringLiteral("Button"));
    layout.addWidget(&button);
    window.resize(560, 640);
    window.show();
    return QApplication::exec();
}
