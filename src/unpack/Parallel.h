#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

/// The number of threads to share work among: one per processor that this process may use, at most four,
/// since more would only wait for the disk. Asks the system on the first call only.
std::size_t threadCount();

/// Calls a worker for every index below `count`, on this thread and others. Each thread gets a worker of its
/// own from `makeWorker()`, called on that thread. Rethrows what a worker threw, for the lowest index if
/// several did; some of the work is then not done.
template <typename MakeWorker> void inParallel(std::size_t count, const MakeWorker &makeWorker)
{
    // Neighbouring indexes stay together, because their files lie in one folder, in shares small enough to
    // keep every thread busy until the end.
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
            // The threads that were started do all the work.
        }
        workOn();
    }
    if (error)
        std::rethrow_exception(error);
}
