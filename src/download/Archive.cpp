#include "Archive.h"

#include "AppError.h"
#include "CancellationError.h"
#include "Desktop.h"
#include "LogStore.h"
#include "ProcessController.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTimer>

#include <chrono>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

/// The time between asking a tool to end and killing it. Short: it has nothing of the player's to save.
constexpr std::chrono::milliseconds patience { 200 };

/// Asks the tool to end and kills it soon after: one that hangs or is stopped (SIGSTOP) does not react.
void end(const std::shared_ptr<ProcessController> &controller)
{
    controller->cancel();
    QTimer::singleShot(patience, QCoreApplication::instance(), [controller] { controller->kill(); });
}

/// Runs `tool`, with its output going to `log`, and returns its status.
QCoro::Task<qint32> runTool(QString tool, QStringList arguments, LogStore *log, std::stop_token stop)
{
    const auto controller = ProcessController::create();
    const std::stop_callback onStop(stop, [controller] { end(controller); });
    const std::function<void(const QString &)> appendToLog = log->appender();
    const qint32 status = co_await controller->run(tool, arguments, appendToLog);
    throwIfCancelled(stop);
    // The caller's error message shows only the number, as if it were an exit code.
    if (controller->wasEndedBySignal()) {
        log->append(u"%1 was ended by signal %2 (%3) before it had finished."_s.arg(
            QFileInfo(tool).fileName(), QString::number(status), QString::fromLocal8Bit(strsignal(status))));
    }
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
        // The message names macOS's tool on every desktop, even when it was the check that failed.
        const QString shown = name.isEmpty() ? QFileInfo(zipFile).fileName() : name;
        throw AppError::message(u"Could not unpack "_s + shown + u" (ditto exit code "_s
                                + QString::number(status) + u")."_s);
    }
}
