#include "Completion.h"
#include "CancellationError.h"
#include "MainThread.h"
#include "Tasks.h"
#include "WorkTask.h"

#include <QTest>
#include <QThread>

#include <algorithm>
#include <stdexcept>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

QCoro::Task<int> valueOf(Completion<int> completion)
{
    const int value = co_await completion;
    co_return value;
}

QCoro::Task<> noteAroundATurn(QStringList *notes)
{
    notes->append(u"started"_s);
    co_await nextTurn();
    notes->append(u"next turn"_s);
}

QCoro::Task<> stopBetweenSteps(std::stop_token stop, int *steps)
{
    ++*steps;
    co_await nextTurn();
    throwIfCancelled(stop);
    ++*steps;
}

}

class CompletionTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFirstValueSettledBeforeTheWaitIsReturnedAtOnce()
    {
        const Completion<int> completion;
        completion.settle(7);
        completion.settle(8);
        auto task = valueOf(completion);
        QVERIFY(task.isReady());
        QCOMPARE(Tasks::finish(std::move(task)), 7);
    }

    void theWaiterResumesOnALaterTurnAndNeverInsideSettle()
    {
        const Completion<int> completion;
        auto task = valueOf(completion);
        completion.settle(7);
        completion.settle(8);
        QVERIFY(!task.isReady());
        QCOMPARE(Tasks::finish(std::move(task)), 7);
    }

    void nextTurnResumesAfterTheCallerHasReturned()
    {
        QStringList notes;
        auto task = noteAroundATurn(&notes);
        notes.append(u"returned"_s);
        Tasks::finish(std::move(task));
        QCOMPARE(notes, QStringList({ u"started"_s, u"returned"_s, u"next turn"_s }));
    }

    void workPostedFromAnotherThreadRunsOnTheMainThreadInOrder()
    {
        QList<int> seen;
        const auto *const mainThread = QThread::currentThread();
        bool alwaysOnMainThread = true;
        std::thread([&] {
            for (int i = 0; i < 100; ++i) {
                postToMainThread([&, i] {
                    alwaysOnMainThread = alwaysOnMainThread && QThread::currentThread() == mainThread;
                    seen.append(i);
                });
            }
        }).join();
        QVERIFY(seen.isEmpty());
        QTRY_COMPARE(seen.size(), 100);
        QVERIFY(std::is_sorted(seen.cbegin(), seen.cend()));
        QVERIFY(alwaysOnMainThread);
    }

    void anActionThatWasAskedToStopThrowsTheCancellationErrorAtItsNextCheck()
    {
        WorkTask handle;
        int steps = 0;
        auto task = stopBetweenSteps(handle.token(), &steps);
        handle.requestStop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)).has_value());
        QCOMPARE(steps, 1);
    }

    void whatFailsAfterAStopFailsBecauseOfIt()
    {
        std::stop_source stop;
        const std::runtime_error failure("out of space");
        QVERIFY(!isCancellation(failure, stop.get_token()));
        QVERIFY(isCancellation(CancellationError(), stop.get_token()));
        stop.request_stop();
        QVERIFY(isCancellation(failure, stop.get_token()));
    }

    void anActionWhoseHandleIsDroppedRunsOn()
    {
        int steps = 0;
        {
            WorkTask handle;
            handle.keep(stopBetweenSteps(handle.token(), &steps));
        }
        QTRY_COMPARE(steps, 2);
    }
};

QTEST_GUILESS_MAIN(CompletionTest)
#include "CompletionTest.moc"
