#include "Leftovers.h"

#include "FileOperations.h"
#include "GameFolder.h"
#include "LauncherFolder.h"
#include "Paths.h"
#include "ScratchFolder.h"

bool Leftovers::clear() noexcept
{
    const QString temp = Paths::tempFolder();
    if (LauncherFolder::leadsThroughLink(temp))
        return false;
    FileOperations::removeHalfWritten(Paths::gameFolder());
    return GameFolder::putBack() && FileOperations::removeTreeIfPossible(temp);
}

void Leftovers::discard(const QString &path) noexcept
{
    if (LauncherFolder::leadsThroughLink(path) || !FileOperations::exists(path))
        return;
    try {
        const ScratchFolder bin;
        FileOperations::move(path, bin.filePath(QStringLiteral("discarded")));
    } catch (const std::exception &) {
        // On a full disk there may be no room for another folder, and below a link there is none to be made.
        FileOperations::removeTreeIfPossible(path);
    }
}

void Leftovers::discardAll() noexcept
{
    discard(Paths::gameFolder());
    discard(Paths::engineFolder());
    FileOperations::removeTreeIfPossible(Paths::root());
}
