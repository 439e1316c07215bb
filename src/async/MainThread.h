#pragma once

#include <QCoro/QCoroTask>

#include <functional>

/// Runs `work` on the main thread, on a later turn of its event loop, in the order of the calls. Any thread.
/// Without an application object (before main has made it, or after it is gone) the work is dropped.
void postToMainThread(std::function<void()> work);

/// Resumes on the next turn of the main thread's event loop. Main thread only.
QCoro::Task<> nextTurn();
