#include "RepoDownloader.h"

#include "AppError.h"
#include "Archive.h"
#include "Background.h"
#include "CancellationError.h"
#include "CodeHost.h"
#include "FileDownloader.h"
#include "FileOperations.h"
#include "GameFolder.h"
#include "LogStore.h"
#include "Paths.h"
#include "ProjectInspector.h"
#include "ScratchFolder.h"

using namespace Qt::StringLiterals;

RepoDownloader::RepoDownloader(TransferRules rules)
    : m_rules(std::move(rules))
{
}

QUrl RepoDownloader::zipURL()
{
    return CodeHost::url(u"/Kestrelwood/Vantor/archive/refs/heads/master.zip"_s);
}

QCoro::Task<QString> RepoDownloader::install(LogStore *log, std::function<void(DownloadProgress)> onProgress,
                                             std::stop_token stop)
{
    const ScratchFolder scratch;
    const QString &scratchPath = scratch.path();
    QString folder;
    std::exception_ptr error;
    try {
        folder = co_await installFrom(scratchPath, log, onProgress, stop);
    } catch (...) {
        error = std::current_exception();
    }
    // Many small files: too slow for the main thread. What cannot be deleted is left to `scratch`.
    auto removal = [scratchPath] { return FileOperations::removeTreeIfPossible(scratchPath); };
    co_await runInBackground(std::move(removal));
    if (error)
        std::rethrow_exception(error);
    co_return folder;
}

QCoro::Task<QString> RepoDownloader::installFrom(QString scratch, LogStore *log,
                                                 std::function<void(DownloadProgress)> onProgress,
                                                 std::stop_token stop)
{
    const QUrl url = zipURL();
    log->append(u"Downloading the game from "_s + url.toString(QUrl::FullyEncoded));
    const QString zipFile = scratch + u"/game.zip"_s;
    const auto downloader = FileDownloader::create(url, zipFile, onProgress, m_rules);
    keep(downloader);
    co_await downloader->start(stop);
    throwIfCancelled(stop);

    const QString extract = scratch + u"/extract"_s;
    FileOperations::createFolder(extract);
    log->append(u"Unpacking the game"_s);
    co_await Archive::unzip(zipFile, extract, log, stop);

    const auto project = ProjectInspector::findProjectRoot(extract);
    if (!project)
        throw AppError::message(u"The downloaded game has no project.godot file, so it cannot be started."_s);
    const QString replaced = GameFolder::replace(*project);
    if (!replaced.isEmpty()) {
        auto removal = [replaced] { return FileOperations::removeTreeIfPossible(replaced); };
        co_await runInBackground(std::move(removal));
    }

    const auto installed = ProjectInspector::findProjectRoot(Paths::gameFolder());
    if (!installed)
        throw AppError::message(u"The game was unpacked but project.godot was not found."_s);
    log->append(u"Game ready in "_s + *installed);
    co_return *installed;
}

void RepoDownloader::keep(std::shared_ptr<FileDownloader> downloader)
{
    {
        const std::lock_guard guard(m_lock);
        m_downloader.swap(downloader);
    }
    // The previous one is released here, outside the lock: its destructor may wait for a thread.
}

void RepoDownloader::cancel()
{
    std::shared_ptr<FileDownloader> downloader;
    {
        const std::lock_guard guard(m_lock);
        downloader = m_downloader;
    }
    if (downloader)
        downloader->cancel();
}
