#include "MainThread.h"

#include "Completion.h"

#include <QCoreApplication>

void postToMainThread(std::function<void()> work)
{
    if (auto *application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, std::move(work), Qt::QueuedConnection);
}

QCoro::Task<> nextTurn()
{
    const Completion<bool> turn;
    postToMainThread([turn] { turn.settle(true); });
    co_await turn;
}
