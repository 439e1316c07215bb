#include "Leftovers.h"

#include "BackgroundRemoval.h"
#include "FileOperations.h"
#include "GameFolder.h"
#include "LauncherFolder.h"
#include "Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace {

/// Where the launcher's folder lies.
QString base() { return QFileInfo(Paths::root()).path(); }

/// Whether `path` is a folder itself and no link to one.
bool isFolder(const QString &path)
{
    const QFileInfo info(path);
    return info.isDir() && !info.isSymbolicLink();
}

/// A folder goes in the background, anything else at once. `place` is where it can be moved aside to. Whether
/// nothing is left at `path`.
bool remove(const QString &path, const QString &place) noexcept
{
    // An empty folder, which "Temp" is at most starts, is not worth a thread.
    if (!FileOperations::exists(path) || ::rmdir(QFile::encodeName(path).constData()) == 0)
        return true;
    if (isFolder(path) && BackgroundRemoval::begin(path, place))
        return true;
    // What another file system is mounted on, for one, does not move.
    return FileOperations::removeTreeIfPossible(path);
}

}

bool Leftovers::beginToClear() noexcept
{
    BackgroundRemoval::resume(base());
    const QString temp = Paths::tempFolder();
    if (LauncherFolder::leadsThroughLink(temp))
        return false;
    BackgroundRemoval::resume(Paths::root());
    const bool isPutBack = GameFolder::putBack();
    const QString game = Paths::gameFolder();
    if (isFolder(game))
        BackgroundRemoval::then([game] { FileOperations::removeHalfWritten(game); });
    return isPutBack && remove(temp, Paths::root());
}

bool Leftovers::clear(const std::stop_token &stop) noexcept
{
    const bool isClear = beginToClear();
    BackgroundRemoval::wait(stop);
    return isClear;
}

void Leftovers::discard(const QString &path) noexcept
{
    if (!LauncherFolder::leadsThroughLink(path))
        remove(path, Paths::root());
}

void Leftovers::discardAll() noexcept
{
    const QString root = Paths::root();
    if (isFolder(root) && !BackgroundRemoval::begin(root, base())) {
        // A folder that cannot leave its place: what the player sees of it goes at once, the rest soon.
        // Actions wait for that in `clear`.
        discard(Paths::gameFolder());
        discard(Paths::engineFolder());
        BackgroundRemoval::then([root] { FileOperations::removeTreeIfPossible(root); });
    } else {
        FileOperations::removeTreeIfPossible(root); // a link, which is not followed
    }
    BackgroundRemoval::resume(base());
}
