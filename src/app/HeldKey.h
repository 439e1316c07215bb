#pragma once

#include <QObject>
#include <QWidget>

/// Keeps a key that is held down from pressing the buttons of an area again and again.
///
/// X11 sends a held key as releases and presses. Qt marks them as repetitions only where it sees both of a
/// pair at once, and not always does it; what tells them from a person's is that both bear the same time. The
/// whole program's keys are watched: the focus may change between the two. The area owns it. Main thread.
class HeldKey final : public QObject {
    Q_OBJECT

public:
    explicit HeldKey(QWidget *area);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *const m_area;
    int m_releasedKey = 0;
    quint64 m_releaseTime = 0; // milliseconds of the display's clock; 0 while there was none
};
