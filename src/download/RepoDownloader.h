#pragma once

#include "DownloadProgress.h"
#include "TransferRules.h"

#include <QCoro/QCoroTask>
#include <QUrl>

#include <functional>
#include <stop_token>

class LogStore;

/// Installs the game: downloads the repository's branch archive, unpacks it and moves the project inside to
/// the game folder. Owned by the model. Main thread.
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

    /// As requesting the `stop` of the installation in progress. Does nothing without one.
    void cancel() { m_stop.request_stop(); }

private:
    /// All that `install` does except creating and deleting `scratch`.
    QCoro::Task<QString> installFrom(QString scratch, LogStore *log,
                                     std::function<void(DownloadProgress)> onProgress, std::stop_token stop);

    const TransferRules m_rules;
    std::stop_source m_stop; // of the latest installation
};
