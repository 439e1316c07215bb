#pragma once

#include "Completion.h"
#include "DownloadProgress.h"
#include "HttpTransfer.h"

#include <QCoro/QCoroTask>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>

/// One download of one file over HTTP(S), into a temporary file beside its destination and then, when the server's
/// answer was whole and good, to the destination by renaming. An instance serves one download. Shared, because the
/// transfer's thread outlives the call.
class FileDownloader final : public std::enable_shared_from_this<FileDownloader> {
public:
    /// `onProgress` is called on the transfer's thread for every piece written; none may be given. An existing file at
    /// `destination` is replaced. Nothing is fetched yet.
    static std::shared_ptr<FileDownloader> create(QUrl url, QString destination,
                                                  std::function<void(DownloadProgress)> onProgress,
                                                  TransferLimits limits = {});
    ~FileDownloader();
    FileDownloader(const FileDownloader &) = delete;
    FileDownloader &operator=(const FileDownloader &) = delete;

    /// Gives the destination when the file is in place. Throws AppError for a bad answer or a broken transfer,
    /// FileError when the file cannot be put in place, CancellationError after `cancel` or when `stop` is requested.
    /// Once, on the main thread, which it also resumes on.
    QCoro::Task<QString> start(std::stop_token stop = {});

    /// Ends the download, now or before its start. Any thread.
    void cancel();
};
