#pragma once

#include "AppModel.h"
#include "Background.h"
#include "LocalCodeHost.h"
#include "Pasteboard.h"
#include "Paths.h"
#include "Preferences.h"
#include "ProcessController.h"
#include "TestHome.h"
#include "Workspace.h"

#include <QDirIterator>
#include <QTest>

#include <memory>
#include <optional>

/// What was asked of the desktop's file browser and web browser.
class RecordedWorkspace final : public Workspace {
public:
    void reveal(const QString &folder, std::function<void()> onFailure) override
    {
        revealed << folder;
        answer(onFailure);
    }
    void open(const QString &folder, std::function<void()> onFailure) override
    {
        opened << folder;
        answer(onFailure);
    }
    void browse(const QUrl &page, std::function<void()> onFailure) override
    {
        browsed << page;
        answer(onFailure);
    }

    QStringList revealed;
    QStringList opened;
    QList<QUrl> browsed;
    /// Whether nothing on this desktop can open anything.
    bool opensNothing = false;

private:
    void answer(const std::function<void()> &onFailure) const
    {
        if (opensNothing)
            QMetaObject::invokeMethod(QCoreApplication::instance(), onFailure, Qt::QueuedConnection);
    }
};

/// What was put on the pasteboard.
class RecordedPasteboard final : public Pasteboard {
public:
    void setText(const QString &text) override { texts << text; }

    QStringList texts;
};

/// Writes down every value that the state and the step's line take, in order. An announcement comes before
/// its change, so each one shows the value that the change before it left.
class Diary final : public QObject {
public:
    explicit Diary(AppModel &model)
        : m_model(model)
        , m_lastState(model.state)
    {
        connect(&model, &Observable::willChange, this, [this] { look(); });
    }

    QStringList steps()
    {
        look();
        return m_steps;
    }
    QList<AppState> states()
    {
        look();
        return m_states;
    }
    const QList<std::optional<double>> &fractions() const { return m_fractions; }

private:
    void look()
    {
        if (!m_model.stepText->isEmpty() && (m_steps.isEmpty() || m_steps.last() != m_model.stepText.get()))
            m_steps << m_model.stepText;
        if (m_model.state.get() != m_lastState) {
            m_lastState = m_model.state;
            m_states << m_lastState;
        }
        if (!m_model.progressDetail->isEmpty())
            m_fractions << m_model.progress;
    }

    AppModel &m_model;
    AppState m_lastState;
    QStringList m_steps;
    QList<AppState> m_states;
    QList<std::optional<double>> m_fractions;
};

/// A player at a fresh machine: a home folder, a game of the test's own on a local code host, an engine that
/// is a shell script in the official archives, and the model. The game's files decide what the engine does
/// with them: "import.sh" runs as the import pass and "play.sh" as the game, both in the project's folder.
class Player final {
public:
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
        const QString engine = home.write(QStringLiteral("standing-engine"),
                                          R"(#!/bin/sh
for argument; do
    [ "$previous" = --path ] && project=$argument
    case $argument in --import|--no-window) import=yes;; esac
    previous=$argument
done
cd "$project" || exit 9
if [ "$import" ]; then . ./import.sh; else . ./play.sh; fi
)");
        if (!QFile::setPermissions(engine, QFile::permissions(engine) | QFileDevice::ExeOwner))
            qFatal("The standing engine cannot be made a program.");
    }

    ~Player()
    {
        if (!model)
            return;
        model->cancel();
        if (!stopGame() || !waitUntilIdle())
            qFatal("What the model runs did not end.");
        // What is still being read in the background comes back before the model goes, and no frame is left
        // over.
        waitForBackground(std::chrono::seconds(30));
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }

    /// Writes a file of the game as the code host has it.
    void writeGame(const QString &name, const QByteArray &content) const
    {
        home.write(QStringLiteral("repository/") + name, content);
    }

    /// Starts the code host. `options` as tools/code-host takes them.
    void startHost(const QStringList &options = {})
    {
        host.reset();
        host = std::make_unique<LocalCodeHost>(home.filePath(QStringLiteral("repository")),
                                               home.filePath(QStringLiteral("standing-engine")), options);
    }

    /// Starts the launcher's model anew on what is on the disk.
    AppModel &startModel(const TransferRules &rules = {})
    {
        model.reset();
        model = std::make_unique<AppModel>(preferences, workspace, pasteboard, rules);
        return *model;
    }

    /// Presses Play and waits until the game runs.
    bool playToRunning()
    {
        model->play();
        return QTest::qWaitFor([this] { return model->runner.isRunning || hasFailed(); }, 20000)
            && model->runner.isRunning;
    }

    /// Presses Stop and waits until the state has settled. A press that comes while the child is only about
    /// to be launched reaches nothing, so it is pressed until the game ends.
    bool stopGame()
    {
        return QTest::qWaitFor(
            [this] {
                model->runner.stop();
                return !model->runner.isRunning;
            },
            20000);
    }

    /// Installs everything, so that the model is ready.
    bool install() { return playToRunning() && stopGame() && model->state.get() == AppState::ready(); }

    bool waitUntilIdle() const
    {
        return QTest::qWaitFor([this] { return !model->isWorking() && !model->runner.isRunning; }, 30000);
    }

    bool hasFailed() const { return model->state->kind() == AppState::Case::Needs; }

    /// Everything under "Temp", hidden files too.
    static QStringList scratch()
    {
        QStringList found;
        QDirIterator entries(Paths::tempFolder(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        while (entries.hasNext())
            found << entries.next();
        return found;
    }

    TestHome home;
    Preferences preferences { home.filePath(QStringLiteral("preferences.ini")) };
    RecordedWorkspace workspace;
    RecordedPasteboard pasteboard;
    std::unique_ptr<LocalCodeHost> host;
    std::unique_ptr<AppModel> model;
};
