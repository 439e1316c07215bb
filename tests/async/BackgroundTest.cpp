#include "Background.h"

#include "OrdinaryUser.h"
#include "Tasks.h"
#include "ThreadLimit.h"

#include <QTest>
#include <QThread>

#include <atomic>
#include <stdexcept>

namespace {

/// A job that returns whether it runs on a different thread from the one that made it.
auto isBeside()
{
    return [main = QThread::currentThread()] { return QThread::currentThread() != main; };
}

/// What an exception that a job throws says once it has been rethrown.
std::string rethrown()
{
    auto work = []() -> int { throw std::out_of_range("too far"); };
    const auto error = Tasks::failure<std::out_of_range>(runInBackground(std::move(work)));
    return error ? error->what() : "nothing";
}

}

class BackgroundTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutAThreadLeftEveryJobStillEnds()
    {
        QVERIFY(OrdinaryUser::run([] {
            const ThreadLimit none;
            for (int job = 0; job < 20; ++job) {
                auto task = runInBackground(isBeside());
                if (task.isReady() || Tasks::finish(std::move(task)))
                    return false;
            }
            return jobsInBackground() == 0;
        }));
    }

    void anExceptionKeepsItsType()
    {
        // The fork comes first: ThreadSanitizer does not follow one that is made beside other threads.
        QVERIFY(OrdinaryUser::run([] {
            const ThreadLimit none;
            return rethrown() == "too far";
        }));
        QCOMPARE(rethrown(), std::string("too far"));
    }

    void aJobRunsBesideTheMainThread() { QVERIFY(Tasks::finish(runInBackground(isBeside()))); }

    void onceThereIsRoomAgainJobsRunBesideTheMainThread()
    {
#ifdef __SANITIZE_THREAD__
        QSKIP("ThreadSanitizer cannot follow threads that are started after a fork.");
#endif
        QVERIFY(OrdinaryUser::run([] {
            {
                const ThreadLimit none;
                Tasks::finish(runInBackground(isBeside()));
            }
            return Tasks::finish(runInBackground(isBeside()));
        }));
    }

    void theJobsThatRunAreCountedAndCanBeWaitedFor()
    {
        std::atomic<bool> goesOn = false;
        startInBackground([&goesOn] { goesOn.wait(false); });
        QCOMPARE(jobsInBackground(), 1);
        QVERIFY(!waitForBackground(std::chrono::milliseconds(20)));
        goesOn = true;
        goesOn.notify_all();
        QVERIFY(waitForBackground(std::chrono::seconds(20)));
        QCOMPARE(jobsInBackground(), 0);
    }

    void whatAJobHoldsIsDestroyedBeforeTheJobIsOver()
    {
        const auto held = std::make_shared<int>(0);
        for (int round = 0; round < 100; ++round) {
            startInBackground([held] {});
            QVERIFY(waitForBackground(std::chrono::seconds(20)));
            QCOMPARE(held.use_count(), 1);
        }
    }
};

QTEST_GUILESS_MAIN(BackgroundTest)
#include "BackgroundTest.moc"
