#pragma once

#include "DownloadProgress.h"
#include "EngineSpec.h"
#include "HttpTransfer.h"

#include <QCoro/QCoroTask>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

class FileDownloader;
class LogStore;
class ProcessController;
struct ProjectInfo;

/// Chooses, installs and finds engine builds, and has them import the game. Owned by the model. The
/// type-level questions are free of side effects and may be asked on any thread; the rest belongs to the main
/// thread.
class EngineManager final {
public:
    explicit EngineManager(TransferRules rules = {});

    /// The build that a project wants.
    static EngineSpec spec(const ProjectInfo &info);
    /// Where the build is unpacked: "Engine/4.3-mono". Not created here.
    static QString folder(const EngineSpec &spec);
    /// The file whose presence says that this copy of the game was imported with the build:
    /// "Game/.imported-4.3".
    static QString markerURL(const EngineSpec &spec);
    /// The build's program, or none when it is not installed. Looks at the disk.
    static std::optional<QString> executable(const EngineSpec &spec);

    /// Downloads, verifies, unpacks and unlocks the build, and gives its program. Throws AppError, FileError,
    /// TransferError or CancellationError; then no archive and no half-unpacked engine is left. `onProgress`
    /// is called on the transfer's thread. `log` outlives the call.
    QCoro::Task<QString> install(EngineSpec spec, LogStore *log,
                                 std::function<void(DownloadProgress)> onProgress, std::stop_token stop);

    /// Ends the download in progress. Hashing and unpacking end by the `stop` of their install.
    void cancel();

    /// Has the engine import the project's files without a window, in at most two passes. Gives whether
    /// imported files exist then, and leaves the import marker if so. Never throws. `controller` may be
    /// cancelled meanwhile.
    QCoro::Task<bool> importProject(EngineSpec spec, QString executable, QString project, LogStore *log,
                                    std::shared_ptr<ProcessController> controller);

    /// The hash that the list at `sumsURL` gives for `fileName`, as it stands there. Throws AppError,
    /// TransferError or CancellationError.
    static QCoro::Task<QString> expectedChecksum(QUrl sumsURL, QString fileName, std::stop_token stop = {},
                                                 TransferRules rules = {});

    /// The SHA-512 of `file` in lower-case hexadecimal, read in pieces of 4 MiB. Throws FileError, and
    /// CancellationError once `stop` is requested. Any thread.
    static QString sha512(const QString &file, const std::stop_token &stop = {});

private:
    QCoro::Task<QString> fetchArchive(EngineSpec spec, QUrl archiveURL, QUrl sumsURL, QString archive,
                                      LogStore *log, std::function<void(DownloadProgress)> onProgress,
                                      std::stop_token stop);
    QCoro::Task<QString> verifyAndUnpack(EngineSpec spec, QString archive, QString checksum, QString scratch,
                                         LogStore *log, std::stop_token stop);

    const TransferRules m_rules;
    /// Kept after a failed download: cancelling it then does nothing.
    std::shared_ptr<FileDownloader> m_downloader;
};
