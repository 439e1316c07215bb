#include "Player.h"
#include "Rows.h"
#include "Texts.h"

using namespace Qt::StringLiterals;

namespace {

const QString netLine = u"This game uses C#; the .NET build of Godot was chosen. "
                        "It may also need the .NET SDK installed."_s;

}

class InstallFlowTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFirstPlayRunsAllFourSteps()
    {
        Player player;
        AppModel &model = player.start();
        Diary diary(model);
        model.play(); // a second press has no further effect
        QVERIFY(player.playToRunning());
        const EngineSpec spec = EngineManager::spec(*model.info.get());
        QCOMPARE(diary.steps(), Texts::steps(spec));
        QCOMPARE(
            diary.states(),
            QList<AppState>({ AppState::downloading(u"the game"_s), AppState::downloading(spec.displayName()),
                              AppState::settingUp(), AppState::starting() }));
        // The branch archive is served without a Content-Length, the engine's archive with one.
        QVERIFY(!diary.fractions().isEmpty() && !diary.fractions().first());
        QVERIFY(diary.fractions().contains(std::optional(1.0)));
        QCOMPARE(model.info.get()->name, u"Hill Run"_s);
        QCOMPARE(Player::scratch(), QStringList());
        QVERIFY(!model.progress.get());
        QVERIFY(model.progressDetail->isEmpty());

        QTRY_VERIFY(model.log.lines->last().startsWith(u"playing "_s));
        QStringList expected = Texts::firstLog(spec);
        expected.insert(expected.size() - 1, u"imported"_s);
        expected << u"playing --path %1 --windowed"_s.arg(Paths::gameFolder());
        QCOMPARE(model.log.lines.get(), expected);
    }

    void aLaterPlaySkipsWhatIsInPlace_data()
    {
        const auto row = rows([](const QStringList &missing, const QList<int> &steps) {
            Player player;
            player.start();
            QVERIFY(player.install());
            for (const QString &name : missing)
                Player::deleteOwn(name);
            AppModel &model = player.startModel();
            QCOMPARE(model.state.get(), missing.isEmpty() ? AppState::ready() : AppState::notDownloaded());
            Diary diary(model);
            QVERIFY(player.playToRunning());
            QCOMPARE(diary.steps(), Texts::onlySteps(steps));
        });
        const QString marker = u"Game/.imported-4.6"_s;
        row("everything is there", {}, { 4 });
        row("no marker", { marker }, { 3, 4 });
        row("no engine", { u"Engine"_s }, { 2, 4 });
        row("game only", { marker, u"Engine"_s }, { 2, 3, 4 });
        row("engine only, whose marker went with the game", { u"Game"_s }, { 1, 3, 4 });
    }
    void aLaterPlaySkipsWhatIsInPlace() { runRow(); }

    void aCSharpGameLogsTheNetLineEveryTime()
    {
        Player player("\"4.6\", \"C#\"");
        AppModel &model = player.start();
        Diary diary(model);
        QVERIFY(player.playToRunning());
        const EngineSpec spec = EngineManager::spec(*model.info.get());
        QVERIFY(spec.isMono);
        QCOMPARE(diary.steps(), Texts::steps(spec));
        // After the engine, before the import.
        const QStringList log = model.log.lines;
        QCOMPARE(log.count(netLine), 1);
        QCOMPARE(log.indexOf(netLine), log.indexOf(Texts::importPass(1)) - 1);
        QVERIFY(player.stopGame());
        // The engine is installed by now, but the line is still logged.
        QVERIFY(player.playToRunning());
        QCOMPARE(model.log.lines->count(netLine), 1);
    }

    void anImportWithoutImportedFilesStillStartsTheGame_data()
    {
        const auto row = rows([](const QByteArray &script) {
            Player player;
            player.writeGame(u"import.sh"_s, script);
            AppModel &model = player.start();
            QVERIFY(player.playToRunning());
            const QStringList log = model.log.lines;
            const auto warning = log.indexOf(Texts::startsAnyway);
            QVERIFY(warning > 0);
            QCOMPARE(log.at(warning + 1), Texts::starting(EngineManager::spec(*model.info.get())));
            QCOMPARE(log.count(Texts::nothingImported), 2);
            QVERIFY(player.stopGame());
            // No marker was written, so a restarted launcher does not count the game as ready.
            QCOMPARE(player.startModel().state.get(), AppState::notDownloaded());
        });
        row("none", "exit 1");
        row("on a disk that is not there", "ln -sfn /nonexistent/disk .godot");
    }
    void anImportWithoutImportedFilesStillStartsTheGame() { runRow(); }
};

QTEST_GUILESS_MAIN(InstallFlowTest)
#include "InstallFlowTest.moc"
