#include "BusyBars.h"

#include <QWidget>

#include <utility>

namespace {

/// Both in milliseconds.
constexpr qint64 onceAcross = 1500;
constexpr int interval = 33;

}

BusyBars::BusyBars()
{
    m_beat.setInterval(interval);
    m_beat.setSingleShot(true);
    connect(&m_beat, &QTimer::timeout, this, &BusyBars::redraw);
}

double BusyBars::phase(const QWidget *bar)
{
    if (!m_clock.isValid())
        m_clock.start();
    if (bar && !m_bars.contains(bar))
        m_bars.append(const_cast<QWidget *>(bar)); // a style draws what it may not change
    if (!m_bars.isEmpty() && !m_beat.isActive())
        m_beat.start();
    return static_cast<double>(m_clock.elapsed() % onceAcross) / onceAcross;
}

void BusyBars::redraw()
{
    // What is still to be seen, and still indeterminate, comes back when it is drawn.
    const auto bars = std::exchange(m_bars, {});
    for (const QPointer<QWidget> &bar : bars) {
        if (bar)
            bar->update();
    }
}
