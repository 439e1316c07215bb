#include "Archive.h"

#include "AppError.h"
#include "CancellationError.h"
#include "Desktop.h"
#include "DiskNames.h"
#include "FreeSpace.h"
#include "LogStore.h"
#include "ProcessController.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

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

/// The exit status of our unpack program for a sound archive that the disk is too full for.
constexpr qint32 noRoom = 3;

/// How a tool ended.
struct Ending {
    qint32 status = 0;
    QString lastLine; // of its output
};

/// Runs `tool`, with its output going to `log`.
QCoro::Task<Ending> runTool(QString tool, QStringList arguments, LogStore *log, std::stop_token stop)
{
    const auto controller = ProcessController::create();
    const std::stop_callback onStop(stop, [controller] { end(controller); });
    const auto lastLine = std::make_shared<QString>(); // the tool's thread has it until the run is over
    const std::function<void(const QString &)> onLine
        = [appendToLog = log->appender(), lastLine](const QString &line) {
              *lastLine = line;
              appendToLog(line);
          };
    const qint32 status = co_await controller->run(tool, arguments, onLine);
    throwIfCancelled(stop);
    // The caller's error message shows only the number, as if it were an exit code.
    if (controller->wasEndedBySignal()) {
        log->append(u"%1 was ended by signal %2 (%3) before it had finished."_s.arg(
            QFileInfo(tool).fileName(), QString::number(status), QString::fromLocal8Bit(strsignal(status))));
    }
    const Ending ending { status, *lastLine };
    co_return ending;
}

/// A number of bytes; the largest there is for a number that is larger, since an archive may claim anything.
qint64 byteCount(const QString &digits)
{
    bool fits = false;
    const qint64 bytes = digits.toLongLong(&fits);
    return fits ? bytes : std::numeric_limits<qint64>::max();
}

/// The sentence about a full disk, if that is why our unpack program ended; otherwise nothing.
QString notEnoughSpace(const Ending &ending, const QString &thing)
{
    static const QRegularExpression numbers(
        u"^The archive's files take ([0-9]+) bytes, and ([0-9]+) are free\\.$"_s);
    const QRegularExpressionMatch match = numbers.match(ending.lastLine);
    if (ending.status != noRoom || !match.hasMatch())
        return {};
    return FreeSpace::notEnough(thing, byteCount(match.captured(1)), byteCount(match.captured(2)));
}

}

void Archive::requireRoom(qint64 size, const QString &zipFile, const QString &thing)
{
    if (size < 0)
        return;
    // What is in an archive is hardly ever smaller than the archive, and for a while both are on the disk. An
    // older game or engine is deleted only after that.
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    const qint64 both = size > most / 2 ? most : 2 * size;
    const qint64 alreadyThere = QFileInfo(zipFile + DiskNames::partSuffix).size();
    FreeSpace::require(both - std::min(size, alreadyThere), zipFile, thing);
}

QCoro::Task<> Archive::unzip(QString zipFile, QString destination, LogStore *log, std::stop_token stop,
                             QString name, QString thing)
{
    const Desktop desktop = Desktop::current();
    const QStringList toCheck { u"--check"_s, zipFile, u"--into"_s, destination };
    const QStringList toUnpack { u"-x"_s, u"-k"_s, zipFile, destination };
    Ending ending;
    if (!desktop.archiveCheckTool.isEmpty())
        ending = co_await runTool(desktop.archiveCheckTool, toCheck, log, stop);
    if (ending.status == 0)
        ending = co_await runTool(desktop.unpackTool, toUnpack, log, stop);
    if (ending.status != 0) {
        const QString shown = name.isEmpty() ? QFileInfo(zipFile).fileName() : name;
        const QString fullDisk = notEnoughSpace(ending, thing.isEmpty() ? shown : thing);
        if (!fullDisk.isEmpty())
            throw AppError::message(fullDisk);
        // The message names macOS's tool on every desktop, even when it was the check that failed.
        throw AppError::message(u"Could not unpack "_s + shown + u" (ditto exit code "_s
                                + QString::number(ending.status) + u")."_s);
    }
}
