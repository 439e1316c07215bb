#include "EngineManager.h"
#include "Player.h"

#include <QElapsedTimer>
#include <QTest>

class GameLaunchTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSettingsReachTheEnginesCommandLine_data()
    {
        QTest::addColumn<bool>("fullscreen");
        QTest::addColumn<QString>("resolution");
        QTest::addColumn<QString>("arguments");
        QTest::newRow("nothing stored") << false << QString() << QStringLiteral("--windowed");
        QTest::newRow("default") << false << QStringLiteral("default") << QStringLiteral("--windowed");
        QTest::newRow("a size") << false << QStringLiteral("1600x900")
                                << QStringLiteral("--windowed --resolution 1600x900");
        QTest::newRow("full screen leaves the size out")
            << true << QStringLiteral("1600x900") << QStringLiteral("--fullscreen");
    }

    void theSettingsReachTheEnginesCommandLine()
    {
        QFETCH(bool, fullscreen);
        QFETCH(QString, resolution);
        QFETCH(QString, arguments);
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        if (fullscreen)
            player.preferences.setFullscreen(true);
        if (!resolution.isEmpty())
            player.preferences.setResolution(resolution);
        QVERIFY(player.playToRunning());
        const QString line = QStringLiteral("playing --path %1 %2").arg(Paths::gameFolder(), arguments);
        QTRY_COMPARE(model.log.lines->last(), line);
    }

    void startingBecomesPlayingAfterFourSeconds()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        // No install() first: it runs a game, too, whose timer would still be pending.
        QElapsedTimer sinceStart;
        connect(&model, &Observable::willChange, this, [&] {
            if (model.stepText->startsWith(QStringLiteral("Step 4")) && !sinceStart.isValid())
                sinceStart.start();
        });
        QVERIFY(player.playToRunning());
        QCOMPARE(model.state.get(), AppState::starting());
        QTRY_COMPARE_WITH_TIMEOUT(model.state.get(), AppState::playing(), 10000);
        QVERIFY(sinceStart.elapsed() >= 4000);
        QCOMPARE(model.stepText.get(), QStringLiteral("Step 4 of 4: starting the game"));
    }

    void aTimerOfAnEarlierGameDoesNotMakeALaterOnePlaying()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.playToRunning());
        QVERIFY(player.stopGame());
        QCOMPARE(model.state.get(), AppState::ready());
        QTest::qWait(4200); // longer than the timer, whose firing nothing announces
        QCOMPARE(model.state.get(), AppState::ready());
    }

    void theTimerOfAnEarlierGameDoesNotMakeTheNextOnePlayingEarly()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install()); // the first game, and its timer
        QTest::qWait(1500);
        QElapsedTimer sinceStart;
        sinceStart.start();
        QVERIFY(player.playToRunning());
        QCOMPARE(model.state.get(), AppState::starting());
        QTRY_COMPARE_WITH_TIMEOUT(model.state.get(), AppState::playing(), 10000);
        QVERIFY2(sinceStart.elapsed() >= 4000, qPrintable(QString::number(sinceStart.elapsed())));
    }

    void aStoppedGameIsNoFailure()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.playToRunning());
        QVERIFY(player.stopGame());
        QCOMPARE(model.log.lines->last(), QStringLiteral("Game stopped."));
        QCOMPARE(model.state.get(), AppState::ready());
        QVERIFY(model.stepText->isEmpty());
        QVERIFY(!model.failureMessage.get());
    }

    void aGameThatEndsEarlyFailsWithItsLastLines_data()
    {
        QTest::addColumn<QByteArray>("play");
        QTest::addColumn<QString>("message");
        const QString message
            = QStringLiteral("The game closed after only %1 (exit code %2), so it did not start "
                             "properly. These are the last lines of its log:");
        QTest::newRow("status 1 at once") << QByteArray("echo last words >&2; exit 1")
                                          << message.arg(QStringLiteral("0 seconds"), QStringLiteral("1"));
        QTest::newRow("status 0 after a second")
            << QByteArray("echo last words; sleep 1")
            << message.arg(QStringLiteral("1 second"), QStringLiteral("0"));
        QTest::newRow("a signal") << QByteArray("echo last words; kill -SEGV $$")
                                  << message.arg(QStringLiteral("0 seconds"), QStringLiteral("11"));
    }

    void aGameThatEndsEarlyFailsWithItsLastLines()
    {
        QFETCH(QByteArray, play);
        QFETCH(QString, message);
        Player player;
        player.writeGame(QStringLiteral("play.sh"), play);
        player.startHost();
        AppModel &model = player.startModel();
        model.play();
        QTRY_VERIFY_WITH_TIMEOUT(player.hasFailed(), 20000);
        QCOMPARE(model.failureMessage.get(), std::optional(message));
        QCOMPARE(model.failureLines->last(), QStringLiteral("last words"));
        QCOMPARE(model.state.get(), AppState::needs(message));
        QVERIFY(model.stepText->isEmpty());
    }

    void anEngineThatCannotBeStartedIsReportedWithItsReason()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        const QString engine = *EngineManager::executable(EngineManager::spec(*model.info.get()));
        QFile file(engine);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("#!/no/such/interpreter\n");
        file.close();
        model.play();
        QTRY_VERIFY(player.hasFailed());
        QCOMPARE(
            model.failureMessage.get(),
            std::optional(QStringLiteral("The game closed after only 0 seconds (exit code -1), so it did not "
                                         "start properly. These are the last lines of its log:")));
        QCOMPARE(model.failureLines->last(),
                 QStringLiteral("Could not start %1: No such file or directory")
                     .arg(QFileInfo(engine).fileName()));
    }

    void aGameOfThe3LineHasItsProjectFileEditedBeforeEveryStart()
    {
        Player player("", "4");
        player.writeGame(QStringLiteral("import.sh"), "mkdir -p .import; touch .import/picture\n");
        player.startHost();
        AppModel &model = player.startModel();
        const QString edited
            = QStringLiteral("Enabled mouse clicks as touch in the downloaded copy so the game's "
                             "buttons work on a Mac.");
        QVERIFY(player.playToRunning());
        QCOMPARE(model.log.lines->count(edited), 1);
        QVERIFY(model.log.lines->indexOf(edited)
                < model.log.lines->indexOf(QRegularExpression(QStringLiteral("^Starting the game.*"))));
        QVERIFY(player.stopGame());
        QVERIFY(player.playToRunning());
        QCOMPARE(model.log.lines->count(edited), 0); // the edit is already there
    }

    void aGameOfThe4LineIsNotEdited()
    {
        Player player;
        player.startHost();
        player.startModel();
        QVERIFY(player.playToRunning());
        QFile project(Paths::gameFolder() + QStringLiteral("/project.godot"));
        QVERIFY(project.open(QIODevice::ReadOnly));
        QVERIFY(!project.readAll().contains("emulate_touch_from_mouse"));
    }

    void quittingStopsTheGameAsTheUserWould()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.playToRunning());
        model.stopForQuit();
        QTRY_VERIFY(!model.runner.isRunning);
        QCOMPARE(model.log.lines->last(), QStringLiteral("Game stopped."));
        model.stopForQuit(); // nothing runs any more
        QCOMPARE(model.state.get(), AppState::ready());
    }
};

QTEST_GUILESS_MAIN(GameLaunchTest)
#include "GameLaunchTest.moc"
