#pragma once

#include "DownloadProgress.h"
#include "SpeedMeter.h"
#include "TransferRules.h"

#include <QCoro/QCoroTask>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <stop_token>

/// Downloads one file over HTTP(S), once: into a temporary file beside the destination, which is renamed to
/// the destination after a complete and successful response. A transfer that breaks after part of the file
/// has come is taken up again after a pause, as RetryPlan decides. Need not outlive the task that `start`
/// returns.
class FileDownloader final {
public:
    /// Called on the transfer's thread. Each may be empty.
    struct Callbacks {
        /// For every chunk written, and about once a second while nothing arrives; not during a pause.
        std::function<void(DownloadProgress)> onProgress = nullptr;
        /// Once for each transfer, as soon as the header is in and before a byte is written: the size of the
        /// whole file in bytes, -1 when the server announced none. The temporary file then holds what the
        /// body will be appended to. Not for an answer outside 200-299. May throw to end the download; what
        /// it throws reaches the caller of `start` unchanged.
        std::function<void(qint64 size)> onExpectedSize = nullptr;
        /// Once for each retry: a line for the log that says where the file was, and when it goes on.
        std::function<void(const QString &line)> onRetry = nullptr;
    };

    /// An existing file at `destination` will be replaced. Fetches nothing yet.
    FileDownloader(QUrl url, QString destination, Callbacks callbacks, TransferRules rules = {});
    /// With `onProgress`, which may be empty, as the only callback.
    FileDownloader(QUrl url, QString destination, std::function<void(DownloadProgress)> onProgress,
                   TransferRules rules = {});

    /// Returns the destination once the file is there. Throws AppError for an error status or a failed
    /// transfer, FileError when the file cannot be written or moved, CancellationError after `cancel` or when
    /// `stop` is requested, and what `onExpectedSize` throws. Call once, on the main thread; resumes there.
    QCoro::Task<QString> start(std::stop_token stop = {});

    /// Cancels the download, even before its start. Any thread.
    void cancel() { m_stop.request_stop(); }

    /// Whether the file that `start` has put into place came in more than one transfer. Main thread.
    bool wasResumed() const { return *m_wasResumed; }

private:
    const QUrl m_url;
    const QString m_destination;
    const Callbacks m_callbacks;
    const TransferRules m_rules;
    const SpeedMeter m_speed { SpeedMeter::Clock::now() }; // the first interval begins with this object
    std::stop_source m_stop;
    const std::shared_ptr<bool> m_wasResumed = std::make_shared<bool>(false);
};
