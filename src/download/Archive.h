#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <stop_token>

class LogStore;

namespace Archive {

/// Throws AppError when the disk that holds `zipFile` has no room for an archive of `size` bytes and for what
/// is in it; `thing` is what the player calls it: "the game". Does nothing for -1, an unknown size. A part of
/// it that was downloaded before may lie beside `zipFile`. Any thread; may block as long as the disk does.
void requireRoom(qint64 size, const QString &zipFile, const QString &thing);

/// Unpacks the zip archive `zipFile` into the existing folder `destination` with the desktop's unpack tool,
/// after checking it where the check is a separate program. The tools' output goes to `log`, with a line for
/// a tool that a signal ended. Throws AppError when the disk has no room for the files, before anything is
/// written, and when a tool's status is not 0; `destination` may then hold part of the archive, but nothing
/// of one that cannot be trusted. Throws CancellationError at most 0.2 s after `stop` is requested. Errors
/// call the archive `name`, by default its file name, and what is in it `thing`, by default the same. Main
/// thread; `log` outlives the call.
QCoro::Task<> unzip(QString zipFile, QString destination, LogStore *log, std::stop_token stop = {},
                    QString name = {}, QString thing = {});

}
