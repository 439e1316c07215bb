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

/// The folder that contains the launcher's folder.
QString base() { return QFileInfo(Paths::root()).path(); }

/// Whether `path` is a folder and not a symbolic link to one.
bool isFolder(const QString &path)
{
    const QFileInfo info(path);
    return info.isDir() && !info.isSymbolicLink();
}

/// Removes a folder in the background, after moving it aside into `place`, and anything else at once. Returns
/// whether nothing is left at `path`.
bool remove(const QString &path, const QString &place) noexcept
{
    // An empty folder is not worth a thread, and at most starts "Temp" is empty.
    if (!FileOperations::exists(path) || ::rmdir(QFile::encodeName(path).constData()) == 0)
        return true;
    if (isFolder(path) && BackgroundRemoval::begin(path, place))
        return true;
    // A mount point, for example, cannot be moved.
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
        // The folder cannot be moved: remove what the player sees of it now and the rest in the background.
        // Actions wait for that in `clear`.
        discard(Paths::gameFolder());
        discard(Paths::engineFolder());
        BackgroundRemoval::then([root] { FileOperations::removeTreeIfPossible(root); });
    } else {
        FileOperations::removeTreeIfPossible(root); // removes a symbolic link without following it
    }
    BackgroundRemoval::resume(base());
}
