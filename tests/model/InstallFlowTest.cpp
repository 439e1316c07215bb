#include "EngineManager.h"
#include "Player.h"

#include <QTest>

namespace {

const QString step1 = QStringLiteral("Step 1 of 4: downloading the game");
const QString step2 = QStringLiteral("Step 2 of 4: downloading Godot 4.6");
const QString step3 = QStringLiteral("Step 3 of 4: first-time setup, this can take a minute or more");
const QString step4 = QStringLiteral("Step 4 of 4: starting the game");
const QString netLine = QStringLiteral("This game uses C#; the .NET build of Godot was chosen. "
                                       "It may also need the .NET SDK installed.");

}

class InstallFlowTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFirstPlayRunsAllFourSteps()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        Diary diary(model);
        QVERIFY(player.playToRunning());
        QCOMPARE(diary.steps(), QStringList({ step1, step2, step3, step4 }));
        QCOMPARE(diary.states(),
                 QList<AppState>({ AppState::downloading(QStringLiteral("the game")),
                                   AppState::downloading(QStringLiteral("Godot 4.6")), AppState::settingUp(),
                                   AppState::starting() }));
        QCOMPARE(model.info.get()->name, QStringLiteral("Hill Run"));
        QCOMPARE(Player::scratch(), QStringList());
        QVERIFY(!model.progress.get());
        QVERIFY(model.progressDetail->isEmpty());
    }

    void theLogTellsTheStepsInOrder()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.playToRunning());
        QTRY_VERIFY(model.log.lines->last().startsWith(QStringLiteral("playing ")));
        const EngineSpec spec = EngineManager::spec(*model.info.get());
        const QString game = Paths::gameFolder();
        const QString host = player.host->address().toString();
        QCOMPARE(model.log.lines.get(),
                 QStringList({
                     QStringLiteral("Downloading the game from ") + host
                         + QStringLiteral("/Kestrelwood/Vantor/archive/refs/heads/master.zip"),
                     QStringLiteral("Unpacking the game"),
                     QStringLiteral("Game ready in ") + game,
                     QStringLiteral("Looking up the official checksum for ") + spec.fileName(),
                     QStringLiteral("Downloading Godot 4.6 from ") + spec.baseURL() + spec.fileName(),
                     QStringLiteral("Checking the download against the official SHA-512 checksum"),
                     QStringLiteral("Checksum matches"),
                     QStringLiteral("Unpacking the engine"),
                     QStringLiteral(
                         "Clearing the macOS download flag on the verified engine (so it can open without "
                         "a warning)"),
                     QStringLiteral("First-time setup, pass 1: godot --headless --import --path ") + game
                         + QStringLiteral(" --quit"),
                     QStringLiteral("imported"),
                     QStringLiteral("Starting the game: %1 --path %2 --windowed")
                         .arg(QFileInfo(*EngineManager::executable(spec)).fileName(), game),
                     QStringLiteral("playing --path %1 --windowed").arg(game),
                 }));
    }

    void aLaterPlaySkipsWhatIsInPlace_data()
    {
        QTest::addColumn<QStringList>("missing");
        QTest::addColumn<QStringList>("steps");
        QTest::newRow("everything is there") << QStringList() << QStringList({ step4 });
        QTest::newRow("no marker") << QStringList({ QStringLiteral("Game/.imported-4.6") })
                                   << QStringList({ step3, step4 });
        QTest::newRow("game only") << QStringList(
            { QStringLiteral("Game/.imported-4.6"), QStringLiteral("Engine") })
                                   << QStringList({ step2, step3, step4 });
        QTest::newRow("engine only, whose marker went with the game")
            << QStringList({ QStringLiteral("Game") }) << QStringList({ step1, step3, step4 });
    }

    void aLaterPlaySkipsWhatIsInPlace()
    {
        QFETCH(QStringList, missing);
        QFETCH(QStringList, steps);
        Player player;
        player.startHost();
        player.startModel();
        QVERIFY(player.install());
        for (const QString &name : missing) {
            const QString path = Paths::root() + QLatin1Char('/') + name;
            QVERIFY(QFileInfo(path).isDir() ? QDir(path).removeRecursively() : QFile::remove(path));
        }
        Diary diary(player.startModel());
        QVERIFY(player.playToRunning());
        QCOMPARE(diary.steps(), steps);
    }

    void playPressedTwiceQuicklyStartsOneFlow()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        model.play();
        model.play();
        QTRY_VERIFY(model.runner.isRunning);
        QCOMPARE(model.log.lines->filter(QStringLiteral("Downloading the game from")).size(), 1);
        QCOMPARE(model.log.lines->filter(QStringLiteral("Starting the game")).size(), 1);
    }

    void playWhileTheGameRunsDoesNothing()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.playToRunning());
        QTRY_VERIFY(!model.isWorking());
        const QStringList log = model.log.lines;
        model.play();
        QVERIFY(!model.isWorking());
        QCOMPARE(model.log.lines->first(), log.first());
    }

    void aCSharpGameLogsTheNetLineEveryTime()
    {
        Player player("\"4.6\", \"C#\"");
        player.startHost();
        AppModel &model = player.startModel();
        Diary diary(model);
        QVERIFY(player.playToRunning());
        QCOMPARE(model.log.lines->count(netLine), 1);
        QVERIFY(diary.steps().contains(QStringLiteral("Step 2 of 4: downloading Godot 4.6 (.NET)")));
        QVERIFY(player.stopGame());
        // The engine is installed by now, but the line is still logged.
        QVERIFY(player.playToRunning());
        QCOMPARE(model.log.lines->count(netLine), 1);
    }

    void anImportWithoutImportedFilesStillStartsTheGame()
    {
        Player player;
        player.writeGame(QStringLiteral("import.sh"), "exit 1\n");
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.playToRunning());
        const QStringList log = model.log.lines;
        const auto warning = log.indexOf(
            QStringLiteral("Setup did not report imported files; trying to start the game anyway."));
        QVERIFY(warning > 0);
        QVERIFY(log.at(warning + 1).startsWith(QStringLiteral("Starting the game: ")));
        QCOMPARE(log.count(QStringLiteral("No imported files found yet.")), 2);
        QVERIFY(player.stopGame());
        // No marker was written, so a restarted launcher does not count the game as ready.
        QCOMPARE(player.startModel().state.get(), AppState::notDownloaded());
    }

    void cancelDuringTheGamesDownloadEndsCancelledWithoutAFailure()
    {
        Player player;
        player.writeGame(QStringLiteral("big.bin"), QByteArray(400000, 'x') + QByteArray::number(1));
        player.startHost({ QStringLiteral("--slow"), QStringLiteral("500") });
        AppModel &model = player.startModel();
        model.play();
        QTRY_VERIFY(!model.progressDetail->isEmpty());
        model.cancel();
        model.cancel(); // a second press has no further effect
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.log.lines->last(), QStringLiteral("Cancelled."));
        QCOMPARE(model.log.lines->count(QStringLiteral("Cancelled.")), 1);
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QVERIFY(!model.failureMessage.get());
        QVERIFY(model.stepText->isEmpty());
        QCOMPARE(Player::scratch(), QStringList());

        player.startHost();
        QVERIFY(player.playToRunning());
    }

    void cancelRightAfterThePressEndsCancelledBeforeAnythingIsFetched()
    {
        Player player;
        player.startHost({ QStringLiteral("--slow"), QStringLiteral("50") });
        AppModel &model = player.startModel();
        model.play();
        model.cancel();
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.log.lines->last(), QStringLiteral("Cancelled."));
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QCOMPARE(Player::scratch(), QStringList());
    }

    void cancelDuringTheEnginesDownloadKeepsTheGame()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        QVERIFY(QDir(Paths::engineFolder()).removeRecursively());
        player.startHost({ QStringLiteral("--slow"), QStringLiteral("400") });
        model.play();
        // The checksum list comes first, just as slowly.
        QTRY_VERIFY_WITH_TIMEOUT(!model.progressDetail->isEmpty(), 20000);
        model.cancel();
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.log.lines->last(), QStringLiteral("Cancelled."));
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QCOMPARE(Player::scratch(), QStringList());

        player.startHost();
        Diary diary(model);
        QVERIFY(player.playToRunning());
        QCOMPARE(diary.steps(), QStringList({ step2, step4 }));
    }

    void cancelDuringTheImportEndsTheEngineAndTheNextPlayCompletes()
    {
        Player player;
        player.writeGame(
            QStringLiteral("import.sh"),
            "mkdir -p .godot\n[ -e second ] || { touch second; echo waiting; exec sleep 60; }\n");
        player.startHost();
        AppModel &model = player.startModel();
        model.play();
        QTRY_VERIFY(model.log.lines->contains(QStringLiteral("waiting")));
        model.cancel();
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.log.lines->last(), QStringLiteral("Cancelled."));
        QVERIFY(!model.log.lines->join(QLatin1Char('\n')).contains(QStringLiteral("pass 2")));
        // The cancelled pass left files that look imported but may be incomplete.
        QVERIFY(QFileInfo::exists(Paths::gameFolder() + QStringLiteral("/.godot")));
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QVERIFY(!model.failureMessage.get());
        Diary diary(model);
        QVERIFY(player.playToRunning());
        QCOMPARE(diary.steps(), QStringList({ step3, step4 }));
    }

    void playFromAFailureClearsTheFailureAndTheLog()
    {
        Player player;
        player.writeGame(QStringLiteral("play.sh"),
                         "[ -e second ] || { touch second; echo broken; exit 3; }\n"
                         "echo whole; exec sleep 60\n");
        player.startHost();
        AppModel &model = player.startModel();
        model.play();
        QTRY_VERIFY(player.hasFailed());
        QVERIFY(model.failureLines->contains(QStringLiteral("broken")));
        model.play();
        QVERIFY(!model.failureMessage.get());
        QVERIFY(model.failureLines->isEmpty());
        QVERIFY(model.log.lines->isEmpty());
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QTRY_VERIFY(model.log.lines->contains(QStringLiteral("whole")));
        QVERIFY(!model.log.lines->contains(QStringLiteral("broken")));
    }

    void aGameWhoseProjectCannotBeFoundAfterDownloadingFailsInOneSentence()
    {
        // The code host starts with a whole project, but the downloaded archive has no project file.
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(QFile::remove(player.home.filePath(QStringLiteral("repository/project.godot"))));
        model.play();
        QTRY_VERIFY(player.hasFailed());
        QCOMPARE(model.failureMessage.get(),
                 std::optional(QStringLiteral(
                     "The downloaded game has no project.godot file, so it cannot be started.")));
        QCOMPARE(model.stepText.get(), step1);
        QCOMPARE(Player::scratch(), QStringList());
    }

    void whatWasDownloadedBeforeAFailureIsKept()
    {
        Player player;
        player.startHost({ QStringLiteral("--engine-version"), QStringLiteral("4.5") });
        AppModel &model = player.startModel();
        model.play();
        QTRY_VERIFY(player.hasFailed());
        QCOMPARE(model.failureMessage.get(),
                 std::optional(QStringLiteral("Could not get the checksum list (server error 404).")));
        QCOMPARE(model.stepText.get(), step2);

        player.startHost();
        Diary diary(model);
        QVERIFY(player.playToRunning());
        QCOMPARE(diary.steps(), QStringList({ step2, step3, step4 }));
    }
};

QTEST_GUILESS_MAIN(InstallFlowTest)
#include "InstallFlowTest.moc"
