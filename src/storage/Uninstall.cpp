#include "Uninstall.h"

#include "BackgroundRemoval.h"
#include "FileOperations.h"
#include "Paths.h"
#include "SymlinkGuard.h"

namespace {

void removeBelowRoot(const QString &path) noexcept
{
    if (!SymlinkGuard::leadsThroughLink(path))
        BackgroundRemoval::remove(path, Paths::root());
}

}

void Uninstall::game() noexcept { removeBelowRoot(Paths::gameFolder()); }

void Uninstall::engines() noexcept { removeBelowRoot(Paths::engineFolder()); }

void Uninstall::file(const QString &path) noexcept { removeBelowRoot(path); }

void Uninstall::everything() noexcept
{
    const QString root = Paths::root();
    if (FileOperations::isFolder(root) && !BackgroundRemoval::begin(root, Paths::base())) {
        // The folder cannot be moved: remove what the player sees of it now and the rest in the background.
        // The next action waits for that.
        game();
        engines();
        BackgroundRemoval::then([root] { FileOperations::removeTreeIfPossible(root); });
    } else {
        FileOperations::removeTreeIfPossible(root); // removes a symbolic link without following it
    }
    BackgroundRemoval::resume(Paths::base());
}
