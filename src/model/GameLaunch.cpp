// The game's start and end.

#include "AppModel.h"

#include "ExitReport.h"
#include "GameArguments.h"
#include "Preferences.h"
#include "ProjectInspector.h"

#include <QTimer>

#include <chrono>

namespace {

/// A game that still runs after this time counts as playing.
constexpr std::chrono::seconds startingTime { 4 };

}

void AppModel::launch(const EngineSpec &spec, const QString &engine, const QString &project)
{
    if (spec.major <= 3)
        ProjectInspector::enableMouseAsTouch(project, log);

    const QStringList arguments
        = gameArguments(project, m_preferences.fullscreen(), m_preferences.resolution());
    state = AppState::starting();
    // The runner, which calls nobody once it goes, goes with this.
    runner.launch(engine, arguments, log, [this](const GameExit &exit) { gameEnded(exit); });
    // Precise, because a coarse timer may fire a fifth of a second early; and about this run only, because
    // the player may stop the game and start it again before the timer fires.
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
        fail(*report.failure, LastLines::Show);
        return;
    }
    log.append(*report.logLine);
    state = AppState::notDownloaded();
    refreshState();
}
