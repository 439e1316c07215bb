// The whole way from an empty folder to a running game, with a real engine and a real game, using only the
// model. ENGINE_LINE in the environment selects the engine line and the sample game: 3 or 4.

#include "AppModel.h"
#include "EngineManager.h"
#include "LocalCodeHost.h"
#include "Paths.h"
#include "Player.h"
#include "VirtualDisplay.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QTest>

#include <cstdio>
#include <filesystem>

namespace {

constexpr int engineTime = 120000; // milliseconds that a real engine may take for a step

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

void copyFolder(const QString &from, const QString &to)
{
    std::filesystem::create_directories(std::filesystem::path(to.toStdString()).parent_path());
    std::filesystem::copy(from.toStdString(), to.toStdString(), std::filesystem::copy_options::recursive);
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
        m_home = std::make_unique<TestHome>();
        m_repository = m_home->filePath(QStringLiteral("repository"));
        copyFolder(QStringLiteral(SAMPLES_FOLDER "/coin-run-") + engineLine(), m_repository);
        m_preferences = std::make_unique<Preferences>(m_home->filePath(QStringLiteral("preferences.ini")));
        startHost();
        startModel();
    }

    void cleanup()
    {
        m_model->cancel();
        QVERIFY(QTest::qWaitFor(
            [this] {
                m_model->stopForQuit();
                return !m_model->isWorking() && !m_model->runner.isRunning;
            },
            engineTime));
        m_model.reset();
        m_host.reset();
        m_home.reset();
    }

    void theFirstPlayRunsAllStepsAndTheSecondOnlyTheLast()
    {
        Diary diary(*m_model);
        m_model->play();
        QVERIFY(waitFor(AppState::playing()));
        const QString engineName = spec().displayName();
        QCOMPARE(
            diary.steps(),
            QStringList({ QStringLiteral("Step 1 of 4: downloading the game"),
                          QStringLiteral("Step 2 of 4: downloading ") + engineName,
                          QStringLiteral("Step 3 of 4: first-time setup, this can take a minute or more"),
                          QStringLiteral("Step 4 of 4: starting the game") }));
        QCOMPARE(diary.states(),
                 QList<AppState>({ AppState::downloading(QStringLiteral("the game")),
                                   AppState::downloading(engineName), AppState::settingUp(),
                                   AppState::starting(), AppState::playing() }));
        verifyLogOfAFirstPlay();
        QCOMPARE(Player::scratch(), QStringList());
        QVERIFY(!m_model->log.lines->join(QLatin1Char('\n')).contains(QStringLiteral("SCRIPT ERROR")));

        m_model->runner.stop();
        QVERIFY(waitUntilIdle());
        QCOMPARE(m_model->log.lines->last(), QStringLiteral("Game stopped."));
        QCOMPARE(m_model->state.get(), AppState::ready());
        QVERIFY(!saveFile().isEmpty());

        Diary second(*m_model);
        m_model->play();
        QVERIFY(waitFor(AppState::playing()));
        QCOMPARE(second.steps(), QStringList({ QStringLiteral("Step 4 of 4: starting the game") }));
    }

    void aGameThatEndsByItselfTooSoonFailsInTheTwoExactSentences_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("seconds");
        QTest::newRow("status 1 after two seconds") << 1 << 2;
        QTest::newRow("status 0 after three seconds") << 0 << 3;
    }

    void aGameThatEndsByItselfTooSoonFailsInTheTwoExactSentences()
    {
        QFETCH(int, status);
        QFETCH(int, seconds);
        letTheGameEnd(status, seconds);
        m_model->play();
        QVERIFY(
            QTest::qWaitFor([this] { return m_model->state->kind() == AppState::Case::Needs; }, engineTime));
        const QRegularExpression sentence(
            QStringLiteral(
                "^The game closed after only (\\d+) seconds \\(exit code %1\\), so it did not start "
                "properly\\. These are the last lines of its log:$")
                .arg(status));
        const auto match = sentence.match(m_model->failureMessage->value_or(QString()));
        QVERIFY2(match.hasMatch(), qPrintable(m_model->failureMessage->value_or(QString())));
        // The engine's own start-up adds to the game's time.
        QVERIFY(match.captured(1).toInt() >= seconds);
        QVERIFY(m_model->failureLines->contains(QStringLiteral("The end of the test game.")));

        m_model->play();
        QVERIFY(QTest::qWaitFor([this] { return m_model->runner.isRunning.get(); }, engineTime));
    }

    void updateKeepsTheSaveDropsTheMarkerAndReinstallAndRemovalEndWhereTheyShould()
    {
        m_model->play();
        QVERIFY(waitFor(AppState::playing()));
        m_model->runner.stop();
        QVERIFY(waitUntilIdle());
        const QString save = saveFile();
        QVERIFY(!save.isEmpty());
        const QString marker = EngineManager::markerURL(spec());
        QVERIFY(QFileInfo::exists(marker));

        m_model->updateGame();
        QVERIFY(waitUntilIdle());
        QCOMPARE(m_model->notice.get(), std::optional(QStringLiteral("The game was updated.")));
        QVERIFY(!QFileInfo::exists(marker));
        QVERIFY(QFileInfo::exists(save));
        QCOMPARE(m_model->state.get(), AppState::notDownloaded());

        m_model->reinstall();
        QVERIFY(waitFor(AppState::playing()));
        QVERIFY(QFileInfo::exists(save));
        m_model->runner.stop();
        QVERIFY(waitUntilIdle());
        QCOMPARE(m_model->state.get(), AppState::ready());

        m_model->removeEverything();
        QVERIFY(!QFileInfo::exists(Paths::root()));
        QVERIFY(QFileInfo::exists(save));
        QCOMPARE(m_model->notice.get(), std::optional(QStringLiteral("Everything was removed.")));
    }

    void cancelInEachStepLeavesNothingAndTheNextPlayCompletes()
    {
        startHost({ QStringLiteral("--slow"), QStringLiteral("100") });
        m_model->play();
        QVERIFY(QTest::qWaitFor([this] { return !m_model->progressDetail->isEmpty(); }, engineTime));
        QCOMPARE(m_model->state.get(), AppState::downloading(QStringLiteral("the game")));
        cancelAndVerify();

        startHost({ QStringLiteral("--slow"), QStringLiteral("20000") });
        m_model->play();
        QVERIFY(QTest::qWaitFor(
            [this] {
                return m_model->state->text().startsWith(QStringLiteral("Godot"))
                    && (!m_model->progressDetail->isEmpty() || engineLine() == QStringLiteral("4"));
            },
            engineTime));
        cancelAndVerify();

        startHost();
        m_model->play();
        QVERIFY(waitFor(AppState::settingUp()));
        cancelAndVerify();

        m_model->play();
        QVERIFY(waitFor(AppState::playing()));
    }

private:
    void startHost(const QStringList &options = {})
    {
        m_host.reset();
        m_host = std::make_unique<LocalCodeHost>(m_repository, m_engine, options);
    }

    void startModel()
    {
        m_model.reset();
        m_model = std::make_unique<AppModel>(*m_preferences, m_workspace, m_pasteboard);
    }

    EngineSpec spec() const { return EngineManager::spec(*m_model->info.get()); }

    /// Waits for `state`; a failure on the way ends the wait and is printed.
    bool waitFor(const AppState &state)
    {
        const bool reached = QTest::qWaitFor(
            [&] { return m_model->state.get() == state || m_model->state->kind() == AppState::Case::Needs; },
            engineTime);
        if (m_model->state.get() != state)
            qWarning().noquote() << m_model->failureMessage->value_or(QString())
                                 << m_model->log.lines->join(u'\n');
        return reached && m_model->state.get() == state;
    }

    bool waitUntilIdle() const
    {
        return QTest::qWaitFor([this] { return !m_model->isWorking() && !m_model->runner.isRunning; },
                               engineTime);
    }

    void cancelAndVerify()
    {
        m_model->cancel();
        QVERIFY(waitUntilIdle());
        QCOMPARE(m_model->log.lines->last(), QStringLiteral("Cancelled."));
        QVERIFY(!m_model->failureMessage.get());
        QCOMPARE(m_model->state.get(), AppState::notDownloaded());
        QCOMPARE(Player::scratch(), QStringList());
    }

    void verifyLogOfAFirstPlay()
    {
        const QString game = Paths::gameFolder();
        const QString setUp = engineLine() == QStringLiteral("3")
            ? QStringLiteral("--no-window --editor --path %1 --quit").arg(game)
            : QStringLiteral("--headless --import --path %1 --quit").arg(game);
        const QStringList expected {
            QStringLiteral("Downloading the game from %1/Kestrelwood/Vantor/archive/refs/heads/master.zip")
                .arg(m_host->address().toString()),
            QStringLiteral("Unpacking the game"),
            QStringLiteral("Game ready in ") + game,
            QStringLiteral("Looking up the official checksum for ") + spec().fileName(),
            QStringLiteral("Downloading %1 from %2%3")
                .arg(spec().displayName(), spec().baseURL(), spec().fileName()),
            QStringLiteral("Checking the download against the official SHA-512 checksum"),
            QStringLiteral("Checksum matches"),
            QStringLiteral("Unpacking the engine"),
            QStringLiteral(
                "Clearing the macOS download flag on the verified engine (so it can open without a warning)"),
            QStringLiteral("First-time setup, pass 1: godot ") + setUp,
            QStringLiteral("Starting the game: %1 --path %2 --windowed")
                .arg(QFileInfo(*EngineManager::executable(spec())).fileName(), game),
        };
        // Ours come in this order, with the engine's own lines in between.
        qsizetype from = 0;
        for (const QString &line : expected) {
            const qsizetype found = m_model->log.lines->indexOf(line, from);
            QVERIFY2(found >= 0, qPrintable(line));
            from = found + 1;
        }
    }

    /// The path of the game's save below the engine's data folder, or an empty string.
    static QString saveFile()
    {
        QDirIterator files(Paths::godotData() + QStringLiteral("/app_userdata"), { QStringLiteral("*.cfg") },
                           QDir::Files, QDirIterator::Subdirectories);
        return files.hasNext() ? files.next() : QString();
    }

    /// Makes the repository's copy of the game end itself with `status` after `seconds`.
    void letTheGameEnd(int status, int seconds) const
    {
        const bool is3 = engineLine() == QStringLiteral("3");
        const QByteArray wait = is3 ? "yield(get_tree().create_timer(%1), \"timeout\")"
                                    : "await get_tree().create_timer(%1).timeout";
        m_home->write(QStringLiteral("repository/the_end.gd"),
                      "extends Node\nfunc _ready():\n\t"
                          + QByteArray(wait).replace("%1", QByteArray::number(seconds))
                          + "\n\tprint(\"The end of the test game.\")\n\tget_tree().quit("
                          + QByteArray::number(status) + ")\n");
        QFile project(m_repository + QStringLiteral("/project.godot"));
        QVERIFY(project.open(QIODevice::ReadWrite | QIODevice::Append));
        project.write("\n[autoload]\n\nTheEnd=\"*res://the_end.gd\"\n");
    }

    QString m_engine;
    QString m_repository;
    std::unique_ptr<TestHome> m_home;
    std::unique_ptr<Preferences> m_preferences;
    RecordedWorkspace m_workspace;
    RecordedPasteboard m_pasteboard;
    std::unique_ptr<LocalCodeHost> m_host;
    std::unique_ptr<AppModel> m_model;
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
