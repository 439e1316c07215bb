#include "Archive.h"

#include "AppError.h"
#include "CancellationError.h"
#include "Desktop.h"
#include "LogStore.h"
#include "ProcessController.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

/// Runs `tool`, whose lines go to `log`, and gives its status.
QCoro::Task<qint32> runTool(QString tool, QStringList arguments, LogStore *log, std::stop_token stop)
{
    const auto controller = ProcessController::create();
    const std::stop_callback onStop(stop, [controller] { controller->cancel(); });
    const std::function<void(const QString &)> appendToLog = log->appender();
    const qint32 status = co_await controller->run(tool, arguments, appendToLog);
    throwIfCancelled(stop);
    co_return status;
}

}

QCoro::Task<> Archive::unzip(QString zipFile, QString destination, LogStore *log, std::stop_token stop,
                             QString name)
{
    const Desktop desktop = Desktop::current();
    const QStringList toCheck { u"--check"_s, zipFile };
    const QStringList toUnpack { u"-x"_s, u"-k"_s, zipFile, destination };
    qint32 status = 0;
    if (!desktop.archiveCheckTool.isEmpty())
        status = co_await runTool(desktop.archiveCheckTool, toCheck, log, stop);
    if (status == 0)
        status = co_await runTool(desktop.unpackTool, toUnpack, log, stop);
    if (status != 0) {
        // The tool's name on the first desktop stands for every desktop's, and for the check before it.
        const QString shown = name.isEmpty() ? QFileInfo(zipFile).fileName() : name;
        throw AppError::message(u"Could not unpack "_s + shown + u" (ditto exit code "_s
                                + QString::number(status) + u")."_s);
    }
}
