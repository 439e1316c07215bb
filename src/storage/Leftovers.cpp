#include "Leftovers.h"

#include "FileError.h"
#include "FileOperations.h"
#include "GameFolder.h"
#include "Paths.h"
#include "ScratchFolder.h"

bool Leftovers::clear() noexcept
{
    FileOperations::removeHalfWritten(Paths::gameFolder());
    return GameFolder::putBack() && FileOperations::removeTreeIfPossible(Paths::tempFolder());
}

void Leftovers::discard(const QString &path) noexcept
{
    if (!FileOperations::exists(path))
        return;
    try {
        const ScratchFolder bin;
        FileOperations::move(path, bin.filePath(QStringLiteral("discarded")));
    } catch (const FileError &) {
        // On a full disk there may be no room for another folder; removing makes some.
        FileOperations::removeTreeIfPossible(path);
    }
}
