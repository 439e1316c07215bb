#pragma once

#include "Completion.h"

#include <QThreadPool>

#include <exception>
#include <type_traits>
#include <variant>

/// Runs `work` on the pool and resumes on the main thread with its value, or with the very exception that it
/// threw. `work` is moved to the pool: it may hold values only, never a reference to the caller's frame.
///
/// Not QtConcurrent: a QFuture loses the type of an exception, and awaiting a cancelled one crashes in QCoro
/// 0.8. GCC 12 destroys a capturing lambda twice when it is written inside the co_await expression: name it
/// first.
template <typename Work> QCoro::Task<std::invoke_result_t<Work &>> runInBackground(Work work)
{
    using Value = std::invoke_result_t<Work &>;
    using Outcome = std::variant<Value, std::exception_ptr>;

    const Completion<Outcome> completion;
    QThreadPool::globalInstance()->start([work = std::move(work), completion]() mutable {
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
