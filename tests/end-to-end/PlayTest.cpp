// The whole way from an empty folder to a running game, with a real engine and a real game, using only the
// model. ENGINE_LINE in the environment selects the engine line and the sample game: 3 or 4.

#include "Player.h"
#include "Rows.h"
#include "Texts.h"
#include "VirtualDisplay.h"

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

QString engineLine() { return qEnvironmentVariable("ENGINE_LINE"); }

/// The engine's program; empty, with the reason on standard error, if there is none.
QString realEngine()
{
    QProcess tool;
    tool.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    tool.start(QStringLiteral(TOOLS_FOLDER "/get-engine"), { engineLine() });
    if (!tool.waitForFinished(-1) || tool.exitCode() != 0)
        return QString();
    return QString::fromUtf8(tool.readAllStandardOutput()).trimmed();
}

}

class PlayTest final : public QObject {
    Q_OBJECT

public:
    explicit PlayTest(QString engine)
        : m_engine(std::move(engine))
    {
    }

private Q_SLOTS:
    void init()
    {
        constexpr std::chrono::minutes forAStep { 2 };
        m_player = std::make_unique<Player>(QStringLiteral(SAMPLES_FOLDER "/coin-run-") + engineLine(),
                                            m_engine, forAStep);
        m_player->start();
    }

    void cleanup() { m_player.reset(); }

    void theFirstPlayRunsAllStepsAndTheSecondOnlyTheLast()
    {
        AppModel &model = *m_player->model;
        Diary diary(model);
        QVERIFY(playTo(AppState::playing()));
        const EngineSpec spec = EngineManager::spec(*model.info.get());
        QCOMPARE(diary.steps(), Texts::steps(spec));
        QCOMPARE(
            diary.states(),
            QList<AppState>({ AppState::downloading(u"the game"_s), AppState::downloading(spec.displayName()),
                              AppState::settingUp(), AppState::starting(), AppState::playing() }));
        // Our lines come in this order, with the engine's own in between.
        qsizetype from = 0;
        for (const QString &line : Texts::firstLog(spec)) {
            const qsizetype found = model.log.lines->indexOf(line, from);
            QVERIFY2(found >= 0, qPrintable(line));
            from = found + 1;
        }
        QCOMPARE(Player::scratch(), QStringList());
        QVERIFY(!model.log.lines->join(u'\n').contains(u"SCRIPT ERROR"_s));

        QVERIFY(m_player->stopGame());
        QCOMPARE(model.log.lines->last(), Texts::stopped());
        QCOMPARE(model.state.get(), AppState::ready());
        QVERIFY(!saveFile().isEmpty());

        Diary second(model);
        QVERIFY(playTo(AppState::playing()));
        QCOMPARE(second.steps(), Texts::steps(spec).last(1));
    }

    void aGameThatEndsByItselfTooSoonFailsInTheTwoExactSentences_data()
    {
        const auto row = rows([this](int status, int seconds) {
            letTheGameEnd(status, seconds);
            AppModel &model = *m_player->model;
            QVERIFY(m_player->playToFailure());
            // The engine's own start-up adds to the game's time.
            QStringList sentences;
            for (double time = seconds; time < 10; time += 0.5)
                sentences << Texts::closedEarly(time, status);
            const QString sentence = *model.failureMessage.get();
            QVERIFY2(sentences.contains(sentence), qPrintable(sentence));
            QVERIFY(model.failureLines->contains(u"The end of the test game."_s));

            QVERIFY(m_player->playToRunning());
        });
        row("status 1 after two seconds", 1, 2);
        row("status 0 after three seconds", 0, 3);
    }
    void aGameThatEndsByItselfTooSoonFailsInTheTwoExactSentences() { runRow(); }

    void updateKeepsTheSaveDropsTheMarkerAndReinstallAndRemovalEndWhereTheyShould()
    {
        AppModel &model = *m_player->model;
        QVERIFY(playTo(AppState::playing()));
        QVERIFY(m_player->stopGame());
        const QString save = saveFile();
        QVERIFY(!save.isEmpty());
        const QString marker = EngineManager::markerURL(EngineManager::spec(*model.info.get()));
        QVERIFY(QFileInfo::exists(marker));

        QVERIFY(m_player->complete(&AppModel::updateGame));
        QCOMPARE(model.notice.get(), std::optional(Texts::updated));
        QVERIFY(!QFileInfo::exists(marker));
        QVERIFY(QFileInfo::exists(save));
        QCOMPARE(model.state.get(), AppState::notDownloaded());

        model.reinstall();
        QVERIFY(waitFor(AppState::playing()));
        QVERIFY(QFileInfo::exists(save));
        QVERIFY(m_player->stopGame());
        QCOMPARE(model.state.get(), AppState::ready());

        model.removeEverything();
        m_player->verifyRemoved();
        QVERIFY(QFileInfo::exists(save));
    }

    void cancelInEachStepLeavesNothingAndTheNextPlayCompletes()
    {
        AppModel &model = *m_player->model;
        m_player->startHost({ u"--slow"_s, u"100"_s });
        model.play();
        QVERIFY(m_player->waitFor([&] { return !model.progressDetail->isEmpty(); }));
        QCOMPARE(model.state.get(), AppState::downloading(u"the game"_s));
        cancelAndVerify();

        m_player->startHost({ u"--slow"_s, u"20000"_s });
        model.play();
        QVERIFY(m_player->waitFor([&] {
            return model.state->text().startsWith(u"Godot"_s)
                && (!model.progressDetail->isEmpty() || engineLine() == u"4"_s);
        }));
        cancelAndVerify();

        m_player->startHost();
        QVERIFY(playTo(AppState::settingUp()));
        cancelAndVerify();

        QVERIFY(playTo(AppState::playing()));
    }

private:
    bool playTo(const AppState &state) const
    {
        m_player->model->play();
        return waitFor(state);
    }

    /// Waits for `state`; a failure on the way ends the wait and is printed.
    bool waitFor(const AppState &state) const
    {
        const AppModel &model = *m_player->model;
        m_player->waitFor([&] { return model.state.get() == state || m_player->hasFailed(); });
        if (model.state.get() != state)
            qWarning().noquote() << model.failureMessage->value_or(QString()) << model.log.lines->join(u'\n');
        return model.state.get() == state;
    }

    void cancelAndVerify() const
    {
        m_player->model->cancel();
        m_player->verifyCancelled();
    }

    /// The path of the game's save below the engine's data folder, or an empty string.
    static QString saveFile()
    {
        QDirIterator files(Paths::godotData() + u"/app_userdata"_s, { u"*.cfg"_s }, QDir::Files,
                           QDirIterator::Subdirectories);
        return files.hasNext() ? files.next() : QString();
    }

    /// Makes the repository's copy of the game end itself with `status` after `seconds`.
    void letTheGameEnd(int status, int seconds) const
    {
        const QString wait = engineLine() == u"3"_s ? u"yield(get_tree().create_timer(%1), \"timeout\")"_s
                                                    : u"await get_tree().create_timer(%1).timeout"_s;
        const QString script = u"extends Node\nfunc _ready():\n\t%1\n\tprint(\"The end of the test game.\")\n"
                               "\tget_tree().quit(%2)\n"_s.arg(wait.arg(seconds))
                                   .arg(status);
        m_player->writeGame(u"the_end.gd"_s, script.toUtf8());
        m_player->writeGame(u"project.godot"_s,
                            m_player->home.read(m_player->repository() + u"/project.godot"_s)
                                + "\n[autoload]\n\nTheEnd=\"*res://the_end.gd\"\n");
    }

    const QString m_engine;
    std::unique_ptr<Player> m_player;
};

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QString engine = realEngine();
    if (engine.isEmpty()) {
        std::fprintf(stderr, "Skipped: there is no engine of the %s line here.\n", qPrintable(engineLine()));
        return 77;
    }
    const VirtualDisplay display;
    PlayTest test(engine);
    return QTest::qExec(&test, argc, argv);
}

#include "PlayTest.moc"
