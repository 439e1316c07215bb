#include "GameRunner.h"
#include "Children.h"
#include "OrdinaryUser.h"
#include "Table.h"
#include "TestHome.h"
#include "ThreadLimit.h"

#include <QTest>
#include <QThread>

#include <csignal>
#include <memory>

using namespace Children;
using namespace Qt::StringLiterals;

namespace {

/// A game's status, and whether the launcher stopped it.
using End = std::pair<qint32, bool>;
constexpr bool byItself = false;
constexpr bool stopped = true;

}

class GameRunnerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_log = std::make_unique<LogStore>();
        m_runner = std::make_unique<GameRunner>();
        m_exits.clear();
    }

    void cleanup()
    {
        if (!m_runner)
            return;
        // A stop while the child is being launched has no effect, so it is repeated.
        QVERIFY(QTest::qWaitFor([this] {
            m_runner->stop();
            return !m_runner->isRunning;
        }));
    }

    void launchReturnsAtOnceAndStopSendsTheGameSigterm()
    {
        QVERIFY(!m_runner->isRunning);
        QVERIFY(!m_runner->controller());
        launchScript(endless);
        QVERIFY(m_runner->isRunning);
        QVERIFY(m_runner->controller());
        QVERIFY(m_exits.isEmpty());
        waitForOutput();
        m_runner->stop();
        QVERIFY(m_runner->isRunning);
        QCOMPARE(end(), End(SIGTERM, stopped));
    }

    void theFirstLogLineSaysWhatIsStarted()
    {
        const auto isLogged = [this](const QStringList &arguments, const QString &line) {
            init();
            launch(trueProgram, arguments);
            QCOMPARE(m_log->lines.get(), QStringList(line));
            QCOMPARE(end(), End(0, byItself));
            QCOMPARE(m_log->lines.get(), QStringList(line));
        };
        isLogged({}, u"Starting the game: true "_s);
        isLogged({ u"--path"_s, u"/a b/c"_s, u"%1"_s }, u"Starting the game: true --path /a b/c %1"_s);
    }

    void theWholeOutputIsInTheLogWhenOnExitIsCalled()
    {
        QStringList linesThen;
        launchScript(u"echo error >&2; seq 2000; printf last"_s, [&] { linesThen = m_log->lines; });
        QCOMPARE(end(), End(0, byItself));
        QCOMPARE(linesThen.size(), 2003);
        QCOMPARE(linesThen.at(1), u"error"_s);
        QCOMPARE(linesThen.last(), u"last"_s);
    }

    void theDurationIsThatOfTheRun()
    {
        launch(u"/bin/sleep"_s, { u"1.5"_s });
        QCOMPARE(end(), End(0, byItself));
        QVERIFY(m_exits.first().seconds >= 1.49);
        QVERIFY(m_exits.first().seconds < 8);
    }

    void theDurationBeginsBeforeTheFirstLogLine()
    {
        connect(m_log.get(), &Observable::willChange, this, [] { QThread::msleep(200); });
        launch(trueProgram);
        QCOMPARE(end(), End(0, byItself));
        QVERIFY(m_exits.first().seconds >= 0.2);
    }

    void aSecondLaunchWhileRunningIsIgnored()
    {
        launchScript(endless);
        waitForOutput();
        const auto controller = m_runner->controller();
        bool isCalled = false;
        launchScript(u"echo second"_s, [&] { isCalled = true; });
        QCOMPARE(m_runner->controller(), controller);
        QCOMPARE(m_log->lines->size(), 2);
        m_runner->stop();
        QCOMPARE(end(), End(SIGTERM, stopped));
        QCOMPARE(m_log->lines->size(), 2);
        QVERIFY(!isCalled);
    }

    void aGameThatCannotStartIsReported()
    {
        launch(missingProgram);
        QCOMPARE(end(), End(ProcessController::couldNotStart, byItself));
        QCOMPARE(m_log->lines->mid(1), run(missingProgram).lines);
        QVERIFY(m_exits.first().seconds >= 0);
        QVERIFY(m_exits.first().seconds < 5);
    }

    void aGameThatGetsNoThreadIsReportedOnALaterTurn_data()
    {
        const auto row = table<bool, int>("isStopped", "status");
        row("left alone", false, ProcessController::couldNotStart);
        row("stopped before that turn", true, ProcessController::cancelledBeforeLaunch);
    }

    void aGameThatGetsNoThreadIsReportedOnALaterTurn()
    {
        QFETCH(bool, isStopped);
        QFETCH(int, status);
        QVERIFY(OrdinaryUser::run([this, isStopped, status] {
            const ThreadLimit none;
            launch(trueProgram);
            const bool isReportedAtOnce = !m_exits.isEmpty();
            if (isStopped)
                m_runner->stop();
            return !isReportedAtOnce && end() == End(status, isStopped) && !m_runner->isRunning;
        }));
    }

    void aStopBeforeTheLaunchIsReported()
    {
        constexpr qint32 status = ProcessController::cancelledBeforeLaunch;
        // Whether the stop comes before the launch is a race; it does in about one of a hundred rounds.
        for (int i = 0; i < 500 && (m_exits.isEmpty() || m_exits.first().status != status); ++i) {
            m_exits.clear();
            launch(trueProgram);
            m_runner->stop();
            QCOMPARE(end().second, stopped);
        }
        QCOMPARE(end(), End(status, stopped));
        QVERIFY(!m_runner->isRunning);
    }

    void aGameThatIgnoresTheRequestKeepsRunning()
    {
        const TestHome home;
        const QString patient
            = u"trap 'echo no' TERM; echo ready; while [ ! -e \"$0\" ]; do sleep 0.01; done"_s;
        launch(shellProgram, script(patient, home.filePath(u"go"_s)));
        waitForOutput();
        m_runner->stop();
        QTRY_COMPARE(m_log->lines->last(), u"no"_s);
        QVERIFY(m_runner->isRunning);
        QVERIFY(m_exits.isEmpty());
        home.write(u"go"_s, {});
        QCOMPARE(end(), End(0, stopped));
    }

    void aFailureIsReportedOnceAndStoppingAnIdleRunnerDoesNothing()
    {
        m_runner->stop();
        launchScript(u"exit 255"_s);
        QCOMPARE(end(), End(255, byItself));
        m_runner->stop();
        QVERIFY(!m_runner->isRunning);
        QVERIFY(!m_runner->controller());
        QCOMPARE(m_exits.size(), 1);
    }

    void theRunnerIsIdleWhenOnExitIsCalledWhichMayLaunchAgain()
    {
        bool wasIdle = false;
        launch(missingProgram, {}, [&] {
            wasIdle = !m_runner->isRunning && !m_runner->controller();
            launchScript(u"exit 2"_s);
        });
        QTRY_COMPARE(m_exits.size(), 2);
        QVERIFY(wasIdle);
        QCOMPARE(m_exits.last().status, 2);
    }

    void everyChangeOfIsRunningIsAnnounced()
    {
        QList<bool> before;
        connect(m_runner.get(), &Observable::willChange, this, [&] { before.append(m_runner->isRunning); });
        launch(trueProgram);
        QCOMPARE(end(), End(0, byItself));
        QCOMPARE(before, QList<bool>({ false, true }));
    }

    void aRunnerThatIsDestroyedFirstCallsNobody()
    {
        launchScript(u"echo ready; exec sleep 0.2"_s);
        waitForOutput();
        const std::weak_ptr<ProcessController> controller = m_runner->controller();
        m_runner.reset();
        QTRY_VERIFY(controller.expired());
        QVERIFY(m_exits.isEmpty());
    }

    void aLogThatIsDestroyedFirstDoesNoHarm()
    {
        launchScript(u"echo ready; sleep 0.2; echo late; exit 3"_s);
        waitForOutput();
        m_log.reset();
        QCOMPARE(end(), End(3, byItself));
    }

private:
    /// Launches a game whose end is noted after `onExit` was called.
    void launch(
        const QString &program, const QStringList &arguments = {},
        const std::function<void()> &onExit = [] {})
    {
        m_runner->launch(program, arguments, *m_log, [this, onExit](const GameExit &exit) {
            onExit();
            m_exits.append(exit);
        });
    }

    void launchScript(
        const QString &text, const std::function<void()> &onExit = [] {})
    {
        launch(shellProgram, script(text), onExit);
    }

    /// Waits until the game has printed its first line.
    void waitForOutput() const { QTRY_COMPARE(m_log->lines->size(), 2); }

    /// Waits until an end was reported and returns the first.
    End end() const
    {
        if (!QTest::qWaitFor([this] { return !m_exits.isEmpty(); }, 20'000))
            qFatal("The game's end was not reported.");
        return { m_exits.first().status, m_exits.first().stoppedByUser };
    }

    std::unique_ptr<LogStore> m_log;
    std::unique_ptr<GameRunner> m_runner;
    QList<GameExit> m_exits;
};

QTEST_GUILESS_MAIN(GameRunnerTest)
#include "GameRunnerTest.moc"
