#pragma once

#include "DownloadProgress.h"
#include "TransferRules.h"

#include <QCoro/QCoroTask>
#include <QUrl>

#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>

class FileDownloader;
class LogStore;

/// Installs the game: downloads the repository's branch archive, unpacks it and moves the project inside to
/// the game folder. Owned by the model. Main thread unless stated otherwise.
class RepoDownloader final {
public:
    explicit RepoDownloader(TransferRules rules = {});

    /// The branch archive's address.
    static QUrl zipURL();

    /// Returns the installed project's folder. Throws AppError, FileError or CancellationError; a game that
    /// was installed before is then still complete, and no scratch folder is left. `onProgress` is called on
    /// the transfer's thread. `log` outlives the call.
    QCoro::Task<QString> install(LogStore *log, std::function<void(DownloadProgress)> onProgress,
                                 std::stop_token stop);

    /// Cancels the download in progress. Only the `stop` of `install` cancels unpacking. Any thread.
    void cancel();

private:
    /// All that `install` does except creating and deleting `scratch`.
    QCoro::Task<QString> installFrom(QString scratch, LogStore *log,
                                     std::function<void(DownloadProgress)> onProgress, std::stop_token stop);

    /// Makes `cancel` act on `downloader`.
    void keep(std::shared_ptr<FileDownloader> downloader);

    const TransferRules m_rules;
    std::mutex m_lock; // guards `m_downloader`; nothing is called under it
    // Kept after the download: cancelling it then does nothing.
    std::shared_ptr<FileDownloader> m_downloader;
};
