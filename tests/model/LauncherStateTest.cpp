#include "Player.h"
#include "ProgressFraction.h"
#include "Rows.h"
#include "Texts.h"

using namespace Qt::StringLiterals;

class LauncherStateTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFreshMachineStartsNotDownloadedAndWithoutInfo()
    {
        Player player;
        AppModel &model = player.startModel();
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QVERIFY(!model.info.get());
        QVERIFY(!model.failureMessage.get());
        QVERIFY(!model.notice.get());
        QVERIFY(!model.progress.get());
        QVERIFY(!model.showLog);
        QCOMPARE(model.freeableBytes.get(), 0);
        QVERIFY(model.log.lines->isEmpty());
        QVERIFY(!QFileInfo::exists(Paths::root()));
    }

    void twoStatesAreEqualWhenTheirCasesAndTextsAre()
    {
        QCOMPARE(AppState::needs(u"a"_s), AppState::needs(u"a"_s));
        QVERIFY(AppState::needs(u"a"_s) != AppState::needs(u"b"_s));
        QVERIFY(AppState::downloading(u"a"_s) != AppState::needs(u"a"_s));
        QVERIFY(AppState::ready() != AppState::playing());
    }

    void aWholeInstallationIsReadyAtTheNextStartAndTheStateFollowsOnceItsFactsAreRead()
    {
        Player player;
        player.putInPlace();
        AppModel &model = player.startModel();
        QCOMPARE(model.state.get(), AppState::ready());
        QVERIFY(!model.info.get()); // read in the background
        Player::deleteOwn(u"Game/.imported-4.6"_s);
        QTRY_VERIFY(model.info.get());
        QCOMPARE(model.info.get()->name, u"Hill Run"_s);
        QCOMPARE(model.state.get(), AppState::notDownloaded());
    }

    void refreshingChangesNothingWhileAFailureIsShownOrTheGameRuns()
    {
        Player player;
        AppModel &model = player.startInstalled();
        player.showFailure();
        model.refreshState();
        QVERIFY(player.hasFailed());
        QVERIFY(player.playToRunning());
        model.refreshState();
        QCOMPARE(model.state.get(), AppState::starting());
    }

    void refreshingChangesNothingWhileAnActionRuns()
    {
        Player player;
        AppModel &model = player.start();
        model.play();
        model.refreshState();
        QTRY_COMPARE(model.state.get(), AppState::downloading(u"the game"_s));
        model.refreshState();
        QCOMPARE(model.state.get(), AppState::downloading(u"the game"_s));
    }

    void aFailureShowsTheLast30LinesOfTheLog_data()
    {
        const auto row = rows([](int linesBefore, int shown, const QString &firstShown) {
            Player player;
            player.loseHost();
            AppModel &model = player.startModel();
            model.play();
            for (int i = 1; i <= linesBefore; ++i)
                model.log.append(u"line %1"_s.arg(i));
            QTRY_VERIFY(player.hasFailed());
            QCOMPARE(static_cast<int>(model.failureLines->size()), shown);
            QCOMPARE(model.failureLines->first(), firstShown);
            QCOMPARE(model.failureLines->last(), model.log.lines->last());
            QVERIFY(!model.progress.get());
            QCOMPARE(model.failureMessage.get(), std::optional(model.state->text()));
            QCOMPARE(model.stepText.get(), Texts::steps().first());
        });
        // The failing download adds one more line.
        row("a log of 30 lines is shown whole", 29, 30, u"line 1"_s);
        row("of 31 lines the first is left out", 30, 30, u"line 2"_s);
        row("a short log is shown whole", 3, 4, u"line 1"_s);
    }
    void aFailureShowsTheLast30LinesOfTheLog() { runRow(); }

    void theFractionOfADownload_data()
    {
        const auto row = rows([](qint64 received, qint64 total, const std::optional<double> &fraction) {
            QCOMPARE(progressFraction({ .received = received, .total = total, .bytesPerSecond = 0 }),
                     fraction);
        });
        row("unknown total", 10, -1, std::nullopt);
        row("a total of 0 is unknown", 10, 0, std::nullopt);
        row("nothing yet", 0, 10, 0.0);
        row("half", 5, 10, 0.5);
        row("all", 10, 10, 1.0);
        row("more than all", 11, 10, 1.0);
        row("a file of one byte", 1, 1, 1.0);
    }
    void theFractionOfADownload() { runRow(); }

    void cancelWithNothingRunningHasNoEffect()
    {
        Player player;
        AppModel &model = player.startInstalled();
        const QStringList log = model.log.lines;
        model.cancel();
        QTest::qWait(0);
        QCOMPARE(model.state.get(), AppState::ready());
        QCOMPARE(model.log.lines.get(), log);
        QVERIFY(player.playToRunning());
    }
};

QTEST_GUILESS_MAIN(LauncherStateTest)
#include "LauncherStateTest.moc"
