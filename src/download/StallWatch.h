#pragma once

#include <QtGlobal>

#include <chrono>

/// Whether a transfer has come to a standstill. Only bytes of the body count as life: looking up the name,
/// connecting, redirects and the header must all be over within one window, so that no server can keep a
/// player waiting with drops of any of them. It does not know the clock. Not shared between threads.
///
/// libcurl's own low-speed rule is not used: it does not look at every phase, and it counts the header's
/// bytes too.
class StallWatch final {
public:
    using Clock = std::chrono::steady_clock;

    StallWatch(Clock::time_point now, std::chrono::milliseconds window, qint64 slowestBytesPerSecond)
        : m_window(window)
        , m_enough(slowestBytesPerSecond * window / std::chrono::seconds(1))
        , m_lastTime(now)
    {
    }

    /// `totalBytes` of the body have come. A new window begins as soon as the last one has brought enough.
    void received(Clock::time_point now, qint64 totalBytes)
    {
        if (totalBytes - m_lastBytes < m_enough)
            return;
        m_lastTime = now;
        m_lastBytes = totalBytes;
    }

    /// The moment from which on the transfer counts as stalled.
    Clock::time_point deadline() const { return m_lastTime + m_window; }

private:
    std::chrono::milliseconds m_window;
    qint64 m_enough;
    Clock::time_point m_lastTime;
    qint64 m_lastBytes = 0;
};
