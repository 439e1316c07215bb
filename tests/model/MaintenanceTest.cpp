#include "DirectorySize.h"
#include "Player.h"
#include "Rows.h"
#include "Texts.h"

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
        QVERIFY(player.complete(&AppModel::updateGame));
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
        QVERIFY(player.complete(&AppModel::updateGame));
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
        player.verifyRemoved();
        QCOMPARE(model.freeableBytes.get(), 5);
        QVERIFY(player.playToRunning());
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
        player.verifyRemoved();
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
        const QString link = player.home.link(Paths::root(), u"unplugged"_s);
        AppModel &model = player.startModel();
        model.revealInFinder();
        QCOMPARE(model.notice.get(), std::optional(Texts::nothingDownloaded));
        model.notice = std::nullopt;
        QVERIFY(QFile::remove(link));
        model.revealInFinder();
        QCOMPARE(model.notice.get(), std::optional(Texts::nothingDownloaded));
        QVERIFY(player.workspace.revealed.isEmpty());
        QVERIFY(QDir().mkpath(Paths::root()));
        model.revealInFinder();
        QCOMPARE(player.workspace.revealed, QStringList({ Paths::root() }));
    }

    void showSavesOpensTheNearestFolderThatExists_data()
    {
        // A null folder: there is none.
        const auto row = rows([](const QString &folder, const QString &link, const QString &opened) {
            Player player;
            AppModel &model = player.startModel();
            QVERIFY(QDir().mkpath(player.home.filePath(folder)));
            if (!link.isEmpty())
                player.home.link(link, player.home.filePath(u"disk"_s));
            if (opened.endsWith(u"Hill Run"_s)) {
                ProjectInfo info;
                info.name = u"Hill Run"_s;
                model.info = info;
            }
            model.showSaves();
            QCOMPARE(player.workspace.opened.value(0),
                     opened.isNull() ? opened : player.home.filePath(opened));
            QCOMPARE(model.notice.get(), opened.isNull() ? std::optional(Texts::noSaves) : std::nullopt);
        });
        const QString godot = u"data/Godot"_s;
        const QString saves = godot + u"/app_userdata"_s;
        const QString unnamed = saves + u"/Vantor"_s;
        row("nothing", {}, {}, {});
        row("the engine's folder", godot, {}, godot);
        row("all games' saves", saves, {}, saves);
        row("those of a game whose facts were not read", unnamed, {}, unnamed);
        row("those of a game with a name", saves + u"/Hill Run"_s, {}, saves + u"/Hill Run"_s);
        row("the engine's folder on a disk that is not there", {}, godot, {});
        row("all games' saves on a disk that is not there", {}, saves, godot);
        row("the game's saves on a disk that is not there", {}, unnamed, saves);
        row("the game's saves on another disk", u"disk"_s, unnamed, unnamed);
    }
    void showSavesOpensTheNearestFolderThatExists() { runRow(); }

    void aDesktopThatOpensNothingIsNamedInASentence_data()
    {
        const auto row = rows([](const Player::Action &press, const QString &what) {
            Player player;
            player.workspace.opensNothing = true;
            AppModel &model = player.startModel();
            const QString data = player.home.dataHome();
            QVERIFY(QDir().mkpath(Paths::root()) && QDir().mkpath(data + u"/Godot"_s));
            press(model);
            QVERIFY(!model.notice->has_value());
            QTRY_COMPARE(model.notice.get(),
                         std::optional(u"Nothing on this desktop could open the %1."_s.arg(what).replace(
                             u"%1"_s, data)));
        });
        row("reveal", &AppModel::revealInFinder, u"folder \u201c%1/Vantor Platformer\u201d"_s);
        row("saves", &AppModel::showSaves, u"folder \u201c%1/Godot\u201d"_s);
        row(
            "page", [](AppModel &model) { model.browse(QUrl(u"https://example.org/a page"_s)); },
            u"page \u201chttps://example.org/a page\u201d"_s);
    }
    void aDesktopThatOpensNothingIsNamedInASentence() { runRow(); }

    void copyPutsTheMessageAndTheLinesOnThePasteboard()
    {
        Player player;
        AppModel &model = player.startModel();
        model.copyFailure(); // without a failure
        model.failureMessage = u"It failed."_s;
        model.failureLines = QStringList({ u"one"_s, u"two"_s, u"three"_s });
        model.copyFailure();
        QCOMPARE(player.pasteboard.texts, QStringList({ u"\n"_s, u"It failed.\none\ntwo\nthree"_s }));
    }
};

QTEST_GUILESS_MAIN(MaintenanceTest)
#include "MaintenanceTest.moc"
