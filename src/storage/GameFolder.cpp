#include "GameFolder.h"

#include "DiskNames.h"
#include "FileError.h"
#include "FileOperations.h"
#include "Paths.h"
#include "SymlinkGuard.h"

#include <QDir>

namespace {

/// Where the old game is kept, in a scratch folder of its own, while it may have to be put back.
QString setAsideIn(const QString &folder) { return folder + u'/' + DiskNames::game; }

bool moveIfPossible(const QString &from, const QString &to) noexcept
{
    try {
        FileOperations::move(from, to);
        return true;
    } catch (const FileError &) {
        return false; // the caller carries on without it
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
    // Rename it before it is removed, so that a crash cannot make putBack() restore half a game.
    moveIfPossible(old, folder + u'/' + DiskNames::replacedGame);
    return folder;
}

bool GameFolder::putBack() noexcept
{
    const QString game = Paths::gameFolder();
    const QDir temp(Paths::tempFolder());
    if (SymlinkGuard::leadsThroughLink(setAsideIn(temp.path())))
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
