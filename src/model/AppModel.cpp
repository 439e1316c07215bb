#include "AppModel.h"

#include "Background.h"
#include "DownloadProgress.h"
#include "EngineManager.h"
#include "FileOperations.h"
#include "MainThread.h"
#include "Paths.h"
#include "ProcessController.h"
#include "ProgressFraction.h"
#include "ProjectInspector.h"
#include "RepoDownloader.h"

#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <mutex>

namespace {

/// How many lines of the log are shown under a failure message.
constexpr qsizetype failureLineCount = 30;

/// How long a cancelled import may take to end before it is killed.
constexpr std::chrono::seconds importPatience { 5 };

/// The newest download report that the main thread has not seen yet, if any. Thread-safe.
class UnseenReport final {
public:
    /// Replaces the report with `other` and returns the old one.
    std::optional<DownloadProgress> exchange(std::optional<DownloadProgress> other)
    {
        const std::lock_guard guard(m_lock);
        m_report.swap(other);
        return other;
    }

private:
    std::mutex m_lock;
    std::optional<DownloadProgress> m_report;
};

}

AppModel::AppModel(Preferences &preferences, Workspace &workspace, Pasteboard &pasteboard)
    : AppModel(preferences, workspace, pasteboard, TransferRules())
{
}

AppModel::AppModel(Preferences &preferences, Workspace &workspace, Pasteboard &pasteboard,
                   const TransferRules &rules)
    : m_preferences(preferences)
    , m_workspace(workspace)
    , m_pasteboard(pasteboard)
    , m_repo(std::make_unique<RepoDownloader>(rules))
    , m_engines(std::make_unique<EngineManager>(rules))
{
    refreshState();
    loadInfo();
}

AppModel::~AppModel() = default;

void AppModel::refreshState()
{
    if (m_workTask || runner.isRunning || state->kind() == AppState::Case::Needs)
        return;

    const auto project = ProjectInspector::findProjectRoot(Paths::gameFolder());
    if (!project) {
        state = AppState::notDownloaded();
        return;
    }
    const EngineSpec spec
        = EngineManager::spec(info.get() ? *info.get() : ProjectInspector::inspectForEngine(*project));
    const bool isComplete
        = EngineManager::executable(spec) && FileOperations::isReachable(EngineManager::markerURL(spec));
    state = isComplete ? AppState::ready() : AppState::notDownloaded();
}

void AppModel::loadInfo()
{
    const auto project = ProjectInspector::findProjectRoot(Paths::gameFolder());
    if (!project) {
        forgetInfo();
        return;
    }
    readInfo(*project);
}

QCoro::Task<> AppModel::readInfo(QString projectFolder)
{
    const QPointer<AppModel> self(this);
    const int reading = ++m_infoReading;
    auto inspect = [projectFolder] { return ProjectInspector::inspect(projectFolder); };
    const ProjectInfo facts = co_await runInBackground(std::move(inspect));
    // Drop facts about a game that was removed or read again meanwhile.
    if (!self || reading != m_infoReading)
        co_return;
    info = facts;
    refreshState();
}

void AppModel::forgetInfo()
{
    ++m_infoReading;
    info = std::nullopt;
}

void AppModel::cancel() { cancelWithin(importPatience); }

/// Cancels the action, and after `patience` kills an import that has not ended. Killing it is safe: an import
/// touches nothing that the player made, and the next one redoes what is incomplete.
void AppModel::cancelWithin(std::chrono::milliseconds patience)
{
    if (m_workTask)
        m_workTask->requestStop();
    if (m_importController)
        QTimer::singleShot(patience, this, [import = m_importController] { import->kill(); });
}

void AppModel::fail(const QString &message)
{
    failureMessage = message;
    failureLines = log.lines->mid(std::max<qsizetype>(0, log.lines->size() - failureLineCount));
    state = AppState::needs(message);
    progress = std::nullopt;
}

void AppModel::clearFailure()
{
    failureMessage = std::nullopt;
    failureLines = QStringList();
    notice = std::nullopt;
    if (state->kind() == AppState::Case::Needs)
        state = AppState::notDownloaded();
}

void AppModel::setProgress(const DownloadProgress &downloadProgress)
{
    progress = progressFraction(downloadProgress);
    progressDetail = downloadProgress.text();
}

std::function<void(DownloadProgress)> AppModel::progressOnMainThread()
{
    // The server determines how often a download reports; the main thread only needs the newest report.
    const auto newest = std::make_shared<UnseenReport>();
    return [self = QPointer<AppModel>(this), newest](DownloadProgress downloadProgress) {
        if (newest->exchange(downloadProgress))
            return; // a queued call will deliver this one too
        postToMainThread([self, newest] {
            const auto latest = newest->exchange(std::nullopt);
            if (self)
                self->setProgress(*latest);
        });
    };
}
