#pragma once

#include <QString>

/// Makes sure that the launcher writes and removes only below its own folder, Paths::root(): it never follows
/// a symbolic link, not even one in place of that folder. Any thread.
namespace SymlinkGuard {

/// Throws AppError when the launcher's folder, or its folder for engines or for scratch files, is a symbolic
/// link: files would be written and removed elsewhere. The player may want the link, so it is left alone.
void requireNoLinks();

/// Whether the launcher's folder, or a folder between it and `path`, is a symbolic link, so that `path` is
/// really elsewhere. It does not matter whether `path` itself is a link. `path` is Paths::root() or below it.
bool leadsThroughLink(const QString &path);

}
