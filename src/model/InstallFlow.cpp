// The running action, and the four steps from nothing to a running game. Each step is skipped when its result
// already exists.

#include "AppModel.h"

#include "AppError.h"
#include "Background.h"
#include "CancellationError.h"
#include "DownloadProgress.h"
#include "EngineManager.h"
#include "FileOperations.h"
#include "Leftovers.h"
#include "MainThread.h"
#include "Paths.h"
#include "ProcessController.h"
#include "ProjectInspector.h"
#include "RepoDownloader.h"
#include "Uninstall.h"

void AppModel::play() { startAction(&AppModel::runFlow); }

void AppModel::startAction(Action action)
{
    if (m_workTask || runner.isRunning || m_quit.stop_requested())
        return;
    clearFailure();
    log.lines = QStringList();
    m_workTask.emplace();
    m_workTask->keep(runAction(action, m_workTask->token()));
}

QCoro::Task<> AppModel::runAction(Action action, std::stop_token stop)
{
    // Start on a later turn: by then the press has been handled and `m_workTask` holds this task.
    co_await nextTurn();
    auto clearing = [stop] { return Leftovers::clear(stop); };
    co_await runInBackground(std::move(clearing));
    auto running = (this->*action)(stop);
    co_await running;

    m_workTask.reset();
    if (m_quit.stop_requested())
        m_actionEnded.settle(true);
    if (m_removeRootAgain) {
        m_removeRootAgain = false;
        Uninstall::everything();
        forgetInfo();
    }
    if (runner.isRunning)
        co_return;
    switch (state->kind()) {
    case AppState::Case::Downloading:
    case AppState::Case::SettingUp:
    case AppState::Case::Starting:
    case AppState::Case::Playing:
        break;
    case AppState::Case::Needs:
    case AppState::Case::NotDownloaded:
    case AppState::Case::Ready:
        refreshState();
    }
}

QCoro::Task<> AppModel::runFlow(std::stop_token stop)
{
    try {
        auto installing = installAndLaunch(stop);
        co_await installing;
    } catch (const std::exception &error) {
        endAction(error, stop);
    }
}

QCoro::Task<> AppModel::installAndLaunch(std::stop_token stop)
{
    auto providingGame = provideGame(stop);
    const QString project = co_await providingGame;

    auto inspect = [project] { return ProjectInspector::inspect(project); };
    const ProjectInfo facts = co_await runInBackground(std::move(inspect));
    ++m_infoReading; // outdates whatever is still being read
    info = facts;

    const EngineSpec spec = EngineManager::spec(facts);
    auto providingEngine = provideEngine(spec, stop);
    const QString executable = co_await providingEngine;
    if (facts.isCSharp)
        log.append(QStringLiteral(
            "This game uses C#; the .NET build of Godot was chosen. It may also need the .NET SDK installed."));

    auto providingImport = provideImport(spec, executable, project, stop);
    co_await providingImport;

    enterStep(QStringLiteral("Step 4 of 4: starting the game"));
    launch(spec, executable, project);
}

QCoro::Task<QString> AppModel::provideGame(std::stop_token stop)
{
    if (const auto project = ProjectInspector::findProjectRoot(Paths::gameFolder()))
        co_return *project;

    state = AppState::downloading(QStringLiteral("the game"));
    enterStep(QStringLiteral("Step 1 of 4: downloading the game"));
    auto installing = m_repo->install(&log, progressOnMainThread(), stop);
    const QString project = co_await installing;
    throwIfCancelled(stop);
    if (!FileOperations::isReachable(project))
        throw AppError::message(QStringLiteral("The game files could not be found after downloading."));
    co_return project;
}

QCoro::Task<QString> AppModel::provideEngine(EngineSpec spec, std::stop_token stop)
{
    if (const auto executable = EngineManager::executable(spec)) {
        throwIfCancelled(stop);
        co_return *executable;
    }

    state = AppState::downloading(spec.displayName());
    enterStep(QStringLiteral("Step 2 of 4: downloading ") + spec.displayName());
    auto installing = m_engines->install(spec, &log, progressOnMainThread(), stop);
    const QString executable = co_await installing;
    throwIfCancelled(stop);
    if (!FileOperations::isReachable(executable))
        throw AppError::message(QStringLiteral("The Godot engine is missing."));
    co_return executable;
}

QCoro::Task<> AppModel::provideImport(EngineSpec spec, QString executable, QString project,
                                      std::stop_token stop)
{
    if (FileOperations::isReachable(EngineManager::markerURL(spec)))
        co_return;

    state = AppState::settingUp();
    enterStep(QStringLiteral("Step 3 of 4: first-time setup, this can take a minute or more"));
    m_importController = ProcessController::create();
    auto importing = m_engines->importProject(spec, executable, project, &log, m_importController);
    bool imported = false;
    {
        const std::stop_callback onStop(stop, [import = m_importController] { import->cancel(); });
        imported = co_await importing;
    }
    m_importController.reset();
    // An interrupted import may have written only some of the files, which does not show from outside.
    // Without the marker the next Play imports again.
    if (stop.stop_requested())
        Uninstall::file(EngineManager::markerURL(spec));
    throwIfCancelled(stop);
    if (!imported)
        log.append(QStringLiteral("Setup did not report imported files; trying to start the game anyway."));
}

void AppModel::enterStep(const QString &text)
{
    stepText = text;
    progress = std::nullopt;
    progressDetail = QString();
}

/// Ends an action that threw `error`: cancelled, or failed.
void AppModel::endAction(const std::exception &error, const std::stop_token &stop)
{
    if (!isCancellation(error, stop)) {
        fail(userFacingDescription(error));
        return;
    }
    log.append(QStringLiteral("Cancelled."));
    stepText = QString();
    state = AppState::notDownloaded();
    // refreshState() does nothing while an action runs. Clear `m_workTask` for this one call, so that the
    // player sees at once what is in place.
    auto handle = std::exchange(m_workTask, std::nullopt);
    refreshState();
    m_workTask = std::move(handle);
}
