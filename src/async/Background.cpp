#include "Background.h"

#include <QCoreApplication>

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace {

/// Counts the jobs that run on threads of their own.
class Jobs final {
public:
    void begin()
    {
        const std::lock_guard lock(m_lock);
        ++m_count;
    }
    void end()
    {
        const std::lock_guard lock(m_lock);
        --m_count;
        m_changed.notify_all();
    }
    int count()
    {
        const std::lock_guard lock(m_lock);
        return m_count;
    }
    bool waitForNone(std::chrono::milliseconds limit)
    {
        std::unique_lock lock(m_lock);
        return m_changed.wait_for(lock, limit, [this] { return m_count == 0; });
    }
    void waitForNone()
    {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [this] { return m_count == 0; });
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    int m_count = 0; // guarded by m_lock
};

/// Never destroyed: a thread may still be inside end() when static objects are destroyed.
Jobs &jobs()
{
    static auto &all = *new Jobs;
    return all;
}

/// Jobs post to the application object, so it waits for them before it is destroyed.
void waitBeforeTheApplicationGoes()
{
    static bool isArranged = false;
    if (!std::exchange(isArranged, true))
        qAddPostRoutine([] { jobs().waitForNone(); });
}

}

void startInBackground(std::function<void()> job)
{
    waitBeforeTheApplicationGoes();
    jobs().begin();
    try {
        std::thread([job]() mutable {
            job();
            job = nullptr; // destroy its captures before it counts as done
            jobs().end();
        }).detach();
    } catch (const std::system_error &) {
        jobs().end();
        postToMainThread(std::move(job));
    }
}

int jobsInBackground() { return jobs().count(); }

bool waitForBackground(std::chrono::milliseconds limit) { return jobs().waitForNone(limit); }
