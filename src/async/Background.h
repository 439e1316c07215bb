#pragma once

#include "Completion.h"

#include <chrono>
#include <exception>
#include <functional>
#include <type_traits>
#include <variant>

/// Runs `job`, which must not throw, on a new thread. If the system refuses another thread (because a limit
/// on processes is reached), the job runs on a later turn of the main thread's event loop instead: that
/// blocks the window, but nobody waits for the job for ever. Main thread.
///
/// Not QThreadPool: when it cannot start a thread, it silently drops the job and counts the thread as busy
/// from then on.
void startInBackground(std::function<void()> job);

/// The number of jobs that run on threads of their own. Any thread.
int jobsInBackground();

/// Blocks until that number is 0, for at most `limit`. Returns whether it is. Main thread.
bool waitForBackground(std::chrono::milliseconds limit);

/// Runs `work` as startInBackground does and resumes on the main thread with its result, or rethrows the
/// exception that it threw. `work` is moved to the other thread: it may hold values only, never a reference
/// to the caller's frame.
///
/// Not QtConcurrent: a QFuture loses the type of an exception, and awaiting a cancelled one crashes in QCoro
/// 0.8. GCC 12 destroys a capturing lambda twice when it is written inside the co_await expression: name it
/// first.
template <typename Work> QCoro::Task<std::invoke_result_t<Work &>> runInBackground(Work work)
{
    using Value = std::invoke_result_t<Work &>;
    using Outcome = std::variant<Value, std::exception_ptr>;

    const Completion<Outcome> completion;
    startInBackground([work = std::move(work), completion]() mutable {
        auto outcome = std::make_shared<Outcome>();
        try {
            outcome->template emplace<0>(work());
        } catch (...) {
            outcome->template emplace<1>(std::current_exception());
        }
        postToMainThread([completion, outcome] { completion.settle(std::move(*outcome)); });
    });

    Outcome outcome = co_await completion;
    if (const auto *error = std::get_if<std::exception_ptr>(&outcome))
        std::rethrow_exception(*error);
    co_return std::get<0>(std::move(outcome));
}
