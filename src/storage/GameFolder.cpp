#include "GameFolder.h"

#include "FileError.h"
#include "FileOperations.h"
#include "LauncherFolder.h"
#include "Paths.h"

#include <QDir>

namespace {

/// Where the old game waits, in a scratch folder of its own, for as long as it may have to be put back.
QString setAsideIn(const QString &folder) { return folder + QStringLiteral("/Game"); }

bool moveIfPossible(const QString &from, const QString &to) noexcept
{
    try {
        FileOperations::move(from, to);
        return true;
    } catch (const FileError &) {
        return false; // the caller goes on without
    }
}

}

QString GameFolder::replace(const QString &project)
{
    const QString game = Paths::gameFolder();
    if (!FileOperations::exists(game)) {
        FileOperations::createFolder(Paths::root());
        FileOperations::move(project, game);
        return {};
    }

    const QString folder = Paths::newTempDir();
    const QString old = setAsideIn(folder);
    try {
        FileOperations::move(game, old);
        FileOperations::move(project, game);
    } catch (const FileError &) {
        if (!FileOperations::exists(old) || moveIfPossible(old, game))
            FileOperations::removeTreeIfPossible(folder);
        throw;
    }
    // It is not wanted back any more. Under another name, half of it is never put back, however this ends.
    moveIfPossible(old, folder + QStringLiteral("/replaced"));
    return folder;
}

bool GameFolder::putBack() noexcept
{
    const QString game = Paths::gameFolder();
    const QDir temp(Paths::tempFolder());
    if (LauncherFolder::leadsThroughLink(setAsideIn(temp.path())))
        return true; // what lies there is not the launcher's
    for (const QString &name :
         temp.entryList(QDir::Dirs | QDir::NoSymLinks | QDir::NoDotAndDotDot | QDir::Hidden)) {
        if (FileOperations::exists(game))
            return true;
        const QString old = setAsideIn(temp.filePath(name));
        if (FileOperations::exists(old) && !moveIfPossible(old, game))
            return false;
    }
    return true;
}
