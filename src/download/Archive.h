#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <stop_token>

class LogStore;

namespace Archive {

/// Unpacks the zip archive `zipFile` into the existing folder `destination` with the desktop's unpack tool,
/// after checking it where the check is a separate program. The tools' output goes to `log`, with a line for
/// a tool that a signal ended. Throws AppError when a tool's status is not 0; `destination` may then hold
/// part of the archive, but nothing of one that cannot be trusted. Throws CancellationError at most 0.2 s
/// after `stop` is requested. Errors call the archive `name`, by default its file name. Main thread; `log`
/// outlives the call.
QCoro::Task<> unzip(QString zipFile, QString destination, LogStore *log, std::stop_token stop = {},
                    QString name = {});

}
