#include "ScriptedHost.h"
#include "Texts.h"

#include <QTest>

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
        QVERIFY(player.playToRunning());
        const EngineSpec spec = EngineManager::spec(*model.info.get());
        QCOMPARE(diary.steps(), Texts::steps(spec));
        QCOMPARE(
            diary.states(),
            QList<AppState>({ AppState::downloading(u"the game"_s), AppState::downloading(spec.displayName()),
                              AppState::settingUp(), AppState::starting() }));
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
        QTest::addColumn<QStringList>("missing");
        QTest::addColumn<QList<int>>("steps");
        const QString marker = u"Game/.imported-4.6"_s;
        QTest::newRow("everything is there") << QStringList() << QList<int>({ 4 });
        QTest::newRow("no marker") << QStringList(marker) << QList<int>({ 3, 4 });
        QTest::newRow("no engine") << QStringList(u"Engine"_s) << QList<int>({ 2, 4 });
        QTest::newRow("game only") << QStringList({ marker, u"Engine"_s }) << QList<int>({ 2, 3, 4 });
        QTest::newRow("engine only, whose marker went with the game")
            << QStringList(u"Game"_s) << QList<int>({ 1, 3, 4 });
    }

    void aLaterPlaySkipsWhatIsInPlace()
    {
        QFETCH(QStringList, missing);
        QFETCH(QList<int>, steps);
        Player player;
        player.start();
        QVERIFY(player.install());
        const QStringList all = Texts::steps();
        for (const QString &name : missing) {
            const QString path = Paths::root() + u'/' + name;
            QVERIFY(QFileInfo(path).isDir() ? QDir(path).removeRecursively() : QFile::remove(path));
        }
        AppModel &model = player.startModel();
        QCOMPARE(model.state.get(), missing.isEmpty() ? AppState::ready() : AppState::notDownloaded());
        Diary diary(model);
        QVERIFY(player.playToRunning());
        QStringList expected;
        for (const int step : steps)
            expected << all.at(step - 1);
        QCOMPARE(diary.steps(), expected);
    }

    void playPressedTwiceQuicklyStartsOneFlow()
    {
        Player player;
        AppModel &model = player.start();
        model.play();
        QVERIFY(player.playToRunning());
        const QStringList log = Texts::firstLog(EngineManager::spec(*model.info.get()));
        QCOMPARE(model.log.lines->count(log.first()), 1);
        QCOMPARE(model.log.lines->count(log.last()), 1);
    }

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

    void anImportWithoutImportedFilesStillStartsTheGame()
    {
        Player player;
        player.writeGame(u"import.sh"_s, "exit 1\n");
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
    }

    void cancelDuringTheGamesDownloadEndsCancelledWithoutAFailure()
    {
        Player player;
        player.writeGame(u"big.bin"_s, QByteArray(400000, 'x'));
        AppModel &model = player.start({ u"--slow"_s, u"500"_s });
        model.play();
        QTRY_VERIFY(!model.progressDetail->isEmpty());
        model.cancel();
        model.cancel(); // a second press has no further effect
        verifyCancelled(player);
        QCOMPARE(model.log.lines->count(Texts::cancelled), 1);
        QVERIFY(model.stepText->isEmpty());

        player.startHost();
        QVERIFY(player.playToRunning());
    }

    void cancelRightAfterThePressEndsCancelledBeforeAnythingIsFetched()
    {
        Player player;
        AppModel &model = player.start({ u"--slow"_s, u"50"_s });
        model.play();
        model.cancel();
        verifyCancelled(player);
    }

    void cancelDuringTheEnginesDownloadKeepsTheGame()
    {
        Player player;
        ScriptedHost host(player);
        host.server.serve(ScriptedHost::enginePath(),
                          HttpReply::head(200, { "Content-Length: 10000" }).send("some").stall());
        AppModel &model = player.startInstalled();
        QVERIFY(QDir(Paths::engineFolder()).removeRecursively());
        model.play();
        QTRY_VERIFY(!model.progressDetail->isEmpty());
        model.cancel();
        verifyCancelled(player);

        host.serveEngine(host.engineArchive());
        Diary diary(model);
        QVERIFY(player.playToRunning());
        const QStringList steps = Texts::steps();
        QCOMPARE(diary.steps(), QStringList({ steps.at(1), steps.at(3) }));
    }

    void cancelDuringTheImportEndsTheEngineAndTheNextPlayCompletes()
    {
        Player player;
        player.writeGame(
            u"import.sh"_s,
            "mkdir -p .godot\n[ -e second ] || { touch second; echo waiting; exec sleep 60; }\n");
        AppModel &model = player.start();
        model.play();
        QTRY_VERIFY(model.log.lines->contains(u"waiting"_s));
        model.cancel();
        verifyCancelled(player);
        QVERIFY(!model.log.lines->contains(Texts::importPass(2)));
        // The cancelled pass left files that look imported but may be incomplete.
        QVERIFY(Player::hasInstalled(u".godot"_s));
        Diary diary(model);
        QVERIFY(player.playToRunning());
        QCOMPARE(diary.steps(), Texts::steps().last(2));
    }

private:
    /// Verifies that the action ends because it was cancelled, and leaves no scratch.
    static void verifyCancelled(const Player &player)
    {
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(player.model->log.lines->last(), Texts::cancelled);
        QCOMPARE(player.model->state.get(), AppState::notDownloaded());
        QVERIFY(!player.model->failureMessage.get());
        QCOMPARE(Player::scratch(), QStringList());
    }
};

QTEST_GUILESS_MAIN(InstallFlowTest)
#include "InstallFlowTest.moc"
