#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

class Observable;

/// Combines any number of announced changes into one redraw on a later turn of the event loop, when the
/// fields have their new values. Owned by the view that it redraws. Main thread.
class RefreshOnce final : public QObject {
    Q_OBJECT

public:
    /// Waits at least `pause` between two redraws, and longer after a slow one, so that most of the time is
    /// always left for the rest of the window. The first redraw happens on the next turn.
    RefreshOnce(QObject *view, std::function<void()> refresh,
                std::chrono::milliseconds pause = std::chrono::milliseconds(0));

    void watch(const Observable &observable);
    /// Requests a redraw.
    void schedule();

    /// Whether a redraw is scheduled.
    bool isPending() const { return m_timer.isActive(); }

private:
    const std::function<void()> m_refresh;
    const std::chrono::milliseconds m_leastPause;
    std::chrono::milliseconds m_pause;
    QElapsedTimer m_sinceRefresh;
    QTimer m_timer;
};
