#include "AppDelegate.h"

#include "Running.h"

#include <QElapsedTimer>
#include <QPushButton>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

class AppDelegateTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void beforeTheWindowIsShownTheProgramEndsAtOnceAndOnce_data()
    {
        QTest::addColumn<bool>("asksThePlayer");
        QTest::newRow("the player quits") << true;
        QTest::newRow("the system ends the program") << false;
    }

    void beforeTheWindowIsShownTheProgramEndsAtOnceAndOnce()
    {
        QFETCH(const bool, asksThePlayer);
        Stage stage;
        MainWindow window(stage.model, stage.player.preferences);
        int ended = 0;
        AppDelegate delegate([&ended] { ++ended; });
        delegate.attach(stage.model, window);
        const QSignalSpy quitting(&delegate, &AppDelegate::quitting);
        for (int time = 0; time < 2; ++time) {
            if (asksThePlayer)
                delegate.requestQuit();
            else
                delegate.quitAtOnce();
            QCOMPARE(ended, 1);
            QCOMPARE(quitting.size(), 1);
        }
    }

    void closingTheWindowWhileNoGameRunsEndsOnceWithoutAQuestion()
    {
        Running running;
        running.close();
        QVERIFY(!running.asks());
        QVERIFY(!running.stage.window->isVisible());
        running.delegate.requestQuit();
        QVERIFY(running.stage.window->close()); // as the end of a session does
        QTRY_COMPARE(running.ended, 1);
        QTest::qWait(1000);
        QCOMPARE(running.ended, 1);
    }

    void closingWhileTheGameRunsAsksOnce()
    {
        Running running(Running::game);
        running.close();
        running.close();
        running.delegate.requestQuit();
        QCOMPARE(running.stage.window->findChildren<QMessageBox *>().size(), 1);
        const auto *question = running.question();
        QCOMPARE(question->text(), u"The game is still running"_s);
        QCOMPARE(question->windowTitle(), question->text());
        QCOMPARE(question->informativeText(), u"Quitting will close the game too. Quit anyway?"_s);
        QCOMPARE(question->defaultButton()->text(), Button::quit);
        QVERIFY(running.stage.hasButton(Button::keepPlaying));
        QVERIFY(running.stage.window->isVisible());
        QCOMPARE(running.ended, 0);
    }

    void keepPlayingLeavesTheGameAndTheWindow_data()
    {
        QTest::addColumn<bool>("byKey");
        QTest::newRow("Keep Playing is clicked") << false;
        QTest::newRow("Escape is pressed") << true;
    }

    void keepPlayingLeavesTheGameAndTheWindow()
    {
        QFETCH(const bool, byKey);
        Running running(Running::game);
        running.close();
        if (byKey)
            running.stage.press(Qt::Key_Escape);
        else
            running.stage.click(Button::keepPlaying);
        QVERIFY(!running.asks());
        QVERIFY(running.stage.window->isVisible());
        QVERIFY(running.gameRuns());
        QTest::qWait(50);
        QCOMPARE(running.ended, 0);
        // The next close asks again.
        running.close();
        QVERIFY(running.asks());
    }

    void quitStopsTheGameAndEnds_data()
    {
        QTest::addColumn<bool>("byKey");
        QTest::newRow("Quit is clicked") << false;
        QTest::newRow("Return is pressed") << true;
    }

    void quitStopsTheGameAndEnds()
    {
        QFETCH(const bool, byKey);
        Running running(Running::game);
        running.close();
        if (byKey)
            running.stage.press(Qt::Key_Return);
        else
            running.stage.click(Button::quit);
        QVERIFY(!running.stage.window->isVisible());
        QTRY_COMPARE(running.ended, 1);
        QTRY_VERIFY(!running.gameRuns());
    }

    void theDesktopsOwnQuitAsksToo()
    {
        Running running(Running::game);
        QEvent quit(QEvent::Quit);
        QCoreApplication::sendEvent(qApp, &quit);
        Stage::settle();
        QVERIFY(running.asks());
        QCOMPARE(running.ended, 0);
    }

    void anActionThatRunsIsEndedFirst()
    {
        Running running;
        running.stage.startSlowHost();
        running.stage.model.play();
        QTRY_VERIFY(running.stage.model.state->kind() == AppState::Case::Downloading);
        QElapsedTimer timer;
        timer.start();
        running.close();
        QVERIFY(!running.asks());
        QTRY_COMPARE(running.ended, 1);
        QVERIFY(timer.elapsed() < 1000);
        QVERIFY(!running.stage.model.isWorking());
        QVERIFY(Player::scratch().isEmpty());
    }

    void aGameThatIgnoresTheRequestDoesNotHoldUpTheLauncher()
    {
        Running running(Running::stubbornGame);
        running.close();
        QElapsedTimer timer;
        timer.start();
        running.stage.click(Button::quit);
        QTRY_COMPARE_WITH_TIMEOUT(running.ended, 1, 3000);
        QVERIFY(timer.elapsed() < 1500);
        QVERIFY(running.gameRuns());
    }

    void nobodyIsAskedWhenTheSystemEndsTheProgram()
    {
        Running running(Running::game);
        running.close();
        QVERIFY(running.asks());
        running.delegate.quitAtOnce();
        QVERIFY(running.stage.window->findChildren<QMessageBox *>().isEmpty());
        QVERIFY(!running.stage.window->isVisible());
        QTRY_COMPARE(running.ended, 1);
        QTRY_VERIFY(!running.gameRuns());
    }

    void aWindowThatIsDestroyedAsksNothing()
    {
        Running running(Running::game);
        running.stage.window.reset();
        Stage::settle();
        QCOMPARE(running.ended, 0);
        QVERIFY(running.gameRuns());
        running.delegate.quitAtOnce();
        QTRY_COMPARE(running.ended, 1);
    }

    void aGameThatEndsDuringTheQuestionAnswersIt()
    {
        Running running(Running::game);
        running.close();
        QVERIFY(running.asks());
        running.stage.model.runner.stop();
        QTRY_COMPARE(running.ended, 1);
        QVERIFY(!running.asks());
        QVERIFY(!running.stage.window->isVisible());
    }

    void theQuestionIsSeenWhereTheWindowIsMinimised()
    {
        Running running(Running::game);
        running.stage.window->showMinimized();
        Stage::settle();
        QVERIFY(running.stage.window->isMinimized());
        running.close();
        QVERIFY(!running.stage.window->isMinimized());
        QVERIFY(running.asks());
        QTRY_VERIFY(running.question()->isActiveWindow());
    }

    void theQuestionLiesOverAnOpenSheet()
    {
        Running running(Running::game);
        auto *sheet = running.stage.openSettings();
        running.close();
        QCOMPARE(running.question()->parentWidget(), sheet);
        QCOMPARE(QApplication::activeModalWidget(), running.question());
        running.stage.click(Button::keepPlaying);
        QVERIFY(sheet->isVisible());
        QCOMPARE(running.ended, 0);
    }

    void quittingClosesTheSheetsToo()
    {
        Running running;
        running.stage.openSettings();
        running.stage.click(Button::removeEverything);
        running.delegate.quitAtOnce();
        QVERIFY(!running.stage.window->isVisible());
        QVERIFY(!running.stage.shows<SettingsView>());
        QVERIFY(!running.asks());
        QTRY_COMPARE(running.ended, 1);
    }
};

QTEST_MAIN(FailsCleanly<AppDelegateTest>)
#include "AppDelegateTest.moc"
