#pragma once

#include <QCoro/QCoroTask>
#include <QTest>

#include <chrono>
#include <exception>
#include <memory>
#include <optional>

/// Waiting for a coroutine in a test. Not QCoro::waitFor: in 0.8 it hangs on a task that throws.
namespace Tasks {

namespace Detail {

template <typename Value> struct Collected {
    std::optional<Value> value;
    std::exception_ptr error;
    bool done = false;
};

template <> struct Collected<void> {
    std::exception_ptr error;
    bool done = false;
};

template <typename Value>
QCoro::Task<> collect(QCoro::Task<Value> task, std::shared_ptr<Collected<Value>> into)
{
    try {
        if constexpr (std::is_void_v<Value>)
            co_await task;
        else
            into->value.emplace(co_await task);
    } catch (...) {
        into->error = std::current_exception();
    }
    into->done = true;
}

}

/// Runs the event loop until `task` has ended, then returns its value or rethrows its exception.
///
/// A task that has not ended within `limit` aborts the test program. Nothing can destroy a suspended
/// coroutine whose callee still runs, and its frame points to objects of the test: a log, an engine manager.
/// If only the test ended, the frame would later resume with those destroyed, during some other test. A test
/// whose objects outlive the task whatever happens, as Player's do, waits with QTRY_VERIFY(task.isReady())
/// and fails alone.
template <typename Value>
Value finish(QCoro::Task<Value> task, std::chrono::milliseconds limit = std::chrono::seconds(20))
{
    const auto collected = std::make_shared<Detail::Collected<Value>>();
    const auto collecting = Detail::collect(std::move(task), collected);
    if (!QTest::qWaitFor([&collected] { return collected->done; }, static_cast<int>(limit.count())))
        qFatal("A task did not end within %lld ms, and refers to objects of this test.",
               static_cast<long long>(limit.count()));
    if (collected->error)
        std::rethrow_exception(collected->error);
    if constexpr (!std::is_void_v<Value>)
        return std::move(*collected->value);
}

/// The `Error` that `task` throws, or no value if it ends in any other way.
template <typename Error, typename Value>
std::optional<Error> failure(QCoro::Task<Value> task,
                             std::chrono::milliseconds limit = std::chrono::seconds(20))
{
    try {
        finish(std::move(task), limit);
    } catch (const Error &error) {
        return error;
    } catch (...) {
    }
    return std::nullopt;
}

}
