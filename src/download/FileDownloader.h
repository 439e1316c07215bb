#pragma once

#include "DownloadProgress.h"
#include "SpeedMeter.h"
#include "TransferRules.h"

#include <QCoro/QCoroTask>
#include <QString>
#include <QUrl>

#include <functional>
#include <stop_token>

/// Downloads one file over HTTP(S), once: into a temporary file beside the destination, which is renamed to
/// the destination after a complete and successful response. Need not outlive the task that `start` returns.
class FileDownloader final {
public:
    /// `onProgress`, which may be empty, is called on the transfer's thread for every chunk written, and
    /// about once a second while nothing arrives. An existing file at `destination` will be replaced. Fetches
    /// nothing yet.
    FileDownloader(QUrl url, QString destination, std::function<void(DownloadProgress)> onProgress,
                   TransferRules rules = {});

    /// Returns the destination once the file is there. Throws AppError for an error status or a failed
    /// transfer, FileError when the file cannot be written or moved, CancellationError after `cancel` or when
    /// `stop` is requested. Call once, on the main thread; resumes there.
    QCoro::Task<QString> start(std::stop_token stop = {});

    /// Cancels the download, even before its start. Any thread.
    void cancel() { m_stop.request_stop(); }

private:
    const QUrl m_url;
    const QString m_destination;
    const std::function<void(DownloadProgress)> m_onProgress;
    const TransferRules m_rules;
    const SpeedMeter m_speed { SpeedMeter::Clock::now() }; // the first interval begins with this object
    std::stop_source m_stop;
};
