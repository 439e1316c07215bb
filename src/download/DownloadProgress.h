#pragma once

#include <QString>

/// How far a download has come.
struct DownloadProgress {
    /// Bytes written to disk so far.
    qint64 received = 0;
    /// Expected size in bytes, -1 when the server announced no positive length.
    qint64 total = -1;
    /// The last measured speed, 0 until the first measurement.
    double bytesPerSecond = 0;

    /// "3.2 MB of 48.1 MB · 1.5 MB/s"; unknown parts are omitted.
    QString text() const;

    bool operator==(const DownloadProgress &) const = default;
};
