#pragma once

#include <QCoro/QCoroTask>

#include <functional>

/// Runs `work` on the main thread, on a later turn of its event loop, in the order of the calls. Any thread.
/// The work is dropped when there is no application object, before main() creates it or after it is
/// destroyed.
void postToMainThread(std::function<void()> work);

/// Resumes on the next turn of the main thread's event loop. Main thread only.
QCoro::Task<> nextTurn();
