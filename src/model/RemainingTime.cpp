#include "RemainingTime.h"

#include <algorithm>
#include <cmath>

namespace {

using Seconds = std::chrono::duration<double>;

constexpr Seconds shortestInterval { 0.5 };
constexpr Seconds smoothing { 10 };
/// The first moments of a download say little about the rest.
constexpr Seconds untilKnown { 3 };

/// `value` as the nearest multiple of `step`, at least one of them.
int inSteps(double value, int step)
{
    return std::max(1, static_cast<int>(std::lround(value / step))) * step;
}

}

void RemainingTime::update(Clock::time_point now, std::optional<double> fraction)
{
    if (!fraction) {
        m_start.reset();
        return;
    }
    if (!m_start || *fraction < m_last.fraction) {
        m_start = m_last = { now, *fraction };
        m_perSecond = 0;
        return;
    }
    const Seconds elapsed = now - m_last.time;
    if (elapsed < shortestInterval)
        return;
    // At first the plain average, because there is nothing older to be smoothed with.
    const Seconds sinceStart = now - m_start->time;
    const double weight = std::max(1 - std::exp(-elapsed / smoothing), elapsed / sinceStart);
    const double newest = (*fraction - m_last.fraction) / elapsed.count();
    m_perSecond += weight * (newest - m_perSecond);
    m_last = { now, *fraction };
}

QString RemainingTime::text() const
{
    if (!m_start || m_last.time - m_start->time < untilKnown || m_perSecond <= 0)
        return {};
    return text(Seconds((1 - m_last.fraction) / m_perSecond));
}

QString RemainingTime::text(std::chrono::duration<double> left)
{
    constexpr double minute = 60;
    constexpr double hour = 60 * minute;
    constexpr double day = 24 * hour;
    const double seconds = left.count();
    if (!(seconds >= 10 && seconds <= day))
        return {};
    if (seconds < 0.9 * minute)
        return QStringLiteral("about %1 seconds left").arg(inSteps(seconds, 10));
    if (seconds < 1.5 * minute)
        return QStringLiteral("about 1 minute left");
    if (seconds < 0.9 * hour) {
        const double minutes = seconds / minute;
        return QStringLiteral("about %1 minutes left").arg(inSteps(minutes, minutes < 10 ? 1 : 5));
    }
    if (seconds < 1.5 * hour)
        return QStringLiteral("about 1 hour left");
    return QStringLiteral("about %1 hours left").arg(inSteps(seconds / hour, 1));
}
