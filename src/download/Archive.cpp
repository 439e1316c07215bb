#include "Archive.h"

#include "AppError.h"
#include "CancellationError.h"
#include "Desktop.h"
#include "LogStore.h"
#include "ProcessController.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

QCoro::Task<> Archive::unzip(QString zipFile, QString destination, LogStore *log, std::stop_token end)
{
    const auto controller = ProcessController::create();
    const QString tool = Desktop::current().unpackTool;
    const QStringList arguments { u"-x"_s, u"-k"_s, zipFile, destination };
    const std::stop_callback onEnd(end, [controller] { controller->cancel(); });
    const auto appendToLog = [log](const QString &line) { log->append(line); };
    const qint32 status = co_await controller->run(tool, arguments, appendToLog);
    throwIfCancelled(end);
    if (status != 0) {
        // The tool's name on the first desktop stands for every desktop's.
        throw AppError::message(u"Could not unpack "_s + QFileInfo(zipFile).fileName()
                                + u" (ditto exit code "_s + QString::number(status) + u")."_s);
    }
}
