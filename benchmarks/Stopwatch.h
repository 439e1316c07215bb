#pragma once

#include <sys/resource.h>

#include <chrono>
#include <cstdio>

/// Wall time and this process's processor time since construction.
class Stopwatch final {
public:
    double milliseconds() const
    {
        const std::chrono::duration<double, std::milli> passed = Clock::now() - m_begin;
        return passed.count();
    }

    double processorMilliseconds() const { return processorTime() - m_processorBegin; }

private:
    using Clock = std::chrono::steady_clock;

    static double processorTime()
    {
        rusage usage = {};
        getrusage(RUSAGE_SELF, &usage);
        const auto inMilliseconds = [](const timeval &time) {
            return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
        };
        return inMilliseconds(usage.ru_utime) + inMilliseconds(usage.ru_stime);
    }

    Clock::time_point m_begin = Clock::now();
    double m_processorBegin = processorTime();
};

/// One measured figure, as the script reads it: "milliseconds 12.345".
inline void report(const char *name, double value) { std::printf("%s %.3f\n", name, value); }
