#include "AppDelegate.h"

#include "Running.h"

#include <QPushButton>
#include <QSignalSpy>

class AppDelegateTest final : public QObject, private Running {
    Q_OBJECT

private Q_SLOTS:
    void beforeTheWindowIsShownTheProgramEndsAtOnceAndOnce()
    {
        for (const auto quit : { &AppDelegate::requestQuit, &AppDelegate::quitAtOnce }) {
            MainWindow hidden(model, player.preferences);
            int ends = 0;
            AppDelegate early([&ends] { ++ends; });
            early.attach(model, hidden);
            const QSignalSpy quitting(&early, &AppDelegate::quitting);
            for (int time = 0; time < 2; ++time) {
                (early.*quit)();
                QCOMPARE(ends, 1);
                QCOMPARE(quitting.size(), 1);
            }
        }
    }

    void closingTheWindowWhileNoGameRunsEndsOnceWithoutAQuestion()
    {
        close();
        QVERIFY(!asks());
        QVERIFY(!window().isVisible());
        delegate.requestQuit();
        QVERIFY(window().close()); // as the end of a session does
        QTRY_COMPARE(ended, 1);
        QTest::qWait(1000);
        QCOMPARE(ended, 1);
    }

    void closingWhileTheGameRunsAsksOnce()
    {
        play();
        close();
        close();
        delegate.requestQuit();
        QCOMPARE(window().findChildren<Question *>().size(), 1);
        QCOMPARE(front(), question());
        QCOMPARE(texts(),
                 QStringList({ u"The game is still running"_s,
                               u"Quitting will close the game too. Quit anyway?"_s }));
        QCOMPARE(question()->accessibleName(), texts().first());
        QCOMPARE(window().focusWidget(), button(Button::quit));
        QVERIFY(qobject_cast<QPushButton *>(button(Button::quit))->isDefault());
        QVERIFY(hasButton(Button::keepPlaying));
        QVERIFY(window().isVisible());
        QCOMPARE(ended, 0);
    }

    void keepPlayingLeavesTheGameAndTheWindowUntilTheNextClose()
    {
        play();
        for (const auto &answer : { clicking(Button::keepPlaying), pressing(Qt::Key_Escape) }) {
            close();
            QVERIFY(asks());
            answer();
            QVERIFY(!asks());
            QVERIFY(window().isVisible());
            QVERIFY(gameRuns());
            QTest::qWait(50);
            QCOMPARE(ended, 0);
        }
        close();
        QVERIFY(asks());
    }

    void returnQuitsWhichStopsTheGameAndEnds()
    {
        play();
        close();
        press(Qt::Key_Return);
        QVERIFY(!window().isVisible());
        QTRY_COMPARE(ended, 1);
        QTRY_VERIFY(!gameRuns());
    }

    void theDesktopsOwnQuitAsksToo()
    {
        play();
        QEvent quit(QEvent::Quit);
        QCoreApplication::sendEvent(qApp, &quit);
        settle();
        QVERIFY(asks());
        QCOMPARE(ended, 0);
    }

    void nobodyIsAskedWhenTheSystemEndsTheProgram()
    {
        play();
        close();
        QVERIFY(asks());
        delegate.quitAtOnce();
        QVERIFY(window().findChildren<Question *>().isEmpty());
        QVERIFY(!window().isVisible());
        QTRY_COMPARE(ended, 1);
        QTRY_VERIFY(!gameRuns());
    }

    void aWindowThatIsDestroyedAsksNothing()
    {
        play();
        destroyWindow();
        settle();
        QCOMPARE(ended, 0);
        QVERIFY(gameRuns());
        delegate.quitAtOnce();
        QTRY_COMPARE(ended, 1);
    }

    void theQuestionIsSeenWhereTheWindowIsMinimised()
    {
        play();
        window().showMinimized();
        settle();
        QVERIFY(window().isMinimized());
        close();
        QVERIFY(!window().isMinimized());
        QVERIFY(asks());
        QTRY_COMPARE(QGuiApplication::focusWindow(), window().windowHandle());
        QCOMPARE(front(), question());
    }

    void theQuestionLiesOverAnOpenSheet()
    {
        play();
        auto *sheet = openSettings();
        close();
        QCOMPARE(front(), question());
        QCOMPARE(Sheet::below(*question()), sheet);
        click(Button::keepPlaying);
        QVERIFY(sheet->isVisible());
        QCOMPARE(ended, 0);
    }

    void quittingClosesTheSheetsToo()
    {
        openSettings();
        click(Button::removeEverything);
        delegate.quitAtOnce();
        QVERIFY(!window().isVisible());
        QVERIFY(!shows<SettingsView>());
        QVERIFY(!asks());
        QTRY_COMPARE(ended, 1);
    }
};

QTEST_MAIN(FreshForEach<AppDelegateTest>)
#include "AppDelegateTest.moc"
