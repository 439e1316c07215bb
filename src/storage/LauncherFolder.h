#pragma once

#include <QString>

/// Keeps what the launcher writes and removes below its own folder, Paths::root(): a symbolic link is
/// removed, never followed, also where the launcher's folder itself is one. Any thread.
namespace LauncherFolder {

/// Throws AppError where the launcher's folder, or the one for engines or scratch in it, is a symbolic link:
/// what is put there and taken away again would be somewhere else. Whoever made the link may have meant it,
/// so it stays.
void requireNoLinks();

/// Whether the launcher's folder, or one on the way from there to `path`, is a symbolic link, so that `path`
/// is somewhere else. What `path` itself is does not matter. `path` is Paths::root() or lies below it.
bool leadsThroughLink(const QString &path);

}
