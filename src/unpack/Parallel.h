#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

/// How many threads work is shared among: as many as there are processors for this process, and not more than
/// wait for the disk. Asks the system at the first call only.
std::size_t threadCount();

/// Does the work of every index below `count`, on this thread and others, each with a worker of its own:
/// `makeWorker()` gives something to call with an index, on that thread. Throws what a worker threw, that of
/// the lowest index when several did; then some of the work is not done.
template <typename MakeWorker> void inParallel(std::size_t count, const MakeWorker &makeWorker)
{
    // Neighbours stay together, as they lie in one folder, and yet there is enough for everybody until the
    // end.
    constexpr std::size_t sharesEach = 16;
    const std::size_t threads = threadCount();
    const std::size_t share = std::max<std::size_t>(1, count / (threads * sharesEach));

    std::atomic<std::size_t> next = 0;
    std::mutex lock;
    std::size_t failedIndex = count; // guarded by lock, as is the error
    std::exception_ptr error;
    const auto workOn = [&] {
        std::size_t index = 0;
        try {
            auto work = makeWorker();
            while ((index = next.fetch_add(share)) < count) {
                for (const std::size_t end = std::min(count, index + share); index < end; ++index)
                    work(index);
            }
        } catch (...) {
            const std::lock_guard guard(lock);
            next = count;
            if (!error || index < failedIndex)
                error = std::current_exception();
            failedIndex = std::min(failedIndex, index);
        }
    };
    {
        std::vector<std::jthread> others;
        try {
            while (others.size() + 1 < std::min(threads, count))
                others.emplace_back(workOn);
        } catch (const std::system_error &) {
            // The threads that could be started do all of it.
        }
        workOn();
    }
    if (error)
        std::rethrow_exception(error);
}
