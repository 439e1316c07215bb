#pragma once

#include <sys/resource.h>

#include <algorithm>

/// For as long as this lives the system refuses this user's processes a new thread. The superuser is not
/// stopped: see OrdinaryUser.
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
