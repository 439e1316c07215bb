#include "DirectorySize.h"

#include "FolderWalk.h"

#include <QFile>

#include <utility>
#include <vector>

qint64 directorySize(const QString &folder)
{
    constexpr qint64 blockSize = 512; // the unit of st_blocks, whatever the file system's block size

    FolderWalk walk(FolderWalk::Permissions::AsTheyAre);
    if (walk.begin(QFile::encodeName(folder), FolderWalk::Start::ThroughLink) != 0)
        return 0;

    qint64 total = 0;
    // For each folder from the first to the current one, the sub-folders still to visit.
    std::vector<QList<QByteArray>> remaining;
    const auto countHere = [&walk, &total, &remaining] {
        QList<QByteArray> names;
        QList<QByteArray> folders;
        static_cast<void>(walk.list(names)); // what cannot be listed adds nothing
        for (const QByteArray &name : std::as_const(names)) {
            struct stat status = {};
            if (walk.inspect(name, status) != 0)
                continue;
            if (S_ISREG(status.st_mode))
                total += status.st_blocks * blockSize;
            else if (S_ISDIR(status.st_mode))
                folders.append(name);
        }
        remaining.push_back(std::move(folders));
    };

    countHere();
    while (!remaining.empty()) {
        if (!remaining.back().isEmpty()) {
            if (walk.enter(remaining.back().takeLast()) == 0)
                countHere();
        } else {
            remaining.pop_back();
            if (walk.leave() != 0)
                break;
        }
    }
    return total;
}
