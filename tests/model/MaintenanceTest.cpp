#include "Desktop.h"
#include "DirectorySize.h"
#include "EngineManager.h"
#include "Player.h"
#include "Tasks.h"

#include <QTest>

namespace {

QString gameFile(const QString &name) { return Paths::gameFolder() + QLatin1Char('/') + name; }

}

class MaintenanceTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void updateReplacesTheGameDropsTheMarkerAndKeepsEngineAndSaves()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        const QString save
            = player.home.write(QStringLiteral("data/godot/app_userdata/Hill Run/progress.cfg"), "best=9");
        player.writeGame(QStringLiteral("new-level.txt"), "level 2");
        QVERIFY(QFile::remove(player.home.filePath(QStringLiteral("repository/import.sh"))));

        Diary diary(model);
        model.updateGame();
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(diary.steps(),
                 QStringList({ QStringLiteral("Updating the game (your save files are kept)") }));
        QCOMPARE(diary.states().first(), AppState::downloading(QStringLiteral("the game")));
        QCOMPARE(model.notice.get(), std::optional(QStringLiteral("The game was updated.")));
        QCOMPARE(model.state.get(), AppState::notDownloaded()); // the marker was deleted with the old copy
        QVERIFY(model.stepText->isEmpty());
        QVERIFY(QFileInfo::exists(gameFile(QStringLiteral("new-level.txt"))));
        QVERIFY(!QFileInfo::exists(gameFile(QStringLiteral("import.sh"))));
        QVERIFY(!QFileInfo::exists(gameFile(QStringLiteral(".imported-4.6"))));
        QVERIFY(EngineManager::executable(EngineManager::spec(*model.info.get())));
        QVERIFY(QFileInfo::exists(save));
        QCOMPARE(Player::scratch(), QStringList());
    }

    void updateReadsTheFactsAgain()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        player.writeGame(QStringLiteral("project.godot"),
                         "config_version=5\nconfig/name=\"Hill Run 2\"\n"
                         "config/features=PackedStringArray(\"4.6\")\n");
        model.updateGame();
        QTRY_COMPARE(model.info.get()->name, QStringLiteral("Hill Run 2"));
    }

    void updateWhileAFailureIsShownClearsItFirst()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        model.failureMessage = QStringLiteral("Something is wrong.");
        model.failureLines = QStringList({ QStringLiteral("a line") });
        model.state = AppState::needs(QStringLiteral("Something is wrong."));
        model.updateGame();
        QVERIFY(!model.failureMessage.get());
        QVERIFY(model.failureLines->isEmpty());
        QVERIFY(model.log.lines->isEmpty());
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.notice.get(), std::optional(QStringLiteral("The game was updated.")));
        QCOMPARE(model.state.get(), AppState::notDownloaded());
    }

    void updateOfAGameThatBringsItsMarkerEndsReady()
    {
        Player player;
        player.writeGame(QStringLiteral(".imported-4.6"), "ok");
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        model.updateGame();
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.state.get(), AppState::ready());
        QCOMPARE(model.notice.get(), std::optional(QStringLiteral("The game was updated.")));
    }

    void anUpdateThatFailsShowsTheSentenceAndKeepsTheGamePlayable()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        QVERIFY(QFile::remove(player.home.filePath(QStringLiteral("repository/project.godot"))));
        model.updateGame();
        QVERIFY(player.waitUntilIdle());
        const QString sentence
            = QStringLiteral("The downloaded game has no project.godot file, so it cannot be started.");
        QCOMPARE(model.failureMessage.get(), std::optional(sentence));
        QCOMPARE(model.failureLines.get(), model.log.lines.get());
        QVERIFY(model.stepText->isEmpty());
        QVERIFY(!model.notice.get());
        QCOMPARE(Player::scratch(), QStringList());
        QVERIFY(player.playToRunning());
    }

    void aCancelledUpdateSaysSoAndTheGameIsReadyAsBefore()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        player.startHost({ QStringLiteral("--slow"), QStringLiteral("300") });
        model.updateGame();
        QTRY_VERIFY(!model.progressDetail->isEmpty());
        model.cancel();
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.log.lines->last(), QStringLiteral("Cancelled."));
        QCOMPARE(model.state.get(), AppState::ready());
        QVERIFY(!model.notice.get());
        QVERIFY(!model.failureMessage.get());
        QCOMPARE(Player::scratch(), QStringList());
    }

    void updateReinstallAndRemovalAreRefusedWhileTheGameRuns()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.playToRunning());
        QTRY_VERIFY(!model.isWorking());
        model.updateGame();
        model.reinstall();
        model.removeEverything();
        QVERIFY(!model.isWorking());
        QVERIFY(model.runner.isRunning);
        QVERIFY(!model.notice.get());
        QVERIFY(QFileInfo::exists(gameFile(QStringLiteral("project.godot"))));
        QVERIFY(model.info.get());
    }

    void reinstallIsRefusedWhileAnActionRuns()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        player.startHost({ QStringLiteral("--slow"), QStringLiteral("300") });
        model.updateGame();
        model.reinstall();
        QVERIFY(QFileInfo::exists(gameFile(QStringLiteral("project.godot"))));
    }

    void reinstallRunsAllFourStepsAndKeepsEverythingElseUnderTheRoot()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        QFile note(Paths::root() + QStringLiteral("/note.txt"));
        QVERIFY(note.open(QIODevice::WriteOnly));
        note.close();
        QVERIFY(QDir().mkpath(Paths::engineFolder() + QStringLiteral("/4.2")));

        Diary diary(model);
        model.reinstall();
        QVERIFY(!model.info.get());
        QVERIFY(!QFileInfo::exists(Paths::gameFolder()));
        QVERIFY(!QFileInfo::exists(Paths::engineFolder()));
        QTRY_VERIFY(model.runner.isRunning);
        QCOMPARE(diary.steps().size(), 4);
        QVERIFY(note.exists());
    }

    void removeEverythingLeavesOnlyTheSaves()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        const QString save
            = player.home.write(QStringLiteral("data/godot/app_userdata/Hill Run/progress.cfg"), "best=9");
        model.freeableBytes = 5;
        model.removeEverything();
        QVERIFY(!QFileInfo::exists(Paths::root()));
        QVERIFY(QFileInfo::exists(save));
        QVERIFY(!model.info.get());
        QVERIFY(model.log.lines->isEmpty());
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QCOMPARE(model.notice.get(), std::optional(QStringLiteral("Everything was removed.")));
        QCOMPARE(model.freeableBytes.get(), 5);
        QVERIFY(player.playToRunning());
    }

    void removeEverythingFromAFailureClearsIt()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        model.failureMessage = QStringLiteral("Something is wrong.");
        model.failureLines = QStringList({ QStringLiteral("a line") });
        model.state = AppState::needs(QStringLiteral("Something is wrong."));
        model.removeEverything();
        QVERIFY(!model.failureMessage.get());
        QVERIFY(model.failureLines->isEmpty());
        QCOMPARE(model.state.get(), AppState::notDownloaded());
    }

    void removeEverythingDuringADownloadCancelsItAndItsLineComesAfterwards()
    {
        Player player;
        player.startHost({ QStringLiteral("--slow"), QStringLiteral("300") });
        AppModel &model = player.startModel();
        model.play();
        QTRY_VERIFY(!model.progressDetail->isEmpty());
        model.removeEverything();
        QVERIFY(model.log.lines->isEmpty());
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.log.lines.get(), QStringList({ QStringLiteral("Cancelled.") }));
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QCOMPARE(model.notice.get(), std::optional(QStringLiteral("Everything was removed.")));
        QVERIFY(!model.failureMessage.get());
        QVERIFY(!QFileInfo::exists(Paths::root()));
    }

    void whatWasReadOfARemovedGameIsDropped()
    {
        Player player;
        player.home.write(QStringLiteral("data/Vantor Platformer/Game/project.godot"),
                          "config/name=\"Hill Run\"\n");
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
        const QString game = QStringLiteral("data/Vantor Platformer/Game/");
        player.home.write(game + QStringLiteral("project.godot"), "config/name=\"Hill Run\"\n");
        // Takes so long to read that the removal comes during the reading.
        player.home.write(game + QStringLiteral("README"), QByteArray(32 * 1024 * 1024, '\n'));
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
        QVERIFY(!model.info.get());
        QCOMPARE(model.notice.get(), std::optional(QStringLiteral("Everything was removed.")));
        QVERIFY(!QFileInfo::exists(Paths::root()));
    }

    void removeEverythingDuringTheImportLeavesNothingOfWhatTheEngineStillWrites()
    {
        Player player;
        player.writeGame(
            QStringLiteral("import.sh"),
            "trap 'mkdir -p \"$project/.godot\"; exit 0' TERM; echo waiting; while :; do sleep 0.05; done\n");
        player.startHost();
        AppModel &model = player.startModel();
        model.play();
        QTRY_VERIFY(model.log.lines->contains(QStringLiteral("waiting")));
        model.removeEverything();
        QVERIFY(player.waitUntilIdle());
        QVERIFY(!QFileInfo::exists(Paths::root()));
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QVERIFY(!model.failureMessage.get());
    }

    void theLaunchersEndStopsADownloadAtOnceAndNothingStartsAfterwards()
    {
        Player player;
        player.startHost({ QStringLiteral("--slow"), QStringLiteral("300") });
        AppModel &model = player.startModel();
        model.play();
        QTRY_VERIFY(!model.progressDetail->isEmpty());
        Tasks::finish(model.prepareToQuit());
        QVERIFY(!model.isWorking());
        QCOMPARE(Player::scratch(), QStringList());
        model.play();
        QVERIFY(!model.isWorking());
    }

    void theLaunchersEndStopsTheUnpackTool()
    {
        Player player;
        player.startHost();
        // An unpack tool so slow that it certainly still runs when the launcher quits.
        const QString tool
            = player.home.write(QStringLiteral("slow-tool"), "#!/bin/sh\necho unpacking; exec sleep 60\n");
        QVERIFY(QFile::setPermissions(tool, QFile::permissions(tool) | QFileDevice::ExeOwner));
        Desktop desktop = Desktop::current();
        desktop.unpackTool = tool;
        Desktop::use(desktop);
        AppModel &model = player.startModel();
        model.play();
        QTRY_VERIFY(model.log.lines->contains(QStringLiteral("unpacking")));
        Tasks::finish(model.prepareToQuit(), std::chrono::seconds(5));
        Desktop::use(std::nullopt);
        QVERIFY(!model.isWorking());
        QVERIFY(!model.failureMessage.get());
        QCOMPARE(Player::scratch(), QStringList());
        QCOMPARE(player.startModel().state.get(), AppState::notDownloaded());
    }

    void theLaunchersEndWithNothingRunningIsOverAtOnce()
    {
        Player player;
        QVERIFY(player.startModel().prepareToQuit().isReady());
    }

    void theFreeableSizeIsThatOfTheLaunchersFolder()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
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
        QCOMPARE(model.notice.get(), std::optional(QStringLiteral("Nothing is downloaded yet.")));
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
        QCOMPARE(model.notice.get(),
                 std::optional(QStringLiteral(
                     "No save files yet. Godot creates them when the game first saves something.")));
        QVERIFY(player.workspace.opened.isEmpty());

        const QString data = player.home.filePath(QStringLiteral("data/Godot"));
        QVERIFY(QDir().mkpath(data));
        model.showSaves();
        QCOMPARE(player.workspace.opened.last(), data);
        QVERIFY(QDir().mkpath(data + QStringLiteral("/app_userdata")));
        model.showSaves();
        QCOMPARE(player.workspace.opened.last(), data + QStringLiteral("/app_userdata"));
        // The project facts were never read, so the default name is used.
        QVERIFY(QDir().mkpath(data + QStringLiteral("/app_userdata/Vantor")));
        model.showSaves();
        QCOMPARE(player.workspace.opened.last(), data + QStringLiteral("/app_userdata/Vantor"));
        ProjectInfo info;
        info.name = QStringLiteral("Hill Run");
        model.info = info;
        QVERIFY(QDir().mkpath(data + QStringLiteral("/app_userdata/Hill Run")));
        model.showSaves();
        QCOMPARE(player.workspace.opened.last(), data + QStringLiteral("/app_userdata/Hill Run"));
    }

    void aDesktopThatOpensNothingIsNamedInASentence_data()
    {
        QTest::addColumn<std::function<void(AppModel &)>>("press");
        QTest::addColumn<QString>("sentence");
        using Press = std::function<void(AppModel &)>;
        QTest::newRow("reveal") << Press([](AppModel &model) { model.revealInFinder(); })
                                << QStringLiteral("Nothing on this desktop could open the folder "
                                                  "\u201c%1/Vantor Platformer\u201d.");
        QTest::newRow("saves") << Press([](AppModel &model) { model.showSaves(); })
                               << QStringLiteral("Nothing on this desktop could open the folder "
                                                 "\u201c%1/Godot\u201d.");
        QTest::newRow("page") << Press(
            [](AppModel &model) { model.browse(QUrl(QStringLiteral("https://example.org/a page"))); })
                              << QStringLiteral("Nothing on this desktop could open the page "
                                                "\u201chttps://example.org/a page\u201d.");
    }

    void aDesktopThatOpensNothingIsNamedInASentence()
    {
        QFETCH(const std::function<void(AppModel &)>, press);
        QFETCH(const QString, sentence);
        Player player;
        player.workspace.opensNothing = true;
        AppModel &model = player.startModel();
        const QString data = player.home.filePath(QStringLiteral("data"));
        QVERIFY(QDir().mkpath(Paths::root()) && QDir().mkpath(data + QStringLiteral("/Godot")));
        press(model);
        QVERIFY(!model.notice->has_value());
        const QString expected = sentence.contains(QLatin1StringView("%1")) ? sentence.arg(data) : sentence;
        QTRY_COMPARE(model.notice.get(), std::optional(expected));
    }

    void copyGivesTheMessageAndTheLines()
    {
        Player player;
        AppModel &model = player.startModel();
        model.failureMessage = QStringLiteral("It failed.");
        model.failureLines
            = QStringList({ QStringLiteral("one"), QStringLiteral("two"), QStringLiteral("three") });
        model.copyFailure();
        QCOMPARE(player.pasteboard.texts.last(), QStringLiteral("It failed.\none\ntwo\nthree"));
    }

    void copyWithoutAFailureGivesASingleLineFeed()
    {
        Player player;
        player.startModel().copyFailure();
        QCOMPARE(player.pasteboard.texts, QStringList({ QStringLiteral("\n") }));
    }
};

QTEST_GUILESS_MAIN(MaintenanceTest)
#include "MaintenanceTest.moc"
