#include "Children.h"
#include "TestHome.h"

#include <QTest>

#include <chrono>
#include <csignal>
#include <thread>
#include <vector>

using namespace Children;
using namespace Qt::StringLiterals;

class ProcessCancelTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aControllerThatWasCancelledLaunchesNothing()
    {
        const TestHome home;
        const QString mark = home.filePath(u"launched"_s);
        const auto controller = ProcessController::create();
        controller->cancel();
        for (const QString &program : { shellProgram, shellProgram, u"/no/such/program"_s }) {
            Child child(program, script(u": > \"$0\"; echo x"_s, mark), controller);
            QCOMPARE(child.status(), ProcessController::cancelledBeforeLaunch);
            QVERIFY(controller->isCancelled());
            QVERIFY(child.lines().isEmpty());
            QVERIFY(!QFile::exists(mark));
        }
    }

    void aCancelWhileTheChildRunsSendsItSigterm()
    {
        for (const int times : { 1, 2 }) {
            Child child = startedShell(endless);
            QVERIFY(!child.controller->isCancelled());
            for (int i = 0; i < times; ++i)
                child.controller->cancel();
            QVERIFY(child.controller->isCancelled());
            QCOMPARE(child.status(), SIGTERM);
            QVERIFY(noneLeft());
        }
    }

    void aChildMayAnswerTheRequestInItsOwnWay()
    {
        Child child
            = startedShell(u"trap 'echo saving; exit 12' TERM; echo ready; while :; do sleep 0.01; done"_s);
        child.controller->cancel();
        QCOMPARE(child.status(), 12);
        QCOMPARE(child.lines(), QStringList({ u"ready"_s, u"saving"_s }));
    }

    void aChildThatIgnoresTheRequestRunsOn()
    {
        const TestHome home;
        Child child = startedShell(
            u"trap '' TERM; echo ready; while [ ! -e \"$0\" ]; do sleep 0.01; done; echo end"_s,
            home.filePath(u"go"_s));
        child.controller->cancel();
        home.write(u"go"_s, {});
        QCOMPARE(child.status(), 0);
        QCOMPARE(child.lines().last(), u"end"_s);
        QVERIFY(child.controller->isCancelled());
    }

    void aChildThatIgnoresTheRequestCanBeKilled()
    {
        Child child = startedShell(stubborn);
        child.controller->cancel();
        child.controller->kill();
        QCOMPARE(child.status(), SIGKILL);
        QVERIFY(noneLeft());
    }

    void killingBeforeTheRunAndEndingAfterItDoNothing()
    {
        const auto controller = ProcessController::create();
        controller->kill();
        QVERIFY(!controller->isCancelled());
        Child child(shellProgram, script(u"exit 3"_s), controller);
        QCOMPARE(child.status(), 3);
        controller->kill();
        controller->cancel();
        QVERIFY(controller->isCancelled());
        QVERIFY(noneLeft());
    }

    void outputBeforeTheEndOfACancelledChildArrives()
    {
        Child child = startShell(u"seq 5000; printf unfinished; exec sleep 1000"_s);
        QTRY_COMPARE(child.lines().size(), 5000);
        child.controller->cancel();
        QCOMPARE(child.status(), SIGTERM);
        QCOMPARE(child.lines().last(), u"unfinished"_s);
    }

    void aCancelFromAnotherThreadAtAnyMomentEndsWell()
    {
        for (int round = 0; round < 150; ++round) {
            // The child ends by itself, because a cancel between the check and the launch has no effect.
            Child child = startShell(u"echo ready; exec sleep 0.01"_s);
            std::thread canceller([controller = child.controller, round] {
                std::this_thread::sleep_for(std::chrono::microseconds(round * 150));
                controller->cancel();
            });
            const qint32 status = child.status();
            canceller.join();
            QVERIFY2(status == 0 || status == SIGTERM || status == ProcessController::cancelledBeforeLaunch,
                     qPrintable(QString::number(status)));
            QVERIFY(status != ProcessController::cancelledBeforeLaunch || child.lines().isEmpty());
            QVERIFY(noneLeft());
        }
    }

    void manyThreadsMayCancelAtOnce()
    {
        for (int round = 0; round < 20; ++round) {
            Child child = startShell(u"exec sleep 0.01"_s);
            {
                std::vector<std::jthread> cancellers;
                for (int i = 0; i < 8; ++i) {
                    cancellers.emplace_back([controller = child.controller] {
                        for (int repeat = 0; repeat < 200; ++repeat)
                            controller->cancel();
                    });
                }
                child.status();
            }
            QVERIFY(noneLeft());
        }
    }
};

QTEST_GUILESS_MAIN(ProcessCancelTest)
#include "ProcessCancelTest.moc"
