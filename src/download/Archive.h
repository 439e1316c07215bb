#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <stop_token>

class LogStore;

namespace Archive {

/// Unpacks the zip archive at `zipFile` into the existing folder `destination` with the desktop's unpack
/// tool, whose lines go to `log`, after its check of archives where that is another program. Throws AppError
/// when either ends with another status than 0; then `destination` may hold part of the archive, but nothing
/// of one that cannot be trusted; and CancellationError when `stop` ended them, which takes a fifth of a
/// second at most. When a signal ended a tool, a line in `log` says so. A failure calls the archive `name`,
/// its file name unless told. Main thread; `log` outlives the call.
QCoro::Task<> unzip(QString zipFile, QString destination, LogStore *log, std::stop_token stop = {},
                    QString name = {});

}
