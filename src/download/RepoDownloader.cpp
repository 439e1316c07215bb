#include "RepoDownloader.h"

#include "AppError.h"
#include "Archive.h"
#include "Background.h"
#include "CancellationError.h"
#include "CodeHost.h"
#include "DiskNames.h"
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
    m_stop = std::stop_source();
    const std::stop_callback onStop(stop, [source = m_stop]() mutable { source.request_stop(); });
    auto work = [this, log, onProgress, token = m_stop.get_token()](const QString &scratch) {
        return installFrom(scratch, log, onProgress, token);
    };
    auto installing = inScratchFolder(std::move(work));
    const QString project = co_await installing;
    co_return project;
}

QCoro::Task<QString> RepoDownloader::installFrom(QString scratch, LogStore *log,
                                                 std::function<void(DownloadProgress)> onProgress,
                                                 std::stop_token stop)
{
    const QUrl url = zipURL();
    log->append(u"Downloading the game from "_s + url.toString(QUrl::FullyEncoded));
    const QString zipFile = scratch + u'/' + DiskNames::gameArchive;
    const QString thing = u"the game"_s;
    FileDownloader::Callbacks callbacks { .onProgress = onProgress };
    callbacks.onExpectedSize = [zipFile, thing](qint64 size) { Archive::requireRoom(size, zipFile, thing); };
    callbacks.onRetry = [log](const QString &line) { log->append(line); };
    FileDownloader downloader(url, zipFile, callbacks, m_rules);
    co_await downloader.start(stop);
    throwIfCancelled(stop);

    const QString extract = scratch + u'/' + DiskNames::unpackedGame;
    FileOperations::createFolder(extract);
    log->append(u"Unpacking the game"_s);
    const QString zipName; // that of the file
    co_await Archive::unzip(zipFile, extract, log, stop, zipName, thing);

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
