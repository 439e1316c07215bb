#include "Parallel.h"

#ifdef __linux__
#include <sched.h>
#endif

namespace {

std::size_t processorCount()
{
#ifdef __linux__
    // The process may be restricted to some of them.
    cpu_set_t processors;
    CPU_ZERO(&processors);
    if (sched_getaffinity(0, sizeof processors, &processors) == 0)
        return static_cast<std::size_t>(CPU_COUNT(&processors));
#endif
    return std::thread::hardware_concurrency();
}

}

std::size_t threadCount()
{
    constexpr std::size_t most = 4;
    static const std::size_t count = std::clamp<std::size_t>(processorCount(), 1, most);
    return count;
}
