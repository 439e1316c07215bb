#pragma once

#include "DownloadProgress.h"
#include "HttpTransfer.h"

#include <QCoro/QCoroTask>
#include <QUrl>

#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>

class FileDownloader;
class LogStore;

/// Puts the game in place: downloads the repository's branch archive, unpacks it and moves the project that
/// it holds to the game folder. Owned by the model, main thread only but where said otherwise.
class RepoDownloader final {
public:
    explicit RepoDownloader(TransferRules rules = {});

    /// The branch archive's address.
    static QUrl zipURL();

    /// Gives the installed project's folder. Throws AppError, FileError or CancellationError; then the game
    /// that was there before is still there, whole, and no scratch folder is left. `onProgress` is called on
    /// the transfer's thread. `log` outlives the call.
    QCoro::Task<QString> install(LogStore *log, std::function<void(DownloadProgress)> onProgress,
                                 std::stop_token stop);

    /// Ends the download in progress. The unpacking ends by the `stop` of its install. Any thread.
    void cancel();

private:
    /// Everything that `install` does but for the life of the folder `scratch`.
    QCoro::Task<QString> installFrom(QString scratch, LogStore *log,
                                     std::function<void(DownloadProgress)> onProgress, std::stop_token stop);

    /// Makes `downloader` the one that `cancel` reaches.
    void keep(std::shared_ptr<FileDownloader> downloader);

    const TransferRules m_rules;
    std::mutex m_lock; // guards the rest; nothing is called under it
    // Kept after the download: cancelling it then does nothing.
    std::shared_ptr<FileDownloader> m_downloader;
};
