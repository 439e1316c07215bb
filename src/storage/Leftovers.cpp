#include "Leftovers.h"

#include "BackgroundRemoval.h"
#include "FileOperations.h"
#include "GameFolder.h"
#include "Paths.h"
#include "SymlinkGuard.h"

bool Leftovers::beginToClear() noexcept
{
    BackgroundRemoval::resume(Paths::base());
    const QString temp = Paths::tempFolder();
    if (SymlinkGuard::leadsThroughLink(temp))
        return false;
    BackgroundRemoval::resume(Paths::root());
    const bool isPutBack = GameFolder::putBack();
    const QString game = Paths::gameFolder();
    if (FileOperations::isFolder(game))
        BackgroundRemoval::then([game] { FileOperations::removeHalfWritten(game); });
    return isPutBack && BackgroundRemoval::remove(temp, Paths::root());
}

bool Leftovers::clear(const std::stop_token &stop) noexcept
{
    const bool isClear = beginToClear();
    BackgroundRemoval::wait(stop);
    return isClear;
}
