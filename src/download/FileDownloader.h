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

/// One download of one file over HTTP(S), into a temporary file beside its destination and then, when the
/// server's answer was whole and good, to the destination by renaming. An instance serves one download.
/// Shared, because a waiting `start` keeps it alive when its owner lets go.
class FileDownloader final : public std::enable_shared_from_this<FileDownloader> {
public:
    /// `onProgress` is called on the transfer's thread for every piece written; none may be given. An
    /// existing file at `destination` is replaced. Nothing is fetched yet.
    static std::shared_ptr<FileDownloader> create(QUrl url, QString destination,
                                                  std::function<void(DownloadProgress)> onProgress,
                                                  TransferRules rules = {});
    ~FileDownloader();
    FileDownloader(const FileDownloader &) = delete;
    FileDownloader &operator=(const FileDownloader &) = delete;

    /// Gives the destination when the file is in place. Throws AppError for a bad answer or a broken
    /// transfer, FileError when the file cannot be put in place, CancellationError after `cancel` or when
    /// `stop` is requested. Once, on the main thread, which it also resumes on.
    QCoro::Task<QString> start(std::stop_token stop = {});

    /// Ends the download, now or before its start. Any thread.
    void cancel();

private:
    /// The destination, or why there is no file.
    using Result = std::variant<QString, std::exception_ptr>;

    FileDownloader(QUrl url, QString destination, std::function<void(DownloadProgress)> onProgress,
                   TransferRules rules);

    // Called on the transfer's thread.
    void didWriteData(QByteArrayView piece, qint64 totalBytesExpectedToWrite);
    void didComplete(const HttpTransfer::Ending &ending);
    void didFinishDownloading(int status);

    /// The single place where the waiting caller is resumed. A second result is dropped. Any thread.
    void finish(Result result);

    const QUrl m_url;
    const QString m_destination;
    const std::function<void(DownloadProgress)> m_onProgress;
    const TransferRules m_rules;

    // The transfer's thread only.
    PartFile m_part;
    SpeedMeter m_speed;
    qint64 m_received = 0;

    std::mutex m_lock; // guards the rest; nothing is called out under it
    std::optional<Completion<Result>> m_continuation;
    std::shared_ptr<HttpTransfer> m_task; // last: its end waits for the thread that uses all of the above
    bool m_cancelled = false;
};
