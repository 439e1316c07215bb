#include "AppDelegate.h"

#include "PlayButton.h"
#include "Running.h"

#include <QElapsedTimer>

class AppDelegateTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void beforeTheWindowIsShownQuittingEndsAtOnce();
    void closingTheWindowWhileNoGameRunsEndsWithoutAQuestion();
    void closingWhileTheGameRunsAsksOnce();
    void keepPlayingLeavesTheGameAndTheWindow();
    void escapeKeepsPlaying();
    void quitStopsTheGameAndEnds();
    void returnQuits();
    void theDesktopsOwnQuitAsksToo();
    void anActionThatRunsIsEndedFirst();
    void aGameThatIgnoresTheRequestDoesNotHoldTheLauncher();
    void theProgramEndsOnlyOnce();
    void nobodyIsAskedWhenTheSystemEndsTheProgram();
    void aSystemThatEndsTheProgramTwiceEndsItOnce();
    void aWindowThatGoesByItselfAsksNothing();
    void aGameThatEndsDuringTheQuestionAnswersIt();
    void theQuestionIsSeenWhereTheWindowIsMinimised();
    void theQuestionLiesOverAnOpenSheet();
    void quittingClosesTheSheetsToo();
};

void AppDelegateTest::beforeTheWindowIsShownQuittingEndsAtOnce()
{
    Stage stage;
    MainWindow window(stage.model, stage.player.preferences);
    int ended = 0;
    AppDelegate delegate([&ended] { ++ended; });
    delegate.attach(stage.model, window);
    delegate.requestQuit();
    QCOMPARE(ended, 1);
}

void AppDelegateTest::closingTheWindowWhileNoGameRunsEndsWithoutAQuestion()
{
    Running running;
    running.stage.window->close();
    QVERIFY(!running.question());
    QVERIFY(!running.stage.window->isVisible());
    QTRY_COMPARE(running.ended, 1);
}

void AppDelegateTest::closingWhileTheGameRunsAsksOnce()
{
    Running running;
    running.startGame(Running::game);
    running.close();
    running.close();
    running.delegate.requestQuit();
    const auto questions = running.stage.window->findChildren<QMessageBox *>();
    QCOMPARE(questions.size(), 1);
    const auto *question = questions.first();
    QVERIFY(question->isVisible());
    QCOMPARE(question->text(), QStringLiteral("The game is still running"));
    QCOMPARE(question->windowTitle(), QStringLiteral("The game is still running"));
    QCOMPARE(question->informativeText(), QStringLiteral("Quitting will close the game too. Quit anyway?"));
    QCOMPARE(question->defaultButton()->text(), QStringLiteral("Quit"));
    QVERIFY(Stage::button(*question, QStringLiteral("Keep Playing")));
    QVERIFY(running.stage.window->isVisible());
    QCOMPARE(running.ended, 0);
}

void AppDelegateTest::keepPlayingLeavesTheGameAndTheWindow()
{
    Running running;
    running.startGame(Running::game);
    running.close();
    Stage::click(*running.question(), QStringLiteral("Keep Playing"));
    QVERIFY(!running.question());
    QVERIFY(running.stage.window->isVisible());
    QVERIFY(running.stage.model.runner.isRunning);
    QTest::qWait(50);
    QCOMPARE(running.ended, 0);
    // The next close asks again.
    running.close();
    QVERIFY(running.question());
}

void AppDelegateTest::escapeKeepsPlaying()
{
    Running running;
    running.startGame(Running::game);
    running.close();
    QTest::keyClick(running.question(), Qt::Key_Escape);
    Stage::settle();
    QVERIFY(!running.question());
    QVERIFY(running.stage.model.runner.isRunning);
    QCOMPARE(running.ended, 0);
}

void AppDelegateTest::quitStopsTheGameAndEnds()
{
    Running running;
    running.startGame(Running::game);
    running.close();
    Stage::click(*running.question(), QStringLiteral("Quit"));
    QVERIFY(!running.stage.window->isVisible());
    QTRY_COMPARE(running.ended, 1);
    QTRY_VERIFY(!running.stage.model.runner.isRunning);
}

void AppDelegateTest::returnQuits()
{
    Running running;
    running.startGame(Running::game);
    running.close();
    QTest::keyClick(running.question(), Qt::Key_Return);
    QTRY_COMPARE(running.ended, 1);
}

void AppDelegateTest::theDesktopsOwnQuitAsksToo()
{
    Running running;
    running.startGame(Running::game);
    QEvent quit(QEvent::Quit);
    QCoreApplication::sendEvent(qApp, &quit);
    Stage::settle();
    QVERIFY(running.question());
    QCOMPARE(running.ended, 0);
}

void AppDelegateTest::anActionThatRunsIsEndedFirst()
{
    Running running;
    running.stage.player.startHost({ QStringLiteral("--slow"), QStringLiteral("1") });
    running.stage.model.play();
    QTRY_VERIFY(running.stage.model.state->kind() == AppState::Case::Downloading);
    QElapsedTimer timer;
    timer.start();
    running.close();
    QVERIFY(!running.question());
    QTRY_COMPARE(running.ended, 1);
    QVERIFY(timer.elapsed() < 1000);
    QVERIFY(!running.stage.model.isWorking());
    QVERIFY(Player::scratch().isEmpty());
}

void AppDelegateTest::aGameThatIgnoresTheRequestDoesNotHoldTheLauncher()
{
    Running running;
    running.startGame(QStringLiteral("trap '' TERM; echo playing; sleep 3"));
    running.close();
    QElapsedTimer timer;
    timer.start();
    Stage::click(*running.question(), QStringLiteral("Quit"));
    QTRY_COMPARE_WITH_TIMEOUT(running.ended, 1, 3000);
    QVERIFY(timer.elapsed() < 1500);
    QVERIFY(running.stage.model.runner.isRunning);
}

void AppDelegateTest::theProgramEndsOnlyOnce()
{
    Running running;
    running.close();
    running.delegate.requestQuit();
    QVERIFY(running.stage.window->close()); // as the end of a session does
    QTRY_COMPARE(running.ended, 1);
    QTest::qWait(1000);
    QCOMPARE(running.ended, 1);
}

void AppDelegateTest::nobodyIsAskedWhenTheSystemEndsTheProgram()
{
    Running running;
    running.startGame(Running::game);
    running.close();
    QVERIFY(running.question());
    running.delegate.quitAtOnce();
    QVERIFY(running.stage.window->findChildren<QMessageBox *>().isEmpty());
    QVERIFY(!running.stage.window->isVisible());
    QTRY_COMPARE(running.ended, 1);
    QTRY_VERIFY(!running.stage.model.runner.isRunning);
}

void AppDelegateTest::aSystemThatEndsTheProgramTwiceEndsItOnce()
{
    Stage stage;
    MainWindow window(stage.model, stage.player.preferences);
    int ended = 0;
    AppDelegate delegate([&ended] { ++ended; });
    delegate.attach(stage.model, window);
    int quitting = 0;
    connect(&delegate, &AppDelegate::quitting, this, [&quitting] { ++quitting; });
    delegate.quitAtOnce();
    delegate.quitAtOnce();
    QCOMPARE(ended, 1);
    QCOMPARE(quitting, 1);
}

void AppDelegateTest::aWindowThatGoesByItselfAsksNothing()
{
    Running running;
    running.startGame(Running::game);
    running.stage.window.reset();
    Stage::settle();
    QCOMPARE(running.ended, 0);
    QVERIFY(running.stage.model.runner.isRunning);
    running.delegate.quitAtOnce();
    QTRY_COMPARE(running.ended, 1);
}

void AppDelegateTest::aGameThatEndsDuringTheQuestionAnswersIt()
{
    Running running;
    running.startGame(Running::game);
    running.close();
    QVERIFY(running.question());
    running.stage.model.runner.stop();
    QTRY_COMPARE(running.ended, 1);
    QVERIFY(!running.question());
    QVERIFY(!running.stage.window->isVisible());
}

void AppDelegateTest::theQuestionIsSeenWhereTheWindowIsMinimised()
{
    Running running;
    running.startGame(Running::game);
    running.stage.window->showMinimized();
    Stage::settle();
    QVERIFY(running.stage.window->isMinimized());
    running.close();
    QVERIFY(!running.stage.window->isMinimized());
    QVERIFY(running.question());
    QTRY_VERIFY(running.question()->isActiveWindow());
}

void AppDelegateTest::theQuestionLiesOverAnOpenSheet()
{
    Running running;
    running.startGame(Running::game);
    auto *sheet = running.stage.openSettings();
    running.close();
    QVERIFY(running.question());
    QCOMPARE(running.question()->parentWidget(), sheet);
    QCOMPARE(QApplication::activeModalWidget(), running.question());
    Stage::click(*running.question(), QStringLiteral("Keep Playing"));
    QVERIFY(sheet->isVisible());
    QCOMPARE(running.ended, 0);
}

void AppDelegateTest::quittingClosesTheSheetsToo()
{
    Running running;
    auto *sheet = running.stage.openSettings();
    Stage::click(*sheet, QStringLiteral("Remove everything\u2026"));
    running.delegate.quitAtOnce();
    QVERIFY(!running.stage.window->isVisible());
    QVERIFY(!running.stage.visible<SettingsView>());
    QVERIFY(!running.question());
    QTRY_COMPARE(running.ended, 1);
}

QTEST_MAIN(AppDelegateTest)
#include "AppDelegateTest.moc"
