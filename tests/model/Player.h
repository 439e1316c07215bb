#pragma once

#include "AppModel.h"
#include "Background.h"
#include "LocalCodeHost.h"
#include "Pasteboard.h"
#include "Paths.h"
#include "Preferences.h"
#include "ProcessController.h"
#include "TestHome.h"
#include "TransferRules.h"
#include "Workspace.h"

#include <QDirIterator>
#include <QTest>

#include <memory>
#include <optional>

/// Records what the file browser and the web browser were asked to open.
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
    /// Makes every operation fail.
    bool opensNothing = false;

private:
    void answer(const std::function<void()> &onFailure) const
    {
        if (opensNothing)
            QMetaObject::invokeMethod(QCoreApplication::instance(), onFailure, Qt::QueuedConnection);
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

/// A player at a fresh machine: a home folder, a small game on a local code host, a shell script as every
/// engine build, and the model. The game's files decide what the engine does: it runs "import.sh" as the
/// import pass and "play.sh" as the game, in the project's folder.
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
        // Background reads deliver their results before the model is destroyed, so that no coroutine frame
        // leaks.
        waitForBackground(std::chrono::seconds(30));
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }

    /// Writes a file of the game that the code host serves.
    void writeGame(const QString &name, const QByteArray &content) const
    {
        home.write(QStringLiteral("repository/") + name, content);
    }

    /// Starts a new code host, with further `options` of tools/code-host.
    void startHost(const QStringList &options = {})
    {
        host.reset();
        host = std::make_unique<LocalCodeHost>(home.filePath(QStringLiteral("repository")),
                                               home.filePath(QStringLiteral("standing-engine")), options);
    }

    /// Replaces the model with a new one, as a restart of the launcher would.
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

    /// Presses Stop until the game has ended, and waits until the state has settled. Once is not enough: Stop
    /// has no effect while the child is being launched.
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
