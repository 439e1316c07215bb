// The game's start and end.

#include "AppModel.h"

#include "EngineSpec.h"
#include "ExitReport.h"
#include "GameArguments.h"
#include "Preferences.h"
#include "ProjectInspector.h"

#include <QTimer>

#include <chrono>

namespace {

/// A game that is still running after this time counts as playing.
constexpr std::chrono::seconds startingTime { 4 };

}

void AppModel::launch(const EngineSpec &spec, const QString &engine, const QString &project)
{
    if (spec.major <= 3) {
        if (const auto outcome = ProjectInspector::enableMouseAsTouch(project))
            log.append(*outcome);
    }

    const QStringList arguments
        = gameArguments(project, m_preferences.fullscreen(), m_preferences.resolution());
    state = AppState::starting();
    // Capturing `this` is safe: the runner is our member and never calls back after destruction.
    runner.launch(engine, arguments, log, [this](const GameExit &exit) { gameEnded(exit); });
    // Precise, because a coarse timer may fire 200 ms early. It checks the run, because the player may stop
    // the game and start it again before the timer fires.
    QTimer::singleShot(startingTime, Qt::PreciseTimer, this, [this, run = runner.controller()] {
        const bool stillRuns = runner.isRunning && runner.controller() == run;
        if (stillRuns && state->kind() == AppState::Case::Starting)
            state = AppState::playing();
    });
}

void AppModel::gameEnded(const GameExit &exit)
{
    stepText = QString();
    const ExitReport report = exitReport(exit);
    if (report.failure) {
        fail(*report.failure);
        return;
    }
    log.append(*report.logLine);
    state = AppState::notDownloaded();
    refreshState();
}
