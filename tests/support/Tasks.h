#pragma once

#include <QCoro/QCoroTask>
#include <QTest>

#include <chrono>
#include <optional>

/// Waiting for a coroutine in a test. Not QCoro::waitFor: in 0.8 it hangs on a task that throws.
namespace Tasks {

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
    if (!QTest::qWaitFor([&task] { return task.isReady(); }, static_cast<int>(limit.count())))
        qFatal("A task did not end within %lld ms, and refers to objects of this test.",
               static_cast<long long>(limit.count()));
    return task.operator co_await().await_resume();
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
