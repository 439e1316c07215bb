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

/// What a piece of work costs the main thread and the memory, from the making of this object on. Main thread.
class Strain final : public QObject {
public:
    /// The longest that a person waits for a window without noticing, in milliseconds.
    static constexpr qint64 longestPause = 100;
    /// The most memory that a child's output may cost, in bytes.
    static constexpr qint64 mostMemory = 64 * 1024 * 1024;

    /// How many lines a flood is, and how many bytes one without a line end: what a game prints in hours with
    /// FLOOD=full, else a part of it.
    static qint64 manyLines() { return scaled(10'000'000); }
    static qint64 manyBytes() { return scaled(2'000'000'000); }

    Strain()
        : m_memoryBefore(memory("VmRSS:"))
    {
        // Forgets the most memory that this process has had so far.
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

    /// Turns a real event loop until `isReached` holds, and says whether that came within `limit`. Not
    /// QTest::qWaitFor: it sleeps between two turns, and a flood would wait for that.
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

    /// Whether no turn lasted longer than `most` milliseconds. Where more programs want to run than there are
    /// processors, the main thread's own work decides: how long it waits for its turn among them is not the
    /// launcher's doing.
    bool keptItsTurns(qint64 most = longestPause) const
    {
        double load = 0;
        const bool isBusy = ::getloadavg(&load, 1) == 1 && load > QThread::idealThreadCount();
        return (isBusy || m_longestGap <= most) && m_longestWork <= most;
    }

    /// How far the memory in use has ever risen above what it was, in bytes. 0 where the system does not say.
    qint64 memoryGrowth() const { return std::max<qint64>(0, memory("VmHWM:") - m_memoryBefore); }

    /// Sanitizers keep freed memory for a while and slow everything down: what is measured then says nothing.
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

    /// What this thread has worked so far, in milliseconds.
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

    static qint64 memory(const QByteArray &name)
    {
        QFile status(QStringLiteral("/proc/self/status"));
        if (!status.open(QIODevice::ReadOnly))
            return 0;
        const QByteArray text = status.readAll();
        const qsizetype at = text.indexOf(name);
        return at < 0 ? 0 : text.mid(at + name.size()).trimmed().split(' ').first().toLongLong() * 1024;
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
