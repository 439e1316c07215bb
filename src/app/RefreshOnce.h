#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

class Observable;

/// Turns any number of announced changes into one redraw on a later turn of the event loop, when the fields
/// hold their new values. Belongs to the view that it redraws. Main thread.
class RefreshOnce final : public QObject {
    Q_OBJECT

public:
    /// Between two redraws lies at least `pause`, and longer when a redraw takes long: whatever happens, most
    /// of the time is left to the rest of the window. The first redraw comes on the next turn.
    RefreshOnce(QObject *view, std::function<void()> refresh,
                std::chrono::milliseconds pause = std::chrono::milliseconds(0));

    void watch(const Observable &observable);
    /// Marks the view stale.
    void schedule();

    /// Whether a redraw is still to come.
    bool isPending() const { return m_timer.isActive(); }

private:
    const std::function<void()> m_refresh;
    const std::chrono::milliseconds m_leastPause;
    std::chrono::milliseconds m_pause;
    QElapsedTimer m_sinceRefresh;
    QTimer m_timer;
};
