#include "RefreshOnce.h"

#include "Observable.h"

#include <algorithm>

namespace {

/// The pause, as a multiple of the last redraw's duration.
constexpr int pauseFactor = 2;

}

RefreshOnce::RefreshOnce(QObject *view, std::function<void()> refresh, std::chrono::milliseconds pause)
    : QObject(view)
    , m_refresh(std::move(refresh))
    , m_leastPause(pause)
    , m_pause(pause)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_sinceRefresh.start();
        m_refresh();
        const std::chrono::milliseconds taken(m_sinceRefresh.restart());
        m_pause = std::max(m_leastPause, pauseFactor * taken);
    });
}

void RefreshOnce::watch(const Observable &observable)
{
    connect(&observable, &Observable::willChange, this, &RefreshOnce::schedule);
}

void RefreshOnce::schedule()
{
    if (m_timer.isActive())
        return;
    std::chrono::milliseconds wait(0);
    if (m_sinceRefresh.isValid())
        wait = std::max(wait, m_pause - std::chrono::milliseconds(m_sinceRefresh.elapsed()));
    m_timer.start(wait);
}
