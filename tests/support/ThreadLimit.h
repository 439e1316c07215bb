#pragma once

#include <sys/resource.h>

#include <algorithm>

/// Prevents this process from starting threads for as long as this object lives. Has no effect on root: see
/// OrdinaryUser.
class ThreadLimit final {
public:
    ThreadLimit()
    {
        ::getrlimit(RLIMIT_NPROC, &m_before);
        const rlimit none { std::min<rlim_t>(1, m_before.rlim_max), m_before.rlim_max };
        ::setrlimit(RLIMIT_NPROC, &none);
    }
    ~ThreadLimit() { ::setrlimit(RLIMIT_NPROC, &m_before); }
    ThreadLimit(const ThreadLimit &) = delete;
    ThreadLimit &operator=(const ThreadLimit &) = delete;

private:
    rlimit m_before = {};
};
