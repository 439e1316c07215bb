#include "GameRunner.h"
#include "Children.h"
#include "OrdinaryUser.h"
#include "TestHome.h"
#include "ThreadLimit.h"

#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <csignal>
#include <memory>

namespace {

const QString shellProgram = QStringLiteral("/bin/sh");

QStringList script(const QString &text) { return { QStringLiteral("-c"), text }; }

/// Prints a line once it runs, then runs until SIGTERM.
const QString endless = QStringLiteral("echo ready; exec sleep 1000");

}

class GameRunnerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aNewRunnerIsIdle();
    void launchReturnsAtOnceAndTheRunnerRuns();
    void theFirstLogLineSaysWhatIsStarted_data();
    void theFirstLogLineSaysWhatIsStarted();
    void theGamesOutputGoesIntoTheLog();
    void theWholeOutputIsInTheLogWhenOnExitIsCalled();
    void aGameThatExitsByItselfIsReported();
    void theDurationIsThatOfTheRun();
    void theDurationBeginsBeforeTheFirstLogLine();
    void aGameThatFailsIsReportedWithItsStatus();
    void aSecondLaunchWhileRunningIsIgnored();
    void aGameThatCannotStartIsReported();
    void aGameThatGetsNoThreadIsReportedOnALaterTurn_data();
    void aGameThatGetsNoThreadIsReportedOnALaterTurn();
    void stopSendsTheGameSigterm();
    void aStopBeforeTheLaunchIsReported();
    void aGameThatIgnoresTheRequestKeepsRunning();
    void stoppingAnIdleRunnerDoesNothing();
    void stoppingAfterTheEndDoesNothing();
    void theRunnerIsIdleWhenOnExitIsCalled();
    void onExitMayLaunchAgain();
    void everyChangeOfIsRunningIsAnnounced();
    void aRunnerThatGoesFirstCallsNobody();
    void aLogThatGoesFirstDoesNoHarm();

private:
    void launch(const QString &executable, const QStringList &arguments);
    bool waitForExit()
    {
        return QTest::qWaitFor([this] { return !m_exits.isEmpty(); }, 20'000);
    }

    std::unique_ptr<LogStore> m_log;
    std::unique_ptr<GameRunner> m_runner;
    QList<GameExit> m_exits;
};

void GameRunnerTest::init()
{
    m_log = std::make_unique<LogStore>();
    m_runner = std::make_unique<GameRunner>();
    m_exits.clear();
}

void GameRunnerTest::cleanup()
{
    if (!m_runner)
        return;
    // A stop while the child is being launched has no effect, so it is repeated.
    QVERIFY(QTest::qWaitFor([this] {
        m_runner->stop();
        return !m_runner->isRunning;
    }));
}

void GameRunnerTest::launch(const QString &executable, const QStringList &arguments)
{
    m_runner->launch(executable, arguments, *m_log, [this](GameExit exit) { m_exits.append(exit); });
}

void GameRunnerTest::aNewRunnerIsIdle()
{
    QVERIFY(!m_runner->isRunning);
    QVERIFY(!m_runner->controller());
}

void GameRunnerTest::launchReturnsAtOnceAndTheRunnerRuns()
{
    launch(shellProgram, script(endless));
    QVERIFY(m_runner->isRunning);
    QVERIFY(m_runner->controller());
    QVERIFY(m_exits.isEmpty());
}

void GameRunnerTest::theFirstLogLineSaysWhatIsStarted_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("line");
    QTest::newRow("no arguments") << QStringList() << QStringLiteral("Starting the game: true ");
    QTest::newRow("arguments") << QStringList(
        { QStringLiteral("--path"), QStringLiteral("/a b/c"), QStringLiteral("%1") })
                               << QStringLiteral("Starting the game: true --path /a b/c %1");
}

void GameRunnerTest::theFirstLogLineSaysWhatIsStarted()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, line);
    launch(QStringLiteral("/bin/true"), arguments);
    QCOMPARE(m_log->lines.get(), QStringList(line));
    QVERIFY(waitForExit());
    QCOMPARE(m_log->lines.get(), QStringList(line));
}

void GameRunnerTest::theGamesOutputGoesIntoTheLog()
{
    launch(shellProgram, script(QStringLiteral("echo out; echo error >&2")));
    QVERIFY(waitForExit());
    QCOMPARE(m_log->lines->mid(1), QStringList({ QStringLiteral("out"), QStringLiteral("error") }));
}

void GameRunnerTest::theWholeOutputIsInTheLogWhenOnExitIsCalled()
{
    qsizetype linesThen = -1;
    m_runner->launch(shellProgram, script(QStringLiteral("seq 2000; printf last")), *m_log,
                     [&](GameExit exit) {
                         linesThen = m_log->lines->size();
                         m_exits.append(exit);
                     });
    QVERIFY(waitForExit());
    QCOMPARE(linesThen, 2002);
}

void GameRunnerTest::aGameThatExitsByItselfIsReported()
{
    launch(shellProgram, script(QStringLiteral("exit 0")));
    QVERIFY(waitForExit());
    QCOMPARE(m_exits.size(), 1);
    QCOMPARE(m_exits.first().status, 0);
    QVERIFY(!m_exits.first().stoppedByUser);
}

void GameRunnerTest::theDurationIsThatOfTheRun()
{
    launch(QStringLiteral("/bin/sleep"), { QStringLiteral("3.5") });
    QVERIFY(waitForExit());
    QCOMPARE(m_exits.first().status, 0);
    QVERIFY(m_exits.first().seconds >= 3.49);
    QVERIFY(m_exits.first().seconds < 10);
    QVERIFY(!m_exits.first().stoppedByUser);
}

void GameRunnerTest::theDurationBeginsBeforeTheFirstLogLine()
{
    connect(m_log.get(), &Observable::willChange, this, [] { QThread::msleep(200); });
    launch(QStringLiteral("/bin/true"), {});
    QVERIFY(waitForExit());
    QVERIFY(m_exits.first().seconds >= 0.2);
}

void GameRunnerTest::aGameThatFailsIsReportedWithItsStatus()
{
    launch(shellProgram, script(QStringLiteral("exit 255")));
    QVERIFY(waitForExit());
    QCOMPARE(m_exits.first().status, 255);
    QVERIFY(!m_exits.first().stoppedByUser);
}

void GameRunnerTest::aSecondLaunchWhileRunningIsIgnored()
{
    launch(shellProgram, script(endless));
    QTRY_COMPARE(m_log->lines->size(), 2);
    const auto controller = m_runner->controller();
    bool isCalled = false;
    m_runner->launch(shellProgram, script(QStringLiteral("echo second")), *m_log,
                     [&](GameExit) { isCalled = true; });
    QCOMPARE(m_runner->controller(), controller);
    QCOMPARE(m_log->lines->size(), 2);
    m_runner->stop();
    QVERIFY(waitForExit());
    QCOMPARE(m_exits.first().status, SIGTERM);
    QCOMPARE(m_log->lines->size(), 2);
    QVERIFY(!isCalled);
}

void GameRunnerTest::aGameThatCannotStartIsReported()
{
    launch(QStringLiteral("/no/such/game"), { QStringLiteral("--path") });
    QVERIFY(waitForExit());
    QCOMPARE(m_log->lines.get(),
             QStringList({ QStringLiteral("Starting the game: game --path"),
                           QStringLiteral("Could not start game: No such file or directory") }));
    QCOMPARE(m_exits.first().status, -1);
    QVERIFY(m_exits.first().seconds >= 0);
    QVERIFY(m_exits.first().seconds < 5);
    QVERIFY(!m_exits.first().stoppedByUser);
}

void GameRunnerTest::aGameThatGetsNoThreadIsReportedOnALaterTurn_data()
{
    QTest::addColumn<bool>("isStopped");
    QTest::addColumn<int>("status");
    QTest::newRow("left alone") << false << -1;
    QTest::newRow("stopped before that turn") << true << -2;
}

void GameRunnerTest::aGameThatGetsNoThreadIsReportedOnALaterTurn()
{
    QFETCH(bool, isStopped);
    QFETCH(int, status);
    QVERIFY(OrdinaryUser::run([this, isStopped, status] {
        const ThreadLimit none;
        launch(QStringLiteral("/bin/true"), {});
        const bool isReportedAtOnce = !m_exits.isEmpty();
        if (isStopped)
            m_runner->stop();
        return !isReportedAtOnce && waitForExit() && m_exits.first().status == status
            && m_exits.first().stoppedByUser == isStopped && !m_runner->isRunning;
    }));
}

void GameRunnerTest::stopSendsTheGameSigterm()
{
    launch(shellProgram, script(endless));
    QTRY_COMPARE(m_log->lines->size(), 2);
    m_runner->stop();
    QVERIFY(m_runner->isRunning);
    QVERIFY(waitForExit());
    QCOMPARE(m_exits.first().status, SIGTERM);
    QVERIFY(m_exits.first().stoppedByUser);
}

void GameRunnerTest::aStopBeforeTheLaunchIsReported()
{
    // Whether the stop comes before the launch is a race; it does in about one of a hundred rounds.
    for (int i = 0; i < 500 && (m_exits.isEmpty() || m_exits.last().status != -2); ++i) {
        m_exits.clear();
        launch(QStringLiteral("/bin/true"), {});
        m_runner->stop();
        QVERIFY(waitForExit());
        QVERIFY(m_exits.last().stoppedByUser);
    }
    QCOMPARE(m_exits.last().status, -2);
    QVERIFY(!m_runner->isRunning);
}

void GameRunnerTest::aGameThatIgnoresTheRequestKeepsRunning()
{
    const TestHome home;
    const QString go = home.filePath(QStringLiteral("go"));
    launch(
        shellProgram,
        script(QStringLiteral("trap 'echo no' TERM; echo ready; while [ ! -e \"$0\" ]; do sleep 0.01; done"))
            << go);
    QTRY_COMPARE(m_log->lines->size(), 2);
    m_runner->stop();
    QTRY_COMPARE(m_log->lines->last(), QStringLiteral("no"));
    QVERIFY(m_runner->isRunning);
    QVERIFY(m_exits.isEmpty());
    home.write(QStringLiteral("go"), {});
    QVERIFY(waitForExit());
    QCOMPARE(m_exits.first().status, 0);
    QVERIFY(m_exits.first().stoppedByUser);
}

void GameRunnerTest::stoppingAnIdleRunnerDoesNothing()
{
    m_runner->stop();
    launch(shellProgram, script(QStringLiteral("exit 3")));
    QVERIFY(waitForExit());
    QCOMPARE(m_exits.first().status, 3);
    QVERIFY(!m_exits.first().stoppedByUser);
}

void GameRunnerTest::stoppingAfterTheEndDoesNothing()
{
    launch(shellProgram, script(QStringLiteral("exit 3")));
    QVERIFY(waitForExit());
    m_runner->stop();
    QVERIFY(!m_runner->isRunning);
    QVERIFY(!m_runner->controller());
    QCOMPARE(m_exits.size(), 1);
}

void GameRunnerTest::theRunnerIsIdleWhenOnExitIsCalled()
{
    bool wasRunning = true;
    bool hadController = true;
    m_runner->launch(QStringLiteral("/no/such/game"), {}, *m_log, [&](GameExit exit) {
        wasRunning = m_runner->isRunning;
        hadController = m_runner->controller() != nullptr;
        m_exits.append(exit);
    });
    QVERIFY(waitForExit());
    QVERIFY(!wasRunning);
    QVERIFY(!hadController);
}

void GameRunnerTest::onExitMayLaunchAgain()
{
    m_runner->launch(shellProgram, script(QStringLiteral("exit 1")), *m_log,
                     [&](GameExit) { launch(shellProgram, script(QStringLiteral("exit 2"))); });
    QVERIFY(waitForExit());
    QCOMPARE(m_exits.first().status, 2);
}

void GameRunnerTest::everyChangeOfIsRunningIsAnnounced()
{
    QList<bool> before;
    connect(m_runner.get(), &Observable::willChange, this, [&] { before.append(m_runner->isRunning); });
    launch(QStringLiteral("/bin/true"), {});
    QVERIFY(waitForExit());
    QCOMPARE(before, QList<bool>({ false, true }));
}

void GameRunnerTest::aRunnerThatGoesFirstCallsNobody()
{
    launch(shellProgram, script(QStringLiteral("echo ready; exec sleep 0.2")));
    QTRY_COMPARE(m_log->lines->size(), 2);
    const std::weak_ptr<ProcessController> controller = m_runner->controller();
    m_runner.reset();
    QTRY_VERIFY(controller.expired());
    QVERIFY(m_exits.isEmpty());
}

void GameRunnerTest::aLogThatGoesFirstDoesNoHarm()
{
    launch(shellProgram, script(QStringLiteral("echo ready; sleep 0.2; echo late; exit 3")));
    QTRY_COMPARE(m_log->lines->size(), 2);
    m_log.reset();
    QVERIFY(waitForExit());
    QCOMPARE(m_exits.first().status, 3);
}

QTEST_GUILESS_MAIN(GameRunnerTest)
#include "GameRunnerTest.moc"
