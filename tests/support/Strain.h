#pragma once

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <functional>

/// Measures what work costs in memory and on the main thread, from construction on. Main thread.
class Strain final : public QObject {
public:
    /// The longest pause of a window that nobody notices, in milliseconds.
    static constexpr qint64 longestPause = 100;
    /// The most memory that a child's output may cost, in bytes.
    static constexpr qint64 mostMemory = 64 * 1024 * 1024;

    /// The lines in a flood, and the bytes in one without line feeds: with FLOOD=full as many as a game
    /// prints in hours, otherwise a fraction.
    static qint64 manyLines() { return scaled(10'000'000); }
    static qint64 manyBytes() { return scaled(2'000'000'000); }

    Strain()
        : m_memoryBefore(memory("VmRSS:"))
    {
        // Resets the peak memory of this process.
        QFile peak(QStringLiteral("/proc/self/clear_refs"));
        if (peak.open(QIODevice::WriteOnly))
            peak.write("5");
        connect(&m_timer, &QTimer::timeout, this, [this] {
            endTurn();
            if (m_isReached && m_isReached())
                m_loop.quit();
        });
        beginTurn();
        m_timer.start(1);
    }

    /// Runs a real event loop until `isReached` returns true, and returns whether it did within `limit`. Not
    /// QTest::qWaitFor: it sleeps between two turns, which would hold up a flood.
    bool runUntil(const std::function<bool()> &isReached,
                  std::chrono::milliseconds limit = std::chrono::seconds(30))
    {
        QTimer patience;
        connect(&patience, &QTimer::timeout, &m_loop, &QEventLoop::quit);
        patience.start(limit);
        m_isReached = isReached;
        beginTurn();
        if (!isReached())
            m_loop.exec();
        m_isReached = nullptr;
        return isReached();
    }

    /// The longest time between two turns of the event loop while `runUntil` ran, in milliseconds.
    qint64 longestGap() const { return m_longestGap; }

    /// Whether no turn took longer than `most` milliseconds. On an overloaded machine only the main thread's
    /// CPU time counts: the launcher cannot help how long it waits for a processor.
    bool keptItsTurns(qint64 most = longestPause) const
    {
        double load = 0;
        const bool isBusy = ::getloadavg(&load, 1) == 1 && load > QThread::idealThreadCount();
        return (isBusy || m_longestGap <= most) && m_longestWork <= most;
    }

    /// The peak growth of memory since construction, in bytes. 0 if the system does not report it.
    qint64 memoryGrowth() const { return std::max<qint64>(0, peakMemory() - m_memoryBefore); }

    /// This process's peak memory since construction, in bytes. 0 if the system does not report it.
    static qint64 peakMemory() { return memory("VmHWM:"); }

    /// What the system reports about a process's memory under `name`, in bytes: "VmHWM:" is the peak since
    /// its execve(). 0 if the system does not report it.
    static qint64 memory(const QByteArray &name, const QString &process = QStringLiteral("self"))
    {
        QFile status(QStringLiteral("/proc/%1/status").arg(process));
        if (!status.open(QIODevice::ReadOnly))
            return 0;
        const QByteArray text = status.readAll();
        const qsizetype at = text.indexOf(name);
        return at < 0 ? 0 : text.mid(at + name.size()).trimmed().split(' ').first().toLongLong() * 1024;
    }

    /// False under sanitizers: they delay freeing memory and slow everything down, which distorts both.
    static constexpr bool isMeasurable()
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        return false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
        return false;
#else
        return true;
#endif
#else
        return true;
#endif
    }

private:
    static qint64 scaled(qint64 full)
    {
        if (qgetenv("FLOOD") == "full")
            return full;
        return full / (isMeasurable() ? 10 : 100);
    }

    /// The CPU time of this thread so far, in milliseconds.
    static qint64 work()
    {
        timespec time = {};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return time.tv_sec * 1000 + time.tv_nsec / 1'000'000;
    }

    void beginTurn()
    {
        m_sinceLast.start();
        m_workBefore = work();
    }

    void endTurn()
    {
        m_longestGap = std::max(m_longestGap, m_sinceLast.elapsed());
        m_longestWork = std::max(m_longestWork, work() - m_workBefore);
        beginTurn();
    }

    qint64 m_memoryBefore = 0;
    QEventLoop m_loop;
    QTimer m_timer;
    QElapsedTimer m_sinceLast;
    qint64 m_longestGap = 0;
    qint64 m_workBefore = 0;
    qint64 m_longestWork = 0;
    std::function<bool()> m_isReached;
};
