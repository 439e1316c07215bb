#include "Children.h"
#include "TestHome.h"

#include <QTest>

#include <chrono>
#include <csignal>
#include <thread>
#include <vector>

namespace {

const QString shellProgram = QStringLiteral("/bin/sh");

QStringList script(const QString &text) { return { QStringLiteral("-c"), text }; }

}

class ProcessCancelTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aCancelBeforeTheRunLaunchesNothing();
    void aCancelledControllerIsSpent();
    void aCancelBeforeTheRunOfAMissingProgramGivesNoLine();
    void aCancelWhileTheChildRunsSendsItSigterm();
    void aChildMayAnswerTheRequestInItsOwnWay();
    void aChildThatIgnoresTheRequestRunsOn();
    void aChildThatIgnoresTheRequestCanBeKilled();
    void killingBeforeTheRunAndAfterItsEndDoesNothing();
    void aCancelAfterTheEndDoesNothing();
    void cancellingTwiceDoesNoHarm();
    void outputBeforeTheEndOfACancelledChildComes();
    void aCancelFromAnotherThreadAtAnyMomentEndsWell();
    void manyThreadsMayCancelAtOnce();
};

void ProcessCancelTest::aCancelBeforeTheRunLaunchesNothing()
{
    const TestHome home;
    const QString mark = home.filePath(QStringLiteral("launched"));
    Children::Lines lines;
    const auto controller = ProcessController::create();
    controller->cancel();
    const QStringList arguments = script(QStringLiteral(": > \"$0\"; echo x")) << mark;
    QCOMPARE(Tasks::finish(controller->run(shellProgram, arguments, lines.adder())),
             ProcessController::cancelledBeforeLaunch);
    QVERIFY(controller->isCancelled());
    QVERIFY(lines.all().isEmpty());
    QVERIFY(!QFile::exists(mark));
}

void ProcessCancelTest::aCancelledControllerIsSpent()
{
    const auto controller = ProcessController::create();
    controller->cancel();
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(Tasks::finish(
                     controller->run(shellProgram, script(QStringLiteral("exit 3")), [](const QString &) {})),
                 ProcessController::cancelledBeforeLaunch);
    }
}

void ProcessCancelTest::aCancelBeforeTheRunOfAMissingProgramGivesNoLine()
{
    Children::Lines lines;
    const auto controller = ProcessController::create();
    controller->cancel();
    QCOMPARE(Tasks::finish(controller->run(QStringLiteral("/no/such/program"), {}, lines.adder())),
             ProcessController::cancelledBeforeLaunch);
    QVERIFY(lines.all().isEmpty());
}

void ProcessCancelTest::aCancelWhileTheChildRunsSendsItSigterm()
{
    Children::Lines lines;
    const auto controller = ProcessController::create();
    auto task
        = controller->run(shellProgram, script(QStringLiteral("echo ready; exec sleep 1000")), lines.adder());
    QTRY_COMPARE(lines.all(), QStringList(QStringLiteral("ready")));
    QVERIFY(!controller->isCancelled());
    controller->cancel();
    QVERIFY(controller->isCancelled());
    QCOMPARE(Tasks::finish(std::move(task)), SIGTERM);
    QVERIFY(Children::noneLeft());
}

void ProcessCancelTest::aChildMayAnswerTheRequestInItsOwnWay()
{
    Children::Lines lines;
    const auto controller = ProcessController::create();
    auto task = controller->run(
        shellProgram,
        script(QStringLiteral("trap 'echo saving; exit 12' TERM; echo ready; while :; do sleep 0.01; done")),
        lines.adder());
    QTRY_COMPARE(lines.all().size(), 1);
    controller->cancel();
    QCOMPARE(Tasks::finish(std::move(task)), 12);
    QCOMPARE(lines.all(), QStringList({ QStringLiteral("ready"), QStringLiteral("saving") }));
}

void ProcessCancelTest::aChildThatIgnoresTheRequestRunsOn()
{
    const TestHome home;
    const QString go = home.filePath(QStringLiteral("go"));
    Children::Lines lines;
    const auto controller = ProcessController::create();
    auto task = controller->run(
        shellProgram,
        script(
            QStringLiteral("trap '' TERM; echo ready; while [ ! -e \"$0\" ]; do sleep 0.01; done; echo end"))
            << go,
        lines.adder());
    QTRY_COMPARE(lines.all().size(), 1);
    controller->cancel();
    home.write(QStringLiteral("go"), {});
    QCOMPARE(Tasks::finish(std::move(task)), 0);
    QCOMPARE(lines.all().last(), QStringLiteral("end"));
    QVERIFY(controller->isCancelled());
}

void ProcessCancelTest::aChildThatIgnoresTheRequestCanBeKilled()
{
    Children::Lines lines;
    const auto controller = ProcessController::create();
    auto task = controller->run(
        shellProgram, script(QStringLiteral("trap '' TERM; echo ready; while :; do sleep 0.01; done")),
        lines.adder());
    QTRY_COMPARE(lines.all().size(), 1);
    controller->cancel();
    controller->kill();
    QCOMPARE(Tasks::finish(std::move(task)), SIGKILL);
    QVERIFY(Children::noneLeft());
}

void ProcessCancelTest::killingBeforeTheRunAndAfterItsEndDoesNothing()
{
    const auto controller = ProcessController::create();
    controller->kill();
    QVERIFY(!controller->isCancelled());
    auto task = controller->run(shellProgram, script(QStringLiteral("exit 3")), [](const QString &) {});
    QCOMPARE(Tasks::finish(std::move(task)), 3);
    controller->kill();
    QVERIFY(Children::noneLeft());
}

void ProcessCancelTest::aCancelAfterTheEndDoesNothing()
{
    const auto controller = ProcessController::create();
    QCOMPARE(Tasks::finish(
                 controller->run(shellProgram, script(QStringLiteral("exit 3")), [](const QString &) {})),
             3);
    controller->cancel();
    QVERIFY(controller->isCancelled());
    QVERIFY(Children::noneLeft());
}

void ProcessCancelTest::cancellingTwiceDoesNoHarm()
{
    Children::Lines lines;
    const auto controller = ProcessController::create();
    auto task
        = controller->run(shellProgram, script(QStringLiteral("echo ready; exec sleep 1000")), lines.adder());
    QTRY_COMPARE(lines.all().size(), 1);
    controller->cancel();
    controller->cancel();
    QCOMPARE(Tasks::finish(std::move(task)), SIGTERM);
}

void ProcessCancelTest::outputBeforeTheEndOfACancelledChildComes()
{
    Children::Lines lines;
    const auto controller = ProcessController::create();
    auto task = controller->run(
        shellProgram, script(QStringLiteral("seq 5000; printf unfinished; exec sleep 1000")), lines.adder());
    QTRY_COMPARE(lines.all().size(), 5000);
    controller->cancel();
    QCOMPARE(Tasks::finish(std::move(task)), SIGTERM);
    QCOMPARE(lines.all().last(), QStringLiteral("unfinished"));
}

void ProcessCancelTest::aCancelFromAnotherThreadAtAnyMomentEndsWell()
{
    // The child ends by itself, because a cancel between the check and the launch has no effect.
    const QStringList arguments = script(QStringLiteral("echo ready; exec sleep 0.05"));
    for (int round = 0; round < 150; ++round) {
        Children::Lines lines;
        const auto controller = ProcessController::create();
        auto task = controller->run(shellProgram, arguments, lines.adder());
        std::thread canceller([controller, round] {
            std::this_thread::sleep_for(std::chrono::microseconds(round * 500));
            controller->cancel();
        });
        const qint32 status = Tasks::finish(std::move(task));
        canceller.join();
        QVERIFY2(status == 0 || status == SIGTERM || status == ProcessController::cancelledBeforeLaunch,
                 qPrintable(QString::number(status)));
        QVERIFY(status != ProcessController::cancelledBeforeLaunch || lines.all().isEmpty());
        QVERIFY(Children::noneLeft());
    }
}

void ProcessCancelTest::manyThreadsMayCancelAtOnce()
{
    for (int round = 0; round < 20; ++round) {
        const auto controller = ProcessController::create();
        std::vector<std::thread> cancellers;
        auto task = controller->run(shellProgram, script(QStringLiteral("exec sleep 0.01")),
                                    [](const QString &) {});
        for (int i = 0; i < 8; ++i) {
            cancellers.emplace_back([controller] {
                for (int repeat = 0; repeat < 200; ++repeat)
                    controller->cancel();
            });
        }
        Tasks::finish(std::move(task));
        for (std::thread &canceller : cancellers)
            canceller.join();
        QVERIFY(Children::noneLeft());
    }
}

QTEST_GUILESS_MAIN(ProcessCancelTest)
#include "ProcessCancelTest.moc"
