#include "DirectorySize.h"
#include "Player.h"
#include "Texts.h"

#include <QTest>

using namespace Qt::StringLiterals;

class MaintenanceTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void updateReplacesTheGameDropsTheMarkerAndKeepsEngineAndSaves()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startInstalled();
        const QString save = player.home.write(u"data/godot/app_userdata/Hill Run/progress.cfg"_s, "best=9");
        player.writeGame(u"new-level.txt"_s, "level 2");
        player.writeGame(u"project.godot"_s,
                         "config_version=5\nconfig/name=\"Hill Run 2\"\n"
                         "config/features=PackedStringArray(\"4.6\")\n");
        QVERIFY(QFile::remove(player.repository() + u"/import.sh"_s));
        player.showFailure(); // a failure from before makes no difference

        Diary diary(model);
        model.updateGame();
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(diary.steps(), QStringList({ u"Updating the game (your save files are kept)"_s }));
        QVERIFY(diary.states().contains(AppState::downloading(u"the game"_s)));
        QCOMPARE(model.notice.get(), std::optional(Texts::updated));
        QCOMPARE(model.state.get(), AppState::notDownloaded()); // the marker was deleted with the old copy
        QVERIFY(model.stepText->isEmpty());
        QVERIFY(Player::hasInstalled(u"new-level.txt"_s));
        QVERIFY(!Player::hasInstalled(u"import.sh"_s));
        QVERIFY(!Player::hasInstalled(u".imported-4.6"_s));
        QTRY_COMPARE(model.info.get()->name, u"Hill Run 2"_s);
        QVERIFY(EngineManager::executable(EngineManager::spec(*model.info.get())));
        QVERIFY(QFileInfo::exists(save));
        QCOMPARE(Player::scratch(), QStringList());
    }

    void updateOfAGameThatBringsItsMarkerEndsReady()
    {
        Player player;
        player.writeGame(u".imported-4.6"_s, "ok");
        player.startHost();
        AppModel &model = player.startInstalled();
        model.updateGame();
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.state.get(), AppState::ready());
        QCOMPARE(model.notice.get(), std::optional(Texts::updated));
    }

    void anUpdateThatFailsShowsTheSentenceAndKeepsTheGamePlayable()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startInstalled();
        QVERIFY(QFile::remove(player.repository() + u"/project.godot"_s));
        model.updateGame();
        player.verifyFailure(QRegularExpression::escape(Texts::noProject));
        QVERIFY(model.stepText->isEmpty());
        QVERIFY(!model.notice.get());
        QVERIFY(player.playToRunning());
    }

    void aCancelledUpdateSaysSoAndTheGameIsReadyAsBefore()
    {
        Player player;
        player.startHost({ u"--slow"_s, u"300"_s });
        AppModel &model = player.startInstalled();
        model.updateGame();
        QTRY_VERIFY(!model.progressDetail->isEmpty());
        model.cancel();
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.log.lines->last(), Texts::cancelled);
        QCOMPARE(model.state.get(), AppState::ready());
        QVERIFY(!model.notice.get());
        QVERIFY(!model.failureMessage.get());
        QCOMPARE(Player::scratch(), QStringList());
    }

    void everyActionIsRefusedWhileTheGameRuns()
    {
        Player player;
        AppModel &model = player.startInstalled();
        QVERIFY(player.playToRunning());
        QTRY_VERIFY(!model.isWorking());
        const QString line = model.log.lines->first();
        model.play();
        model.updateGame();
        model.reinstall();
        model.removeEverything();
        QVERIFY(!model.isWorking());
        QCOMPARE(model.log.lines->first(), line);
        QVERIFY(model.runner.isRunning);
        QVERIFY(!model.notice.get());
        QVERIFY(Player::hasInstalled(u"project.godot"_s));
        QVERIFY(model.info.get());
    }

    void reinstallIsRefusedWhileAnActionRuns()
    {
        Player player;
        AppModel &model = player.startInstalled();
        model.updateGame();
        model.reinstall();
        QVERIFY(Player::hasInstalled(u"project.godot"_s));
    }

    void reinstallRunsAllFourStepsAndKeepsEverythingElseUnderTheRoot()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startInstalled();
        player.writeInstalled(u"../note.txt"_s, {});
        QVERIFY(QDir().mkpath(Paths::engineFolder() + u"/4.2"_s));

        Diary diary(model);
        model.reinstall();
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QVERIFY(!model.info.get());
        QVERIFY(!QFileInfo::exists(Paths::gameFolder()));
        QVERIFY(!QFileInfo::exists(Paths::engineFolder()));
        QTRY_VERIFY(model.runner.isRunning);
        QCOMPARE(diary.steps().size(), 4);
        QVERIFY(QFileInfo::exists(Paths::root() + u"/note.txt"_s));
    }

    void removeEverythingLeavesOnlyTheSaves()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startInstalled();
        const QString save = player.home.write(u"data/godot/app_userdata/Hill Run/progress.cfg"_s, "best=9");
        model.freeableBytes = 5;
        model.removeEverything();
        QVERIFY(QFileInfo::exists(save));
        QVERIFY(model.log.lines->isEmpty());
        verifyRemoved(player);
        QCOMPARE(model.freeableBytes.get(), 5);
        QVERIFY(player.playToRunning());
    }

    void removeEverythingDuringADownloadCancelsItAndItsLineComesAfterwards()
    {
        Player player;
        AppModel &model = player.start({ u"--slow"_s, u"300"_s });
        model.play();
        QTRY_VERIFY(!model.progressDetail->isEmpty());
        model.removeEverything();
        QVERIFY(model.log.lines->isEmpty());
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.log.lines.get(), QStringList({ Texts::cancelled }));
        verifyRemoved(player);
    }

    void whatWasReadOfARemovedGameIsDropped()
    {
        Player player;
        player.writeInstalled(u"project.godot"_s, "config/name=\"Hill Run\"\n");
        AppModel &model = player.startModel(); // reads the game in the background
        model.removeEverything();
        QVERIFY(waitForBackground(std::chrono::seconds(20)));
        for (int turn = 0; turn < 10; ++turn) // the result takes a few turns to arrive
            QCoreApplication::processEvents();
        QVERIFY(!model.info.get());
    }

    void removeEverythingWhileTheGameIsReadForPlayLeavesNothingOfItInTheWindow()
    {
        Player player;
        player.startHost();
        player.writeInstalled(u"project.godot"_s, "config/name=\"Hill Run\"\n");
        // Takes so long to read that the removal comes during the reading.
        player.writeInstalled(u"README"_s, QByteArray(32 * 1024 * 1024, '\n'));
        AppModel &model = player.startModel();
        QTRY_VERIFY(model.info.get());
        QVERIFY(waitForBackground(std::chrono::seconds(20)));
        model.play();
        int looks = 0; // in a row; the shorter job before the reading is over by the third
        QVERIFY(QTest::qWaitFor([&looks] {
            looks = jobsInBackground() > 0 ? looks + 1 : 0;
            return looks == 3;
        }));
        model.removeEverything();
        QVERIFY(player.waitUntilIdle());
        verifyRemoved(player);
    }

    void removeEverythingDuringTheImportLeavesNothingOfWhatTheEngineStillWrites()
    {
        Player player;
        player.writeGame(
            u"import.sh"_s,
            "trap 'mkdir -p \"$project/.godot\"; exit 0' TERM; echo waiting; while :; do sleep 0.05; done\n");
        AppModel &model = player.start();
        model.play();
        QTRY_VERIFY(model.log.lines->contains(u"waiting"_s));
        model.removeEverything();
        QVERIFY(player.waitUntilIdle());
        verifyRemoved(player);
    }

    void quittingStopsADownloadAtOnceAndNothingStartsAfterwards()
    {
        Player player;
        AppModel &model = player.start({ u"--slow"_s, u"300"_s });
        model.play();
        QTRY_VERIFY(!model.progressDetail->isEmpty());
        const auto quitting = model.prepareToQuit();
        QTRY_VERIFY(quitting.isReady());
        QVERIFY(!model.isWorking());
        QCOMPARE(Player::scratch(), QStringList());
        model.play();
        QVERIFY(!model.isWorking());
    }

    void quittingStopsTheUnpackTool()
    {
        Player player;
        player.startHost();
        // An unpack tool so slow that it certainly still runs when the launcher quits.
        player.useUnpackTool("#!/bin/sh\necho unpacking; exec sleep 60\n");
        AppModel &model = player.startModel();
        model.play();
        QTRY_VERIFY(model.log.lines->contains(u"unpacking"_s));
        const auto quitting = model.prepareToQuit();
        QTRY_VERIFY(quitting.isReady());
        QVERIFY(!model.isWorking());
        QVERIFY(!model.failureMessage.get());
        QCOMPARE(Player::scratch(), QStringList());
        QCOMPARE(player.startModel().state.get(), AppState::notDownloaded());
    }

    void quittingWithNothingRunningIsOverAtOnce()
    {
        Player player;
        QVERIFY(player.startModel().prepareToQuit().isReady());
    }

    void theFreeableSizeIsThatOfTheLaunchersFolder()
    {
        Player player;
        AppModel &model = player.startInstalled();
        model.computeFreeableSize();
        QCOMPARE(model.freeableBytes.get(), 0); // computed in the background
        QTRY_VERIFY(model.freeableBytes > 0);
        QCOMPARE(model.freeableBytes.get(), directorySize(Paths::root()));
    }

    void revealShowsTheLaunchersFolderOrSaysThatThereIsNone()
    {
        Player player;
        AppModel &model = player.startModel();
        model.revealInFinder();
        QCOMPARE(model.notice.get(), std::optional(Texts::nothingDownloaded));
        QVERIFY(player.workspace.revealed.isEmpty());
        QVERIFY(QDir().mkpath(Paths::root()));
        model.revealInFinder();
        QCOMPARE(player.workspace.revealed, QStringList({ Paths::root() }));
    }

    void showSavesOpensTheFirstFolderThatExists()
    {
        Player player;
        AppModel &model = player.startModel();
        model.showSaves();
        QCOMPARE(model.notice.get(), std::optional(Texts::noSaves));
        QVERIFY(player.workspace.opened.isEmpty());

        // The project facts were never read, so the default name is used.
        for (const char *folder : { "", "/app_userdata", "/app_userdata/Vantor", "/app_userdata/Hill Run" }) {
            const QString path = player.home.filePath(u"data/Godot"_s + QLatin1StringView(folder));
            QVERIFY(QDir().mkpath(path));
            if (path.endsWith(u"Run"_s)) {
                ProjectInfo info;
                info.name = u"Hill Run"_s;
                model.info = info;
            }
            model.showSaves();
            QCOMPARE(player.workspace.opened.last(), path);
        }
    }

    void aDesktopThatOpensNothingIsNamedInASentence_data()
    {
        QTest::addColumn<std::function<void(AppModel &)>>("press");
        QTest::addColumn<QString>("what");
        using Press = std::function<void(AppModel &)>;
        QTest::newRow("reveal") << Press([](AppModel &model) { model.revealInFinder(); })
                                << u"folder \u201c%1/Vantor Platformer\u201d"_s;
        QTest::newRow("saves") << Press([](AppModel &model) { model.showSaves(); })
                               << u"folder \u201c%1/Godot\u201d"_s;
        QTest::newRow("page") << Press([](AppModel &model) {
            model.browse(QUrl(u"https://example.org/a page"_s));
        }) << u"page \u201chttps://example.org/a page\u201d"_s;
    }

    void aDesktopThatOpensNothingIsNamedInASentence()
    {
        QFETCH(const std::function<void(AppModel &)>, press);
        QFETCH(QString, what);
        Player player;
        player.workspace.opensNothing = true;
        AppModel &model = player.startModel();
        const QString data = player.home.dataHome();
        QVERIFY(QDir().mkpath(Paths::root()) && QDir().mkpath(data + u"/Godot"_s));
        press(model);
        QVERIFY(!model.notice->has_value());
        QTRY_COMPARE(
            model.notice.get(),
            std::optional(u"Nothing on this desktop could open the %1."_s.arg(what).replace(u"%1"_s, data)));
    }

    void copyPutsTheMessageAndTheLinesOnThePasteboard()
    {
        Player player;
        AppModel &model = player.startModel();
        model.failureMessage = u"It failed."_s;
        model.failureLines = QStringList({ u"one"_s, u"two"_s, u"three"_s });
        model.copyFailure();
        QCOMPARE(player.pasteboard.texts.last(), u"It failed.\none\ntwo\nthree"_s);
    }

    void copyWithoutAFailurePutsASingleLineFeedThere()
    {
        Player player;
        player.startModel().copyFailure();
        QCOMPARE(player.pasteboard.texts, QStringList({ u"\n"_s }));
    }

private:
    static void verifyRemoved(const Player &player)
    {
        QVERIFY(!QFileInfo::exists(Paths::root()));
        QVERIFY(!player.model->info.get());
        QVERIFY(!player.model->failureMessage.get());
        QCOMPARE(player.model->state.get(), AppState::notDownloaded());
        QCOMPARE(player.model->notice.get(), std::optional(Texts::removed));
    }
};

QTEST_GUILESS_MAIN(MaintenanceTest)
#include "MaintenanceTest.moc"
