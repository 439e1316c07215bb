#include "FreeSpace.h"

#include "AppError.h"
#include "DiskRoom.h"
#include "FileSizeText.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <limits>

std::optional<qint64> FreeSpace::bytes(const QString &path)
{
    constexpr std::uint64_t most = std::numeric_limits<qint64>::max();

    QString folder = QFileInfo(path).absoluteFilePath();
    for (;;) {
        const QByteArray name = QFile::encodeName(folder);
        DiskRoom room;
        const int error = diskRoom(name.constData(), room);
        if (error == 0)
            return static_cast<qint64>(std::min(room.free, most));
        const QString above = QFileInfo(folder).absolutePath();
        if ((error != ENOENT && error != ENOTDIR) || above == folder)
            return std::nullopt;
        folder = above;
    }
}

void FreeSpace::require(qint64 needed, const QString &path, const QString &thing)
{
    const std::optional<qint64> free = bytes(path);
    if (free && *free < needed)
        throw AppError::message(notEnough(thing, needed, *free));
}

QString FreeSpace::notEnough(const QString &thing, qint64 needed, qint64 free)
{
    return QStringLiteral("There is not enough space for %1: about %2 are needed and %3 are free.")
        .arg(thing, fileSizeText(needed), fileSizeText(free));
}
