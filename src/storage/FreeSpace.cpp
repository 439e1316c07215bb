#include "FreeSpace.h"

#include <QFile>
#include <QFileInfo>

#include <sys/statvfs.h>

#include <cerrno>
#include <limits>

namespace {

bool ask(const QString &path, struct statvfs &answer)
{
    int result = -1;
    do {
        result = ::statvfs(QFile::encodeName(path).constData(), &answer);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

}

std::optional<qint64> FreeSpace::bytes(const QString &path)
{
    QString folder = QFileInfo(path).absoluteFilePath();
    struct statvfs answer = {};
    while (!ask(folder, answer)) {
        const QString above = QFileInfo(folder).absolutePath();
        if ((errno != ENOENT && errno != ENOTDIR) || above == folder)
            return std::nullopt;
        folder = above;
    }
    // Some network and FUSE file systems report no blocks at all: they do not know.
    if (answer.f_blocks == 0 || answer.f_frsize == 0)
        return std::nullopt;
    const auto most = static_cast<unsigned long long>(std::numeric_limits<qint64>::max());
    const unsigned long long blocks = answer.f_bavail;
    return blocks > most / answer.f_frsize ? std::numeric_limits<qint64>::max()
                                           : static_cast<qint64>(blocks * answer.f_frsize);
}
