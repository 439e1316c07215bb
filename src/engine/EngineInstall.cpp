#include "EngineManager.h"

#include "AppError.h"
#include "Archive.h"
#include "Background.h"
#include "CancellationError.h"
#include "ChecksumList.h"
#include "Desktop.h"
#include "DiskNames.h"
#include "FileDownloader.h"
#include "FileError.h"
#include "FileOperations.h"
#include "HeldFile.h"
#include "HttpFetch.h"
#include "LogStore.h"
#include "Paths.h"
#include "ProcessController.h"
#include "ScratchFolder.h"

#include <thread>

namespace {

AppError doesNotMatch()
{
    return AppError::message(QStringLiteral(
        "The Godot download did not match its official checksum, so it was thrown away. Please try again."));
}

QUrl addressOf(const EngineSpec &spec, const QString &fileName)
{
    const QUrl url(spec.baseURL() + fileName, QUrl::StrictMode);
    if (!url.isValid())
        throw AppError::message(QStringLiteral("Could not build the Godot download address."));
    return url;
}

/// Moves a broken build out of the way in one step: a launcher killed at this point leaves no build rather
/// than half of one.
void makeRoom(const QString &target, const QString &previous)
{
    if (FileOperations::exists(target))
        FileOperations::move(target, previous);
    FileOperations::createFolder(Paths::engineFolder());
}

/// macOS warns before opening a downloaded program, and refuses to run one without a window. This build was
/// verified, so its flag may be cleared; if that fails, the only consequence is the warning.
QCoro::Task<> clearQuarantine(QString folder, LogStore *log)
{
    log->append(QStringLiteral(
        "Clearing the macOS download flag on the verified engine (so it can open without a warning)"));
    const QString tool = Desktop::current().quarantineTool;
    if (tool.isEmpty())
        co_return;

    const auto controller = ProcessController::create();
    const QStringList arguments { QStringLiteral("-dr"), QStringLiteral("com.apple.quarantine"), folder };
    const auto appendToLog = log->appender();
    const qint32 status = co_await controller->run(tool, arguments, appendToLog);
    if (status != 0)
        log->append(QStringLiteral("xattr finished with code %1 (usually harmless)").arg(status));
}

}

QCoro::Task<QString> EngineManager::install(EngineSpec spec, LogStore *log,
                                            std::function<void(DownloadProgress)> onProgress,
                                            std::stop_token stop)
{
    const QUrl archiveURL = addressOf(spec, spec.fileName());
    const QUrl sumsURL = addressOf(spec, QStringLiteral("SHA512-SUMS.txt"));
    m_stop = std::stop_source();
    const std::stop_callback onStop(stop, [source = m_stop]() mutable { source.request_stop(); });
    auto work = [=, this, token = m_stop.get_token()](const QString &scratch) {
        return installFrom(spec, archiveURL, sumsURL, scratch, log, onProgress, token);
    };
    auto installing = inScratchFolder(std::move(work));
    const QString program = co_await installing;
    co_return program;
}

/// All that `install` does except creating and deleting `scratch`.
QCoro::Task<QString> EngineManager::installFrom(EngineSpec spec, QUrl archiveURL, QUrl sumsURL,
                                                QString scratch, LogStore *log,
                                                std::function<void(DownloadProgress)> onProgress,
                                                std::stop_token stop)
{
    const QString archive = scratch + u'/' + spec.fileName();
    log->append(QStringLiteral("Looking up the official checksum for ") + spec.fileName());
    auto lookup = expectedChecksum(sumsURL, spec.fileName(), stop, m_rules);
    const QString checksum = co_await lookup;

    log->append(QStringLiteral("Downloading ") + spec.displayName() + QStringLiteral(" from ")
                + archiveURL.toString(QUrl::FullyEncoded));
    auto fetching = fetchArchive(spec, archiveURL, archive, log, onProgress, stop);
    const bool wasResumed = co_await fetching;
    auto verifying = verified(archive, checksum, log, stop);
    std::shared_ptr<HeldFile> held = co_await verifying;
    if (!held && wasResumed) {
        log->append(QStringLiteral(
            "The resumed download did not match its official checksum; downloading it again from the beginning."));
        FileOperations::removeTree(archive);
        auto fetchingAgain = fetchArchive(spec, archiveURL, archive, log, onProgress, stop);
        co_await fetchingAgain;
        auto verifyingAgain = verified(archive, checksum, log, stop);
        held = co_await verifyingAgain;
    }
    if (!held)
        throw doesNotMatch();
    log->append(QStringLiteral("Checksum matches"));

    auto unpacking = unpackVerified(spec, held, scratch, log, stop);
    const QString program = co_await unpacking;
    co_return program;
}

/// Downloads the build's archive from `archiveURL` to `archive`. Returns whether it came in more than one
/// transfer.
QCoro::Task<bool> EngineManager::fetchArchive(EngineSpec spec, QUrl archiveURL, QString archive,
                                              LogStore *log, std::function<void(DownloadProgress)> onProgress,
                                              std::stop_token stop)
{
    FileDownloader::Callbacks callbacks { .onProgress = onProgress };
    callbacks.onExpectedSize
        = [archive, thing = spec.displayName()](qint64 size) { Archive::requireRoom(size, archive, thing); };
    callbacks.onRetry = [log](const QString &line) { log->append(line); };
    FileDownloader downloader(archiveURL, archive, callbacks, m_rules);
    co_await downloader.start(stop);
    throwIfCancelled(stop);
    co_return downloader.wasResumed();
}

/// Returns the file `archive`, held open from before it was hashed, so that what was hashed is what is
/// unpacked. Null if it does not have `checksum`.
QCoro::Task<std::shared_ptr<HeldFile>> EngineManager::verified(QString archive, QString checksum,
                                                               LogStore *log, std::stop_token stop)
{
    log->append(QStringLiteral("Checking the download against the official SHA-512 checksum"));
    const auto held = std::make_shared<HeldFile>(archive);
    const QString heldPath = held->path();
    const auto pause = held->timeUntilChangesShow();
    auto hash = [archive, heldPath, pause, stop] {
        std::this_thread::sleep_for(pause);
        try {
            return sha512(heldPath, stop);
        } catch (const FileError &error) {
            throw FileError(archive, QStringLiteral("read"), error.code());
        }
    };
    const QString computed = co_await runInBackground(std::move(hash));
    if (computed.toLower() != checksum.toLower() || !held->isUntouched())
        co_return std::shared_ptr<HeldFile>();
    co_return held;
}

/// Unpacks and installs the build in the archive `held`, and returns the path of its program.
QCoro::Task<QString> EngineManager::unpackVerified(EngineSpec spec, std::shared_ptr<HeldFile> held,
                                                   QString scratch, LogStore *log, std::stop_token stop)
{
    const QString target = folder(spec);
    makeRoom(target, scratch + u'/' + DiskNames::previousEngine);
    log->append(QStringLiteral("Unpacking the engine"));
    const QString unpacked = scratch + u'/' + DiskNames::unpackedEngine;
    FileOperations::createFolder(unpacked);
    const QString name = spec.fileName();
    const QString thing = spec.displayName();
    const QString heldPath = held->path();
    co_await Archive::unzip(heldPath, unpacked, log, stop, name, thing);
    // It may have been modified after the check, or while it was unpacked.
    if (!held->isUntouched())
        throw doesNotMatch();
    FileOperations::move(unpacked, target);

    co_await clearQuarantine(target, log);
    const auto program = executable(spec);
    if (!program) {
        auto removal = [target] { return FileOperations::removeTreeIfPossible(target); };
        co_await runInBackground(std::move(removal));
        throw AppError::message(
            QStringLiteral("The engine was unpacked but no Godot program was found inside it."));
    }
    co_return *program;
}

QCoro::Task<QString> EngineManager::expectedChecksum(QUrl sumsURL, QString fileName, std::stop_token stop,
                                                     TransferRules rules)
{
    constexpr qint64 largestList = 4 * 1024 * 1024; // the real ones are some 20 kB

    auto fetching = fetchData(sumsURL, largestList, stop, rules);
    const HttpResponse response = co_await fetching;
    if (response.status < 200 || response.status > 299)
        throw AppError::message(
            QStringLiteral("Could not get the checksum list (server error %1).").arg(response.status));
    const auto hash = ChecksumList::hash(QString::fromUtf8(response.body), fileName);
    if (!hash)
        throw AppError::message(QStringLiteral("The official checksum list has no entry for ") + fileName
                                + QStringLiteral("."));
    co_return *hash;
}
