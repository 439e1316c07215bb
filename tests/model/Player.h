#pragma once

#include "AppModel.h"
#include "Background.h"
#include "Desktop.h"
#include "EngineManager.h"
#include "LocalCodeHost.h"
#include "Pasteboard.h"
#include "Paths.h"
#include "Preferences.h"
#include "ProjectInspector.h"
#include "ShellScript.h"
#include "TestHome.h"
#include "Texts.h"
#include "TransferRules.h"
#include "Workspace.h"

#include <QRegularExpression>
#include <QTest>

#include <filesystem>
#include <memory>
#include <optional>

/// Records what the file browser and the web browser were asked to open.
class RecordedWorkspace final : public Workspace {
    using OnFailure = std::function<void()>;

public:
    void reveal(const QString &folder, OnFailure fail) override { record(revealed, folder, fail); }
    void open(const QString &folder, OnFailure fail) override { record(opened, folder, fail); }
    void browse(const QUrl &page, OnFailure fail) override { record(browsed, page, fail); }

    QStringList revealed;
    QStringList opened;
    QList<QUrl> browsed;
    /// Makes every operation fail.
    bool opensNothing = false;

private:
    template <typename Place>
    void record(QList<Place> &places, const Place &place, const OnFailure &fail) const
    {
        places << place;
        if (opensNothing)
            QMetaObject::invokeMethod(QCoreApplication::instance(), fail, Qt::QueuedConnection);
    }
};

/// Records what was put on the pasteboard.
class RecordedPasteboard final : public Pasteboard {
public:
    void setText(const QString &text) override { texts << text; }

    QStringList texts;
};

/// Records the values of the state, the step's line and the progress, in order. A change is announced before
/// it takes effect, so each announcement shows the values before it.
class Diary final : public QObject {
public:
    explicit Diary(AppModel &model)
        : m_model(model)
        , m_lastState(model.state)
    {
        connect(&model, &Observable::willChange, this, [this] { look(); });
    }

    QStringList steps() { return look().m_steps; }
    QList<AppState> states() { return look().m_states; }
    const QList<std::optional<double>> &fractions() const { return m_fractions; }

private:
    const Diary &look()
    {
        if (!m_model.stepText->isEmpty() && (m_steps.isEmpty() || m_steps.last() != m_model.stepText.get()))
            m_steps << m_model.stepText;
        if (m_model.state.get() != m_lastState) {
            m_lastState = m_model.state;
            m_states << m_lastState;
        }
        if (!m_model.progressDetail->isEmpty())
            m_fractions << m_model.progress;
        return *this;
    }

    AppModel &m_model;
    AppState m_lastState;
    QStringList m_steps;
    QList<AppState> m_states;
    QList<std::optional<double>> m_fractions;
};

/// A player at a fresh machine: a home folder, a game on a local code host, one program as every engine
/// build, and the model. Unless a test brings a real game and engine, the engine is a shell script and the
/// game's files decide what it does: it runs "import.sh" as the import pass and "play.sh" as the game, in the
/// project's folder.
class Player final {
public:
    using Action = std::function<void(AppModel &)>;

    explicit Player(const QByteArray &features = "\"4.6\"", const QByteArray &configVersion = "5")
    {
        writeGame(QStringLiteral("project.godot"),
                  "config_version=" + configVersion
                      + "\n[application]\nconfig/name=\"Hill Run\"\nconfig/features="
                        "PackedStringArray("
                      + features + ")\n");
        writeGame(QStringLiteral("import.sh"),
                  "mkdir -p .godot .import; touch .import/picture; echo imported\n");
        writeGame(QStringLiteral("play.sh"), "echo playing \"$@\"; exec sleep 60\n");
        engine = shellScript(home, QStringLiteral("standing-engine"), R"(for argument; do
    [ "$previous" = --path ] && project=$argument
    case $argument in --import|--no-window) import=yes;; esac
    previous=$argument
done
cd "$project" || exit 9
if [ "$import" ]; then . ./import.sh; else . ./play.sh; fi)");
    }

    /// With a copy of the folder `game`, a real engine, and the time that the engine may take for a step.
    Player(const QString &game, QString realEngine, std::chrono::milliseconds forAStep)
        : engine(std::move(realEngine))
        , patience(forAStep)
    {
        copy(game, repository());
    }

    ~Player()
    {
        if (model) {
            model->cancel();
            // The model must not be destroyed while an action runs, so there is no way to go on.
            if (!stopGame() || !waitUntilIdle())
                qFatal("What the model runs did not end.");
            // Background reads deliver their results before the model is destroyed, so that no coroutine
            // frame leaks.
            waitForBackground(std::chrono::seconds(30));
            QCoreApplication::processEvents();
            QCoreApplication::processEvents();
        }
        CodeHost::setAddress(CodeHost::official());
        Desktop::use(std::nullopt);
    }

    Player(const Player &) = delete;
    Player &operator=(const Player &) = delete;

    /// The folder that the code host serves as the game.
    QString repository() const { return home.filePath(QStringLiteral("repository")); }

    /// Writes a file of the game that the code host serves.
    void writeGame(const QString &name, const QByteArray &content) const
    {
        home.write(QStringLiteral("repository/") + name, content);
    }

    /// Writes a file of the installed game.
    void writeInstalled(const QString &name, const QByteArray &content) const
    {
        home.write(Paths::gameFolder() + u'/' + name, content);
    }

    /// Makes the launcher unpack with a shell script, at most for as long as this object lives.
    void useUnpackTool(const QByteArray &commands) const
    {
        Desktop desktop = Desktop::current();
        desktop.unpackTool = shellScript(home, QStringLiteral("unpack"), commands);
        Desktop::use(desktop);
    }

    /// Starts a new code host, with further `options` of tools/code-host.
    void startHost(const QStringList &options = {})
    {
        host.reset();
        host = std::make_unique<LocalCodeHost>(repository(), engine, options);
    }

    /// Makes the code host unreachable.
    void loseHost()
    {
        host.reset();
        CodeHost::setAddress(QUrl(QStringLiteral("http://127.0.0.1:1"))); // nothing listens there
    }

    /// Replaces the model with a new one, as a restart of the launcher would.
    AppModel &startModel(const TransferRules &rules = {})
    {
        model.reset();
        model = std::make_unique<AppModel>(preferences, workspace, pasteboard, rules);
        return *model;
    }

    /// Starts a code host and a model.
    AppModel &start()
    {
        startHost();
        return startModel();
    }

    /// Puts the game, the engine and the import marker in place as an installation does, only faster.
    void putInPlace() const
    {
        const EngineSpec spec = EngineManager::spec(ProjectInspector::inspectForEngine(repository()));
        QDir().mkpath(EngineManager::folder(spec));
        copy(engine, EngineManager::folder(spec) + u'/' + spec.fileName().chopped(4));
        copy(repository(), Paths::gameFolder());
        writeInstalled(QFileInfo(EngineManager::markerURL(spec)).fileName(), "ok");
    }

    /// Starts a model with everything in place, and waits until it has read the game.
    AppModel &startInstalled()
    {
        if (CodeHost::address() == CodeHost::official())
            loseHost(); // no test downloads from the real one
        putInPlace();
        startModel();
        waitFor([this] { return model->info.get().has_value(); });
        return *model;
    }

    template <typename Condition> bool waitFor(const Condition &condition) const
    {
        return QTest::qWaitFor(condition, static_cast<int>(patience.count()));
    }

    /// Presses Play and waits until the game runs.
    bool playToRunning()
    {
        model->play();
        return waitFor([this] { return model->runner.isRunning || hasFailed(); }) && model->runner.isRunning;
    }

    /// Presses Play and waits until a failure is shown.
    bool playToFailure()
    {
        model->play();
        return waitFor([this] { return hasFailed(); });
    }

    /// Starts `action` and waits until neither it nor a game runs.
    bool complete(const Action &action)
    {
        action(*model);
        return waitUntilIdle();
    }

    /// Presses Stop until the game has ended, and waits until the state has settled. Once is not enough: Stop
    /// has no effect while the child is being launched.
    bool stopGame()
    {
        return waitFor([this] {
            model->runner.stop();
            return !model->runner.isRunning;
        });
    }

    /// Installs everything, so that the model is ready.
    bool install() { return playToRunning() && stopGame() && model->state.get() == AppState::ready(); }

    bool isIdle() const { return !model->isWorking() && !model->runner.isRunning; }
    bool waitUntilIdle() const
    {
        return waitFor([this] { return isIdle(); });
    }

    /// Shows a failure without an action.
    void showFailure() const
    {
        model->failureMessage = QStringLiteral("Something is wrong.");
        model->failureLines = QStringList(QStringLiteral("a line"));
        model->state = AppState::needs(QStringLiteral("Something is wrong."));
    }

    bool hasFailed() const { return model->state->kind() == AppState::Case::Needs; }

    /// Verifies that the action ends in a failure: its sentence matches the regular expression `sentence`,
    /// the end of the log stands below it, and no scratch is left.
    void verifyFailure(const QString &sentence) const
    {
        QVERIFY(waitUntilIdle());
        const QString message = model->failureMessage->value_or(QString());
        const QRegularExpression pattern(QRegularExpression::anchoredPattern(sentence));
        QVERIFY2(pattern.match(message).hasMatch(), qPrintable(message));
        QCOMPARE(model->state.get(), AppState::needs(message));
        QCOMPARE(model->failureLines.get(),
                 model->log.lines->mid(std::max<qsizetype>(0, model->log.lines->size() - 30)));
        QCOMPARE(scratch(), QStringList());
    }

    /// Verifies that the action ends because it was cancelled, in `state`, and that no scratch is left.
    void verifyCancelled(const AppState &state = AppState::notDownloaded()) const
    {
        QVERIFY(waitUntilIdle());
        QCOMPARE(model->log.lines->last(), Texts::cancelled);
        QCOMPARE(model->state.get(), state);
        QVERIFY(!model->failureMessage.get());
        QCOMPARE(scratch(), QStringList());
    }

    /// Verifies that nothing of the launcher's is left, and that the window says so.
    void verifyRemoved() const
    {
        QVERIFY(!QFileInfo::exists(Paths::root()));
        QVERIFY(!model->info.get());
        QVERIFY(!model->failureMessage.get());
        QCOMPARE(model->state.get(), AppState::notDownloaded());
        QCOMPARE(model->notice.get(), std::optional(Texts::removed));
    }

    /// Everything under "Temp", hidden files too.
    static QStringList scratch()
    {
        return QDir(Paths::tempFolder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    /// Deletes a file or folder of the launcher's own, as the player may.
    static void deleteOwn(const QString &name)
    {
        if (std::filesystem::remove_all((Paths::root() + u'/' + name).toStdString()) == 0)
            qFatal("There is no %s to delete.", qPrintable(name));
    }

    /// Whether a file or folder of the installed game exists.
    static bool hasInstalled(const QString &name)
    {
        return QFileInfo::exists(Paths::gameFolder() + u'/' + name);
    }

    TestHome home;
    QString engine;
    std::chrono::milliseconds patience = std::chrono::seconds(20);
    Preferences preferences { home.filePath(QStringLiteral("preferences.ini")) };
    RecordedWorkspace workspace;
    RecordedPasteboard pasteboard;
    std::unique_ptr<LocalCodeHost> host;
    std::unique_ptr<AppModel> model;

private:
    static void copy(const QString &from, const QString &to)
    {
        std::filesystem::copy(from.toStdString(), to.toStdString(), std::filesystem::copy_options::recursive);
    }
};
