#pragma once

#include "Completion.h"
#include "DownloadProgress.h"
#include "HttpTransfer.h"
#include "PartFile.h"
#include "SpeedMeter.h"

#include <QCoro/QCoroTask>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <variant>

/// Downloads one file over HTTP(S), once: into a temporary file beside the destination, which is renamed to
/// the destination after a complete and successful response. Shared, because a pending `start` keeps it alive
/// after its owner has released it.
class FileDownloader final : public std::enable_shared_from_this<FileDownloader> {
public:
    /// `onProgress`, which may be empty, is called on the transfer's thread for every piece written. An
    /// existing file at `destination` will be replaced. Fetches nothing yet.
    static std::shared_ptr<FileDownloader> create(QUrl url, QString destination,
                                                  std::function<void(DownloadProgress)> onProgress,
                                                  TransferRules rules = {});
    ~FileDownloader();
    FileDownloader(const FileDownloader &) = delete;
    FileDownloader &operator=(const FileDownloader &) = delete;

    /// Returns the destination once the file is there. Throws AppError for an error status or a failed
    /// transfer, FileError when the file cannot be written or moved, CancellationError after `cancel` or when
    /// `stop` is requested. Call once, on the main thread; resumes there.
    QCoro::Task<QString> start(std::stop_token stop = {});

    /// Cancels the download, even before its start. Any thread.
    void cancel();

private:
    /// The destination, or the error.
    using Result = std::variant<QString, std::exception_ptr>;

    FileDownloader(QUrl url, QString destination, std::function<void(DownloadProgress)> onProgress,
                   TransferRules rules);

    // Called on the transfer's thread.
    void didWriteData(QByteArrayView piece, qint64 totalBytesExpectedToWrite);
    void didComplete(const HttpTransfer::Ending &ending);
    void didFinishDownloading(int status);

    /// The only place that resumes the caller of `start`. Ignores a second result. Any thread.
    void finish(Result result);

    const QUrl m_url;
    const QString m_destination;
    const std::function<void(DownloadProgress)> m_onProgress;
    const TransferRules m_rules;

    // The transfer's thread only.
    PartFile m_part;
    SpeedMeter m_speed;
    qint64 m_received = 0;

    std::mutex m_lock; // guards the members below; no callback runs under it
    std::optional<Completion<Result>> m_continuation;
    std::shared_ptr<HttpTransfer> m_task; // below all that its thread uses: its destructor joins the thread
    bool m_cancelled = false;
};
