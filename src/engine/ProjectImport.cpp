#include "EngineManager.h"

#include "FileError.h"
#include "FileOperations.h"
#include "ImportWatch.h"
#include "LogStore.h"
#include "ProcessController.h"

#include <QDir>

namespace {

QStringList importArguments(const EngineSpec &spec, const QString &project)
{
    if (spec.major < 4) {
        return { QStringLiteral("--no-window"), QStringLiteral("--editor"), QStringLiteral("--path"), project,
                 QStringLiteral("--quit") };
    }
    return { QStringLiteral("--headless"), QStringLiteral("--import"), QStringLiteral("--path"), project,
             QStringLiteral("--quit") };
}

/// An engine's exit status says little about an import: only what it left behind counts.
bool hasImportedFiles(const EngineSpec &spec, const QString &project)
{
    if (spec.major >= 4)
        return FileOperations::isReachable(project + QStringLiteral("/.godot"));
    const QDir imported(project + QStringLiteral("/.import"));
    return !imported.isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

void leaveMarker(const EngineSpec &spec)
{
    try {
        FileOperations::writeAtomically(EngineManager::markerURL(spec), QByteArrayLiteral("ok"));
    } catch (const FileError &) {
        // The game is imported all the same; without the marker, the next Play merely imports again.
    }
}

}

QCoro::Task<bool> EngineManager::importProject(EngineSpec spec, QString executable, QString project,
                                               LogStore *log, std::shared_ptr<ProcessController> controller,
                                               ImportPatience patience)
{
    constexpr int mostPasses = 2;

    const QStringList arguments = importArguments(spec, project);
    const auto appendToLog = log->appender();
    for (int pass = 1; pass <= mostPasses; ++pass) {
        if (controller->isCancelled())
            co_return false;
        log->append(QStringLiteral("First-time setup, pass %1: godot ").arg(pass) + arguments.join(u' '));
        const ImportWatch watch(project, controller, log, patience);
        const auto onLine = watch.watching(appendToLog);
        const qint32 status = co_await controller->run(executable, arguments, onLine);
        if (status != 0)
            log->append(QStringLiteral("Setup pass ended with exit code ") + QString::number(status));
        if (hasImportedFiles(spec, project)) {
            leaveMarker(spec);
            co_return true;
        }
        log->append(QStringLiteral("No imported files found yet."));
    }
    co_return false;
}
