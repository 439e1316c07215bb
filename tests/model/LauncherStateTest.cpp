#include "EngineManager.h"
#include "Player.h"
#include "ProgressFraction.h"

#include <QTest>

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
        QCOMPARE(AppState::needs(QStringLiteral("a")), AppState::needs(QStringLiteral("a")));
        QVERIFY(AppState::needs(QStringLiteral("a")) != AppState::needs(QStringLiteral("b")));
        QVERIFY(AppState::downloading(QStringLiteral("a")) != AppState::needs(QStringLiteral("a")));
        QVERIFY(AppState::ready() != AppState::playing());
    }

    void aWholeInstallationIsReadyAtTheNextStartAndItsFactsAreReadInTheBackground()
    {
        Player player;
        player.startHost();
        player.startModel();
        QVERIFY(player.install());
        AppModel &model = player.startModel();
        QCOMPARE(model.state.get(), AppState::ready());
        QVERIFY(!model.info.get());
        QTRY_VERIFY(model.info.get());
        QCOMPARE(model.info.get()->name, QStringLiteral("Hill Run"));
        QCOMPARE(model.state.get(), AppState::ready());
    }

    void gameAndEngineWithoutTheImportMarkerAreNotDownloaded()
    {
        Player player;
        player.startHost();
        player.startModel();
        QVERIFY(player.install());
        QVERIFY(QFile::remove(EngineManager::markerURL(EngineManager::spec(*player.model->info.get()))));
        AppModel &model = player.startModel();
        QCOMPARE(model.state.get(), AppState::notDownloaded());

        Diary diary(model);
        QVERIFY(player.playToRunning());
        QCOMPARE(
            diary.steps(),
            QStringList({ QStringLiteral("Step 3 of 4: first-time setup, this can take a minute or more"),
                          QStringLiteral("Step 4 of 4: starting the game") }));
    }

    void theGameWithoutItsEngineIsNotDownloaded()
    {
        Player player;
        player.startHost();
        player.startModel();
        QVERIFY(player.install());
        QVERIFY(QDir(Paths::engineFolder()).removeRecursively());
        QCOMPARE(player.startModel().state.get(), AppState::notDownloaded());
    }

    void aShownFailureIsLeftAlone()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        model.state = AppState::needs(QStringLiteral("Something is wrong."));
        model.refreshState();
        QCOMPARE(model.state.get(), AppState::needs(QStringLiteral("Something is wrong.")));
    }

    void nothingChangesWhilePlaysTaskRuns()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        model.play();
        model.refreshState();
        QTRY_COMPARE(model.state.get(), AppState::downloading(QStringLiteral("the game")));
        model.refreshState();
        QCOMPARE(model.state.get(), AppState::downloading(QStringLiteral("the game")));
    }

    void nothingChangesWhileTheGameRuns()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
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
        QTest::newRow("a log of 30 lines is shown whole") << 29 << 30 << QStringLiteral("line 1");
        QTest::newRow("of 31 lines the first is left out") << 30 << 30 << QStringLiteral("line 2");
        QTest::newRow("a short log is shown whole") << 3 << 4 << QStringLiteral("line 1");
    }

    void aFailureShowsTheLast30LinesOfTheLog()
    {
        QFETCH(int, linesBefore);
        QFETCH(int, shown);
        QFETCH(QString, firstShown);
        Player player;
        player.startHost();
        const QUrl address = player.host->address();
        player.host.reset();
        CodeHost::setAddress(address); // nothing listens there any more
        AppModel &model = player.startModel();
        model.play();
        for (int i = 1; i <= linesBefore; ++i)
            model.log.append(QStringLiteral("line %1").arg(i));
        QTRY_VERIFY(player.hasFailed());
        CodeHost::setAddress(CodeHost::official());
        QCOMPARE(model.failureLines->size(), shown);
        QCOMPARE(model.failureLines->first(), firstShown);
        QCOMPARE(model.failureLines->last(), model.log.lines->last());
        QVERIFY(!model.progress.get());
        QCOMPARE(model.failureMessage.get(), std::optional(model.state->text()));
        QCOMPARE(model.stepText.get(), QStringLiteral("Step 1 of 4: downloading the game"));
    }

    void theFractionOfADownload_data()
    {
        QTest::addColumn<qint64>("received");
        QTest::addColumn<qint64>("total");
        QTest::addColumn<double>("fraction"); // negative: no value
        QTest::newRow("unknown total") << qint64(10) << qint64(-1) << -1.0;
        QTest::newRow("a total of 0 is unknown") << qint64(10) << qint64(0) << -1.0;
        QTest::newRow("nothing yet") << qint64(0) << qint64(10) << 0.0;
        QTest::newRow("half") << qint64(5) << qint64(10) << 0.5;
        QTest::newRow("all") << qint64(10) << qint64(10) << 1.0;
        QTest::newRow("more than all") << qint64(11) << qint64(10) << 1.0;
        QTest::newRow("a file of one byte") << qint64(1) << qint64(1) << 1.0;
    }

    void theFractionOfADownload()
    {
        QFETCH(qint64, received);
        QFETCH(qint64, total);
        QFETCH(double, fraction);
        const auto found = progressFraction({ .received = received, .total = total, .bytesPerSecond = 0 });
        QCOMPARE(found, fraction < 0 ? std::nullopt : std::optional(fraction));
    }

    void aDownloadWithoutALengthIsIndeterminateAndOneWithALengthFillsUp()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
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
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        const QStringList log = model.log.lines;
        model.cancel();
        QTest::qWait(0);
        QCOMPARE(model.state.get(), AppState::ready());
        QCOMPARE(model.log.lines.get(), log);
        QVERIFY(player.playToRunning());
    }

    void cancelDoesNotTouchARunningGame()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.playToRunning());
        model.cancel();
        QTRY_COMPARE(model.state.get(), AppState::playing());
        QVERIFY(model.runner.isRunning);
    }
};

QTEST_GUILESS_MAIN(LauncherStateTest)
#include "LauncherStateTest.moc"
