#include "Player.h"
#include "ProgressFraction.h"
#include "Texts.h"

#include <QTest>

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

    void aWholeInstallationIsReadyAtTheNextStartAndItsFactsAreReadInTheBackground()
    {
        Player player;
        player.putInPlace();
        AppModel &model = player.startModel();
        QCOMPARE(model.state.get(), AppState::ready());
        QVERIFY(!model.info.get());
        QTRY_VERIFY(model.info.get());
        QCOMPARE(model.info.get()->name, u"Hill Run"_s);
        QCOMPARE(model.state.get(), AppState::ready());
    }

    void aShownFailureIsLeftAlone()
    {
        Player player;
        AppModel &model = player.startInstalled();
        player.showFailure();
        model.refreshState();
        QVERIFY(player.hasFailed());
    }

    void nothingChangesWhilePlaysTaskRuns()
    {
        Player player;
        AppModel &model = player.start();
        model.play();
        model.refreshState();
        QTRY_COMPARE(model.state.get(), AppState::downloading(u"the game"_s));
        model.refreshState();
        QCOMPARE(model.state.get(), AppState::downloading(u"the game"_s));
    }

    void nothingChangesWhileTheGameRuns()
    {
        Player player;
        AppModel &model = player.startInstalled();
        QVERIFY(player.playToRunning());
        QCOMPARE(model.state.get(), AppState::starting());
        model.refreshState();
        QCOMPARE(model.state.get(), AppState::starting());
    }

    void aFailureShowsTheLast30LinesOfTheLog_data()
    {
        QTest::addColumn<int>("linesBefore");
        QTest::addColumn<int>("shown");
        QTest::addColumn<QString>("firstShown");
        // The failing download adds one more line.
        QTest::newRow("a log of 30 lines is shown whole") << 29 << 30 << u"line 1"_s;
        QTest::newRow("of 31 lines the first is left out") << 30 << 30 << u"line 2"_s;
        QTest::newRow("a short log is shown whole") << 3 << 4 << u"line 1"_s;
    }

    void aFailureShowsTheLast30LinesOfTheLog()
    {
        QFETCH(int, linesBefore);
        QFETCH(int, shown);
        QFETCH(QString, firstShown);
        Player player;
        player.loseHost();
        AppModel &model = player.startModel();
        model.play();
        for (int i = 1; i <= linesBefore; ++i)
            model.log.append(u"line %1"_s.arg(i));
        QTRY_VERIFY(player.hasFailed());
        QCOMPARE(model.failureLines->size(), shown);
        QCOMPARE(model.failureLines->first(), firstShown);
        QCOMPARE(model.failureLines->last(), model.log.lines->last());
        QVERIFY(!model.progress.get());
        QCOMPARE(model.failureMessage.get(), std::optional(model.state->text()));
        QCOMPARE(model.stepText.get(), Texts::steps().first());
    }

    void theFractionOfADownload_data()
    {
        QTest::addColumn<qint64>("received");
        QTest::addColumn<qint64>("total");
        QTest::addColumn<std::optional<double>>("fraction");
        const auto row = [](const char *name, qint64 received, qint64 total, std::optional<double> fraction) {
            QTest::newRow(name) << received << total << fraction;
        };
        row("unknown total", 10, -1, std::nullopt);
        row("a total of 0 is unknown", 10, 0, std::nullopt);
        row("nothing yet", 0, 10, 0.0);
        row("half", 5, 10, 0.5);
        row("all", 10, 10, 1.0);
        row("more than all", 11, 10, 1.0);
        row("a file of one byte", 1, 1, 1.0);
    }

    void theFractionOfADownload()
    {
        QFETCH(qint64, received);
        QFETCH(qint64, total);
        QFETCH(std::optional<double>, fraction);
        QCOMPARE(progressFraction({ .received = received, .total = total, .bytesPerSecond = 0 }), fraction);
    }

    void aDownloadWithoutALengthIsIndeterminateAndOneWithALengthFillsUp()
    {
        Player player;
        AppModel &model = player.start();
        Diary diary(model);
        QVERIFY(player.playToRunning());
        QVERIFY(diary.fractions().size() >= 2);
        // The branch archive is served without a Content-Length, the engine's archive with one.
        QVERIFY(!diary.fractions().first());
        QVERIFY(diary.fractions().contains(std::optional(1.0)));
    }

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
