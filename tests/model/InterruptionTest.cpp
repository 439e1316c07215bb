// Whatever an action is doing: Cancel, Remove everything and quitting end it at once and leave nothing of it.

#include "ScriptedHost.h"
#include "Strain.h"
#include "Table.h"
#include "Texts.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;

namespace {

enum class Moment { Press, Download, Unpacking, Import, Update };

}

class InterruptionTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_scene = std::make_unique<Scene>(); }
    void cleanup() { m_scene.reset(); }

    void cancelEndsItAndTheNextPlayCompletes_data() { addMoments(); }
    void cancelEndsItAndTheNextPlayCompletes()
    {
        QFETCH(QList<int>, steps);
        reachTheMoment();
        AppModel &model = *m_scene->player.model;
        const QStringList log = model.log.lines;
        QElapsedTimer time;
        time.start();
        model.cancel();
        model.cancel(); // a second press has no further effect
        m_scene->player.verifyCancelled(m_before);
        QVERIFY2(time.elapsed() <= mostTime, QByteArray::number(time.elapsed()).constData());
        QCOMPARE(loggedAfter(log), QStringList(Texts::cancelled));
        QVERIFY(model.stepText->isEmpty());
        QVERIFY(!model.notice.get());
        QCOMPARE(QFileInfo::exists(EngineManager::folder(ScriptedHost::engine())), !steps.contains(2));

        Desktop::use(std::nullopt);
        m_scene->host.serveGame(ScriptedHost::gameArchive());
        m_scene->host.serveEngine(m_scene->host.engineArchive());
        Diary diary(model);
        QVERIFY(m_scene->player.playToRunning());
        QCOMPARE(diary.steps(), Texts::onlySteps(steps));
    }

    void removeEverythingEndsItAndItsLineComesAfterwards_data() { addMoments(); }
    void removeEverythingEndsItAndItsLineComesAfterwards()
    {
        reachTheMoment();
        AppModel &model = *m_scene->player.model;
        model.removeEverything();
        QVERIFY(model.log.lines->isEmpty());
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        m_scene->player.verifyCancelled();
        QCOMPARE(loggedAfter({}), QStringList(Texts::cancelled));
        m_scene->player.verifyRemoved();
    }

    void quittingEndsItAndNothingStartsAfterwards_data() { addMoments(); }
    void quittingEndsItAndNothingStartsAfterwards()
    {
        reachTheMoment();
        AppModel &model = *m_scene->player.model;
        const auto quitting = model.prepareToQuit();
        QTRY_VERIFY(quitting.isReady());
        QVERIFY(!model.isWorking());
        m_scene->player.verifyCancelled(m_before);
        model.play();
        QVERIFY(!model.isWorking());
        QCOMPARE(m_scene->player.startModel().state.get(), m_before);
    }

private:
    /// Milliseconds that a cancellation may take; sanitizers slow everything down.
    static constexpr qint64 mostTime = Strain::isMeasurable() ? 500 : 2000;

    /// Each moment, what is not in place then, and the steps of the Play that follows a Cancel.
    static void addMoments()
    {
        const auto row = table<Moment, QStringList, QList<int>>("moment", "missing", "steps");
        const QString game = u"Game"_s, engine = u"Engine"_s, marker = u"Game/.imported-4.6"_s;
        row("right after the press", Moment::Press, { game, engine }, { 1, 2, 3, 4 });
        row("right after the press, with all in place", Moment::Press, {}, { 4 });
        row("in the game's download", Moment::Download, { game }, { 1, 3, 4 });
        row("in the engine's download", Moment::Download, { engine }, { 2, 4 });
        row("while the game is unpacked", Moment::Unpacking, { game, engine }, { 1, 2, 3, 4 });
        row("while the engine is unpacked", Moment::Unpacking, { engine }, { 2, 4 });
        row("in the import", Moment::Import, { marker }, { 3, 4 });
        row("in an update's download", Moment::Update, {}, { 4 });
    }

    /// Brings the player to the row's moment of an action that would go on for long.
    void reachTheMoment()
    {
        QFETCH(Moment, moment);
        QFETCH(QStringList, missing);
        auto &[player, host] = *m_scene;
        m_before = missing.isEmpty() ? AppState::ready() : AppState::notDownloaded();
        // A pass that is cancelled leaves files that look imported but may be incomplete.
        player.writeGame(u"import.sh"_s,
                         "[ -e second ] && exit; touch second; mkdir .godot\n"
                         "trap 'mkdir -p \"$project/.godot\"; exit 0' TERM\n"
                         "echo waiting; while :; do sleep 0.05; done\n");
        player.putInPlace();
        for (const QString &name : missing)
            Player::deleteOwn(name);
        const AppModel &model = player.startModel();
        if (moment == Moment::Unpacking)
            player.useUnpackTool("echo half > $4/half; touch ~/unpacking; exec sleep 60");
        if (moment == Moment::Download || moment == Moment::Update) {
            const HttpReply endless = HttpReply::head(200, { "Content-Length: 10000" }).send("PK").stall();
            host.server.serve(ScriptedHost::gamePath(), endless);
            host.server.serve(ScriptedHost::enginePath(), endless);
        }

        (player.model.get()->*(moment == Moment::Update ? &AppModel::updateGame : &AppModel::play))();
        const QString unpacking = player.home.filePath(u"unpacking"_s);
        QVERIFY(player.waitFor([&model, &unpacking, moment] {
            if (moment == Moment::Unpacking)
                return QFileInfo::exists(unpacking);
            if (moment == Moment::Import)
                return model.log.lines->contains(u"waiting"_s);
            return moment == Moment::Press || !model.progressDetail->isEmpty();
        }));
    }

    /// What was logged after `log`, except that a download begins: an action that is over may get so far.
    QStringList loggedAfter(const QStringList &log) const
    {
        QStringList lines = m_scene->player.model->log.lines->mid(log.size());
        lines.removeAll(Texts::firstLog(ScriptedHost::engine()).first());
        return lines;
    }

    AppState m_before = AppState::notDownloaded();
    std::unique_ptr<Scene> m_scene;
};

QTEST_GUILESS_MAIN(InterruptionTest)
#include "InterruptionTest.moc"
