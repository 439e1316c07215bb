#pragma once

#include <QCoro/QCoroTask>

#include <stop_token>
#include <utility>

/// The handle of one running action: the source that asks it to stop, and its coroutine. Destroying it
/// cancels nothing: the coroutine keeps running.
class WorkTask final {
public:
    /// The token to pass to the action's coroutine.
    std::stop_token token() const { return m_stop.get_token(); }

    /// Keeps the coroutine that was started with `token()`.
    void keep(QCoro::Task<> task) { m_task = std::move(task); }

    void requestStop() { m_stop.request_stop(); }

private:
    std::stop_source m_stop;
    QCoro::Task<> m_task;
};
