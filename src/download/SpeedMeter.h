#pragma once

#include <QtGlobal>

#include <chrono>

/// The speed of a download: the plain average over the last interval of at least half a second, without
/// smoothing, so that it is zero as soon as nothing arrives. The caller supplies the time. Not thread-safe.
class SpeedMeter final {
public:
    using Clock = std::chrono::steady_clock;

    /// The first interval starts at `now`, with `totalBytes` there already.
    explicit SpeedMeter(Clock::time_point now, qint64 totalBytes = 0)
        : m_lastTime(now)
        , m_lastBytes(totalBytes)
    {
    }

    /// Returns bytes per second, 0 until the first interval is over. `totalBytes` counts from the file's
    /// beginning.
    double measure(Clock::time_point now, qint64 totalBytes)
    {
        const std::chrono::duration<double> elapsed = now - m_lastTime;
        if (elapsed >= shortestInterval) {
            m_speed = static_cast<double>(totalBytes - m_lastBytes) / elapsed.count();
            m_lastTime = now;
            m_lastBytes = totalBytes;
        }
        return m_speed;
    }

private:
    static constexpr std::chrono::milliseconds shortestInterval { 500 };

    Clock::time_point m_lastTime;
    qint64 m_lastBytes;
    double m_speed = 0;
};
