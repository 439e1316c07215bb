#pragma once

#include "MainThread.h"

#include <coroutine>
#include <memory>
#include <optional>
#include <utility>

/// One value, settled once, for one coroutine that awaits it. The first call of settle() wins. Copies share
/// the same value. Main thread only: other threads settle through postToMainThread.
///
/// Every way out (success, failure, stop) must settle it, or the waiter never resumes.
template <typename T> class Completion final {
public:
    void settle(T value) const
    {
        if (m_state->value)
            return;
        m_state->value = std::move(value);
        // Never resume within this call: the caller may hold a lock, or be the object that the coroutine
        // deletes.
        if (m_state->waiter)
            postToMainThread([state = m_state] { state->waiter.resume(); });
    }

    bool await_ready() const noexcept { return m_state->value.has_value(); }
    void await_suspend(std::coroutine_handle<> waiter) const noexcept { m_state->waiter = waiter; }
    T await_resume() const { return std::move(*m_state->value); }

private:
    struct State {
        std::optional<T> value;
        std::coroutine_handle<> waiter;
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};
