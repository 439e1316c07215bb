#pragma once

#include "AppState.h"
#include "Completion.h"
#include "GameRunner.h"
#include "LogStore.h"
#include "Observable.h"
#include "ProjectInfo.h"
#include "WorkTask.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

class EngineManager;
class Pasteboard;
class Preferences;
class ProcessController;
class QUrl;
class RepoDownloader;
class Workspace;
struct DownloadProgress;
struct EngineSpec;
struct TransferRules;

/// Everything that the window shows, and every action that the player can take. The views read the published
/// fields and call the methods; they decide nothing. At most one action runs at a time. Main thread only.
///
/// The constructor's arguments (preferences, file browser, pasteboard) must outlive the model; it owns the
/// log, the runner, the downloaders and the running action. It must not be destroyed while an action runs.
class AppModel final : public Observable {
    Q_OBJECT

public:
    /// Works out the state from the disk and reads the project facts in the background.
    AppModel(Preferences &preferences, Workspace &workspace, Pasteboard &pasteboard);
    /// As above, with limits for downloads that are not the player's.
    AppModel(Preferences &preferences, Workspace &workspace, Pasteboard &pasteboard,
             const TransferRules &rules);
    ~AppModel() override;

    /// Works out `state` from the disk: `ready` when game, engine and import marker are in place, otherwise
    /// `notDownloaded`. Does nothing while an action or the game runs or a failure is shown.
    void refreshState();
    /// Reads the project facts into `info` in the background, then refreshes the state.
    void loadInfo();

    /// Installs whatever is missing and starts the game. Ignored while an action or the game runs.
    void play();
    /// Asks the running action to stop, and kills an import that does not stop in time; the game is not
    /// touched.
    void cancel();
    /// Downloads the game again; the engine and the saves stay. Ignored while an action or the game runs.
    void updateGame();
    /// Removes the game and the engine, then calls `play`. Ignored while an action or the game runs.
    void reinstall();
    /// Stops the running action and removes the launcher's whole folder. Ignored while the game runs.
    void removeEverything();
    /// Computes `freeableBytes` in the background.
    void computeFreeableSize();
    /// Shows the launcher's folder in the file browser.
    void revealInFinder();
    /// Opens the game's save folder in the file browser, or its nearest parent that exists.
    void showSaves();
    /// Opens `page` in the desktop's web browser.
    void browse(const QUrl &page);
    /// Puts the failure message and its lines on the pasteboard.
    void copyFailure();
    /// Writes a report to `file`, in the background: versions, settings, free space and the log, without what
    /// tells who the player is. A notice says where it is, or why there is none. Does nothing once the
    /// launcher quits.
    void saveReport(const QString &file);
    /// Asks a running game to end, without waiting for it: the player has confirmed quitting.
    void stopForQuit();
    /// Call once, when the launcher quits. Stops the running action, even while it hashes or unpacks, and
    /// completes when the action has finished, its child has ended, its scratch folder is removed and every
    /// report is written. No action starts from then on.
    QCoro::Task<> prepareToQuit();

    /// Whether Play, Update or Reinstall runs.
    bool isWorking() const { return m_workTask.has_value(); }

    Published<AppState> state { this, AppState::notDownloaded() };
    /// The current step's line; empty when no step runs.
    Published<QString> stepText { this };
    /// Download fraction from 0.0 to 1.0; no value when it is unknown.
    Published<std::optional<double>> progress { this };
    /// The download's bytes and speed.
    Published<QString> progressDetail { this };
    /// The sentence of the failure view; no value when no failure is shown.
    Published<std::optional<QString>> failureMessage { this };
    /// The last log lines, shown under the failure message.
    Published<QStringList> failureLines { this };
    /// Facts about the downloaded game; no value until they are read.
    Published<std::optional<ProjectInfo>> info { this };
    /// Whether the log panel is open. Only views change it.
    Published<bool> showLog { this, false };
    /// Size of the launcher's folder in bytes, as last computed by `computeFreeableSize`.
    Published<qint64> freeableBytes { this, 0 };
    /// A short informational line.
    Published<std::optional<QString>> notice { this };
    /// The notice about a finished update.
    static QString updatedNotice();

    LogStore log;
    GameRunner runner;

private:
    // Failures, progress and state (AppModel.cpp)
    void fail(const QString &message);
    void clearFailure();
    void setProgress(const DownloadProgress &downloadProgress);
    std::function<void(DownloadProgress)> progressOnMainThread();
    QCoro::Task<> readInfo(QString projectFolder);
    void forgetInfo();
    void cancelWithin(std::chrono::milliseconds patience);

    // The running action and the steps from nothing to a running game (InstallFlow.cpp)
    using Action = QCoro::Task<> (AppModel::*)(std::stop_token);
    void startAction(Action action);
    QCoro::Task<> runAction(Action action, std::stop_token stop);
    QCoro::Task<> runFlow(std::stop_token stop);
    QCoro::Task<> installAndLaunch(std::stop_token stop);
    QCoro::Task<QString> provideGame(std::stop_token stop);
    QCoro::Task<QString> provideEngine(EngineSpec spec, std::stop_token stop);
    QCoro::Task<> provideImport(EngineSpec spec, QString executable, QString project, std::stop_token stop);
    void enterStep(const QString &text);
    void endAction(const std::exception &error, const std::stop_token &stop);

    // The game's start and end (GameLaunch.cpp)
    void launch(const EngineSpec &spec, const QString &engine, const QString &project);
    void gameEnded(const GameExit &exit);

    // Update and removal (Maintenance.cpp)
    QCoro::Task<> runUpdate(std::stop_token stop);
    QCoro::Task<> sumRoot();
    /// Returns a callback that shows `sentence` as a notice, for when the desktop could not open something.
    std::function<void()> notOpened(const QString &sentence);

    // The report (SaveReport.cpp)
    QCoro::Task<> writeReport(QString file);

    Preferences &m_preferences;
    Workspace &m_workspace;
    Pasteboard &m_pasteboard;

    /// Requested when the launcher quits.
    std::stop_source m_quit;
    /// Settled when the action running at that time has finished.
    Completion<bool> m_actionEnded;

    /// The running action, if any.
    std::optional<WorkTask> m_workTask;
    const std::unique_ptr<RepoDownloader> m_repo;
    const std::unique_ptr<EngineManager> m_engines;
    /// The controller of the import pass while step 3 runs.
    std::shared_ptr<ProcessController> m_importController;

    int m_reportsInWork = 0;
    /// Settled when the launcher quits and the last report is written.
    Completion<bool> m_reportsWritten;

    /// Counts the reads of the project facts, so that the result of an outdated one is dropped.
    int m_infoReading = 0;
    /// Everything was removed during an action: what it has written or read since is discarded at its end.
    bool m_removeRootAgain = false;
};
