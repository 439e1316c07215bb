#pragma once

#include <QtGlobal>

#include <chrono>

/// Detects a stalled transfer. Only bytes of the body count as progress: name lookup, connecting, redirects
/// and the header must all finish within one window, so that no server can keep a player waiting by trickling
/// bytes. The caller supplies the time. Not thread-safe.
///
/// libcurl's own low-speed limit does not cover every phase, and it counts the header's bytes too.
class StallWatch final {
public:
    using Clock = std::chrono::steady_clock;

    StallWatch(Clock::time_point now, std::chrono::milliseconds window, qint64 slowestBytesPerSecond)
        : m_window(window)
        , m_enough(slowestBytesPerSecond * window / std::chrono::seconds(1))
        , m_lastTime(now)
    {
    }

    /// `totalBytes` of the body have arrived so far. A new window starts as soon as the last has had enough.
    void received(Clock::time_point now, qint64 totalBytes)
    {
        if (totalBytes - m_lastBytes < m_enough)
            return;
        m_lastTime = now;
        m_lastBytes = totalBytes;
    }

    /// The time from which the transfer counts as stalled.
    Clock::time_point deadline() const { return m_lastTime + m_window; }

private:
    std::chrono::milliseconds m_window;
    qint64 m_enough;
    Clock::time_point m_lastTime;
    qint64 m_lastBytes = 0;
};
