#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>

class QWidget;

/// Moves the indeterminate progress bars while they can be seen. Without one no timer runs. Main thread.
class BusyBars final : public QObject {
    Q_OBJECT

public:
    BusyBars();

    /// Where the moving piece is now, from 0 to 1. Called when `bar` is drawn, which is then drawn again
    /// soon.
    double phase(const QWidget *bar);
    bool isMoving() const { return m_beat.isActive(); }

private:
    void redraw();

    QList<QPointer<QWidget>> m_bars;
    QElapsedTimer m_clock;
    QTimer m_beat;
};
