#pragma once

#include <QTest>

#include <condition_variable>
#include <mutex>

/// What calls on other threads wait in, as for a name server that never answers, until the test lets them go.
class StandingQueue final {
public:
    /// Counts the caller in, and returns when `letGo` is called.
    void wait()
    {
        std::unique_lock guard(m_lock);
        ++m_waiting;
        m_changed.wait(guard, [this] { return m_released; });
        --m_waiting;
    }

    int waiting()
    {
        const std::lock_guard guard(m_lock);
        return m_waiting;
    }

    /// Lets everybody go and stands again.
    void letGo()
    {
        setReleased(true);
        QTRY_COMPARE(waiting(), 0);
        setReleased(false);
    }

private:
    void setReleased(bool released)
    {
        {
            const std::lock_guard guard(m_lock);
            m_released = released;
        }
        m_changed.notify_all();
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    int m_waiting = 0;
    bool m_released = false;
};
