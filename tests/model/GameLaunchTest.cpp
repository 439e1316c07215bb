#include "Player.h"
#include "Rows.h"
#include "Texts.h"

#include <QTimer>

using namespace Qt::StringLiterals;

class GameLaunchTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSettingsReachTheEnginesCommandLine_data()
    {
        const auto row = rows([](bool fullscreen, const QString &resolution, const QString &arguments) {
            Player player;
            AppModel &model = player.startInstalled();
            if (fullscreen)
                player.preferences.setFullscreen(true);
            if (!resolution.isEmpty())
                player.preferences.setResolution(resolution);
            QVERIFY(player.playToRunning());
            QTRY_COMPARE(model.log.lines->last(),
                         u"playing --path %1 %2"_s.arg(Paths::gameFolder(), arguments));
            // A game of the 4.x line is not edited.
            const QByteArray project = player.home.read(Paths::gameFolder() + u"/project.godot"_s);
            QVERIFY(project.contains("config_version=5") && !project.contains("emulate_touch_from_mouse"));
        });
        row("nothing stored", false, {}, u"--windowed"_s);
        row("a size", false, u"1600x900"_s, u"--windowed --resolution 1600x900"_s);
        row("full screen leaves the size out", true, u"1600x900"_s, u"--fullscreen"_s);
    }
    void theSettingsReachTheEnginesCommandLine() { runRow(); }

    void startingBecomesPlayingAfterFourSecondsWhichCancelDoesNotTouch()
    {
        Player player;
        AppModel &model = player.startInstalled();
        std::optional<AppState> beforeFour, afterFour;
        const QObject context;
        // Due before and after the model's own timer: however busy the machine is, they fire in this order.
        connect(
            &model.runner, &Observable::willChange, &context,
            [&] {
                const auto look = [&](std::optional<AppState> *into) {
                    return [&model, into] { *into = model.state.get(); };
                };
                QTimer::singleShot(3900, Qt::PreciseTimer, &context, look(&beforeFour));
                QTimer::singleShot(4400, Qt::PreciseTimer, &context, look(&afterFour));
            },
            Qt::SingleShotConnection);
        QVERIFY(player.playToRunning());
        const QString step = model.stepText;
        QVERIFY(!step.isEmpty());
        model.cancel();
        QTRY_VERIFY_WITH_TIMEOUT(afterFour, 10'000);
        QCOMPARE(beforeFour, std::optional(AppState::starting()));
        QCOMPARE(afterFour, std::optional(AppState::playing()));
        QCOMPARE(model.stepText.get(), step);
        QVERIFY(model.runner.isRunning);
    }

    void theTimerOfAnEarlierGameChangesNothing()
    {
        Player player;
        AppModel &model = player.startInstalled();
        QVERIFY(player.install()); // the first game, and its timer
        QTest::qWait(1500);
        QVERIFY(player.playToRunning());
        // After the first game's timer, before the second one's.
        std::optional<AppState> between;
        QTimer::singleShot(3000, Qt::PreciseTimer, &model, [&] { between = model.state.get(); });
        QTRY_VERIFY_WITH_TIMEOUT(between, 10'000);
        QCOMPARE(between, std::optional(AppState::starting()));
        QVERIFY(player.stopGame());
        QTest::qWait(1500); // past the second one's, which nothing announces
        QCOMPARE(model.state.get(), AppState::ready());
    }

    void aStoppedGameIsNoFailure_data()
    {
        const auto row = rows([](const Player::Action &stop) {
            Player player;
            AppModel &model = player.startInstalled();
            QVERIFY(player.playToRunning());
            QTRY_VERIFY(model.log.lines->last().startsWith(u"playing"_s));
            stop(model);
            QTRY_VERIFY(!model.runner.isRunning);
            QCOMPARE(model.log.lines->last(), Texts::stopped());
            stop(model); // nothing runs any more
            QCOMPARE(model.state.get(), AppState::ready());
            QVERIFY(model.stepText->isEmpty());
            QVERIFY(!model.failureMessage.get());
        });
        row("with Stop", [](AppModel &model) { model.runner.stop(); });
        row("by quitting", &AppModel::stopForQuit);
    }
    void aStoppedGameIsNoFailure() { runRow(); }

    void aGameOfThe3LineHasItsProjectFileEditedBeforeEveryStart()
    {
        Player player("", "4");
        AppModel &model = player.startInstalled();
        const QString edited
            = u"Enabled mouse clicks as touch in the downloaded copy so the game's buttons work "
              "on a Mac."_s;
        QVERIFY(player.playToRunning());
        QTRY_VERIFY(model.log.lines->size() >= 2);
        QCOMPARE(model.log.lines->first(2),
                 QStringList({ edited, Texts::starting(EngineManager::spec(*model.info.get())) }));
        QVERIFY(player.stopGame());
        QVERIFY(player.playToRunning());
        QVERIFY(!model.log.lines->contains(edited)); // the edit is already there
    }
};

QTEST_GUILESS_MAIN(GameLaunchTest)
#include "GameLaunchTest.moc"
