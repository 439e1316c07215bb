#include "AppModel.h"

#include "Background.h"
#include "FileOperations.h"
#include "MainThread.h"
#include "Paths.h"
#include "ProcessController.h"
#include "ProgressFraction.h"
#include "ProjectInspector.h"

#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <mutex>

namespace {

/// How much of the log goes under a failure message.
constexpr qsizetype failureLineCount = 30;

/// How long an import may take to end when the player cancels it.
constexpr std::chrono::seconds importPatience { 5 };

/// The newest report of a download that the main thread has not seen yet, if any. Any thread.
class UnseenReport final {
public:
    /// Puts `other` in place of the report, and gives what was there.
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

AppModel::AppModel(Preferences &preferences, Workspace &workspace, Pasteboard &pasteboard,
                   TransferRules rules)
    : m_preferences(preferences)
    , m_workspace(workspace)
    , m_pasteboard(pasteboard)
    , repo(rules)
    , engines(rules)
{
    refreshState();
    loadInfo();
}

AppModel::~AppModel() = default;

void AppModel::refreshState()
{
    if (workTask || runner.isRunning || state->kind() == AppState::Case::Needs)
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
    // What was read of a game that was removed or read again meanwhile is no longer true.
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

/// Cancels the action, and after `patience` kills an import that has not ended by itself. An import holds
/// nothing that the player made, and what it leaves half-made is made again by the next one.
void AppModel::cancelWithin(std::chrono::milliseconds patience)
{
    repo.cancel();
    engines.cancel();
    if (importController) {
        importController->cancel();
        QTimer::singleShot(patience, this, [import = importController] { import->kill(); });
    }
    if (workTask)
        workTask->requestStop();
}

void AppModel::fail(const QString &message, LastLines lastLines)
{
    failureMessage = message;
    failureLines = lastLines == LastLines::Show
        ? log.lines->mid(std::max<qsizetype>(0, log.lines->size() - failureLineCount))
        : QStringList();
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

void AppModel::setProgress(DownloadProgress downloadProgress)
{
    progress = progressFraction(downloadProgress);
    progressDetail = downloadProgress.text();
}

std::function<void(DownloadProgress)> AppModel::progressOnMainThread()
{
    // The server decides how often a download reports; only the newest report is kept for the main thread.
    const auto newest = std::make_shared<UnseenReport>();
    return [self = QPointer<AppModel>(this), newest](DownloadProgress downloadProgress) {
        if (newest->exchange(downloadProgress))
            return; // the one before it is on its way and takes this one along
        postToMainThread([self, newest] {
            const auto latest = newest->exchange(std::nullopt);
            if (self)
                self->setProgress(*latest);
        });
    };
}
