// What the player can do with the downloaded game, besides playing it.

#include "AppModel.h"

#include "AppError.h"
#include "Background.h"
#include "CancellationError.h"
#include "DirectorySize.h"
#include "DownloadProgress.h"
#include "FileOperations.h"
#include "Leftovers.h"
#include "Pasteboard.h"
#include "Paths.h"
#include "ProcessController.h"
#include "RepoDownloader.h"
#include "SaveFolder.h"
#include "Uninstall.h"
#include "Workspace.h"

#include <QPointer>

namespace {

/// How long an import may take to end when the launcher quits, which itself does not wait much longer.
constexpr std::chrono::milliseconds importPatienceWhenQuitting { 300 };

QString folderSentence(const QString &folder)
{
    return QStringLiteral("Nothing on this desktop could open the folder \u201c%1\u201d.").arg(folder);
}

}

void AppModel::updateGame() { startAction(&AppModel::runUpdate); }

QCoro::Task<> AppModel::runUpdate(std::stop_token stop)
{
    try {
        state = AppState::downloading(QStringLiteral("the game"));
        enterStep(QStringLiteral("Updating the game (your save files are kept)"));
        auto installing = m_repo->install(&log, progressOnMainThread(), stop);
        co_await installing;
        // Everything may have been removed after the installation's last check for cancellation.
        if (m_removeRootAgain)
            throw CancellationError();
        loadInfo();
        notice = updatedNotice();
        state = AppState::notDownloaded();
    } catch (const std::exception &error) {
        endAction(error, stop);
    }
    stepText = QString();
}

QString AppModel::updatedNotice() { return QStringLiteral("The game was updated."); }

void AppModel::reinstall()
{
    if (m_workTask || runner.isRunning)
        return;
    Leftovers::beginToClear(); // or a later clearing would put back a game that was about to be replaced
    Uninstall::game();
    Uninstall::engines();
    forgetInfo();
    state = AppState::notDownloaded();
    play();
}

void AppModel::removeEverything()
{
    if (runner.isRunning)
        return;
    cancel();
    // An action that is still unpacking may write files before it notices; they are discarded when it ends.
    m_removeRootAgain = m_workTask.has_value();
    Uninstall::everything();
    forgetInfo();
    failureMessage = std::nullopt;
    failureLines = QStringList();
    log.lines = QStringList();
    state = AppState::notDownloaded();
    notice = QStringLiteral("Everything was removed.");
}

void AppModel::computeFreeableSize() { sumRoot(); }

QCoro::Task<> AppModel::sumRoot()
{
    const QPointer<AppModel> self(this);
    auto sum = [root = Paths::root()] { return directorySize(root); };
    const qint64 bytes = co_await runInBackground(std::move(sum));
    if (self)
        freeableBytes = bytes;
}

void AppModel::revealInFinder()
{
    if (FileOperations::isReachable(Paths::root()))
        m_workspace.reveal(Paths::root(), notOpened(folderSentence(Paths::root())));
    else
        notice = QStringLiteral("Nothing is downloaded yet.");
}

void AppModel::showSaves()
{
    const QString projectName = info.get() ? info.get()->name : ProjectInfo().name;
    for (const QString &folder : saveFolderCandidates(Paths::godotData(), projectName)) {
        if (FileOperations::isReachable(folder)) {
            m_workspace.open(folder, notOpened(folderSentence(folder)));
            return;
        }
    }
    notice = QStringLiteral("No save files yet. Godot creates them when the game first saves something.");
}

void AppModel::browse(const QUrl &page)
{
    m_workspace.browse(page,
                       notOpened(QStringLiteral("Nothing on this desktop could open the page \u201c%1\u201d.")
                                     .arg(page.toString())));
}

std::function<void()> AppModel::notOpened(const QString &sentence)
{
    return [self = QPointer<AppModel>(this), sentence] {
        if (self)
            self->notice = sentence;
    };
}

void AppModel::copyFailure()
{
    m_pasteboard.setText(failureMessage->value_or(QString()) + QLatin1Char('\n')
                         + failureLines->join(QLatin1Char('\n')));
}

void AppModel::stopForQuit() { runner.stop(); }

QCoro::Task<> AppModel::prepareToQuit()
{
    m_quit.request_stop();
    cancelWithin(importPatienceWhenQuitting);
    if (m_workTask)
        co_await m_actionEnded;
    if (m_reportsInWork > 0)
        co_await m_reportsWritten;
}
