#pragma once

#include <QTest>

#include <condition_variable>
#include <mutex>

/// Blocks calls on other threads, like a name server that never answers, until the test releases them.
class StandingQueue final {
public:
    /// Blocks until `letGo` is called. Any thread.
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

    /// Releases all blocked calls; later ones block again. Main thread.
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
