#pragma once

#include <QPixmap>
#include <QWidget>

/// A picture of a window as it was, over the window as it is now, that fades away and deletes itself. What
/// can be pressed is in its place below and can be pressed at once. Main thread.
class Fade final : public QWidget {
    Q_OBJECT

public:
    /// Call this right before `window` changes. Does nothing if the window is not shown or the player wants
    /// no motion.
    static void from(QWidget &window);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Fade(QWidget &window, int duration);

    const QPixmap m_before;
    double m_opacity = 1;
};
