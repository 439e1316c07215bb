#pragma once

#include "DownloadProgress.h"
#include "EngineSpec.h"
#include "ImportPatience.h"
#include "TransferRules.h"

#include <QCoro/QCoroTask>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

class HeldFile;
class LogStore;
class ProcessController;
struct ProjectInfo;

/// Chooses, installs and finds engine builds, and has them import the game. Owned by the model. The static
/// queries, `spec` to `executable`, have no side effects and may be called on any thread; the rest is for the
/// main thread unless stated otherwise.
///
/// Defined in four files: the queries in EngineManager.cpp, `install` in EngineInstall.cpp, `importProject`
/// in ProjectImport.cpp, `sha512` in Sha512.cpp.
class EngineManager final {
public:
    explicit EngineManager(TransferRules rules = {});

    /// The build that a project needs.
    static EngineSpec spec(const ProjectInfo &info);
    /// Where the build is unpacked: "Engine/4.3-mono". Not created here.
    static QString folder(const EngineSpec &spec);
    /// The path (not a URL) of the marker file, which exists once this copy of the game was imported with the
    /// build: "Game/.imported-4.3".
    static QString markerURL(const EngineSpec &spec);
    /// The path of the build's program; no value when it is not installed. Reads the disk.
    static std::optional<QString> executable(const EngineSpec &spec);

    /// Downloads, verifies and unpacks the build, clears its quarantine flag and returns the path of its
    /// program. Throws AppError, FileError, TransferError or CancellationError, and then leaves no archive or
    /// half-unpacked engine. `onProgress` is called on the transfer's thread. `log` outlives the call.
    QCoro::Task<QString> install(EngineSpec spec, LogStore *log,
                                 std::function<void(DownloadProgress)> onProgress, std::stop_token stop);

    /// As requesting the `stop` of the installation in progress. Does nothing without one.
    void cancel() { m_stop.request_stop(); }

    /// Has the engine import the project's files without a window, in at most two passes. Returns whether
    /// imported files exist afterwards, and if so writes the import marker. Ends an engine that has imported
    /// everything and does not end by itself, after `patience`. Never throws. `controller` may be cancelled
    /// meanwhile.
    QCoro::Task<bool> importProject(EngineSpec spec, QString executable, QString project, LogStore *log,
                                    std::shared_ptr<ProcessController> controller,
                                    ImportPatience patience = {});

    /// Fetches the checksum list at `sumsURL` and returns its hash for `fileName`, letter case unchanged.
    /// Throws AppError, TransferError or CancellationError.
    static QCoro::Task<QString> expectedChecksum(QUrl sumsURL, QString fileName, std::stop_token stop = {},
                                                 TransferRules rules = {});

    /// The SHA-512 of `file` in lower-case hexadecimal, read in pieces of 4 MiB. Throws AppError, FileError,
    /// and CancellationError once `stop` is requested. Any thread.
    static QString sha512(const QString &file, const std::stop_token &stop = {});

private:
    QCoro::Task<QString> installFrom(EngineSpec spec, QUrl archiveURL, QUrl sumsURL, QString scratch,
                                     LogStore *log, std::function<void(DownloadProgress)> onProgress,
                                     std::stop_token stop);
    QCoro::Task<bool> fetchArchive(EngineSpec spec, QUrl archiveURL, QString archive, LogStore *log,
                                   std::function<void(DownloadProgress)> onProgress, std::stop_token stop);
    static QCoro::Task<std::shared_ptr<HeldFile>> verified(QString archive, QString checksum, LogStore *log,
                                                           std::stop_token stop);
    QCoro::Task<QString> unpackVerified(EngineSpec spec, std::shared_ptr<HeldFile> held, QString scratch,
                                        LogStore *log, std::stop_token stop);

    const TransferRules m_rules;
    std::stop_source m_stop; // of the latest installation
};
