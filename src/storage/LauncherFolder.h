#pragma once

#include <QString>

/// Keeps what the launcher writes and removes below its own folder, Paths::root(): a symbolic link is
/// removed, never followed, also where the launcher's folder itself is one. Any thread.
namespace LauncherFolder {

/// Throws AppError when the launcher's folder, or its folder for engines or for scratch files, is a symbolic
/// link: what is written and removed there would be somewhere else. The link may be what the player wants, so
/// it is left alone.
void requireNoLinks();

/// Whether the launcher's folder, or a folder between it and `path`, is a symbolic link, so that `path`
/// really lies somewhere else. Whether `path` itself is a link does not matter. `path` is Paths::root() or
/// below it.
bool leadsThroughLink(const QString &path);

}
