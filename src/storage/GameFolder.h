#pragma once

#include <QString>

/// Replaces one game with another so that one of the two is complete at every moment, even if the launcher is
/// killed or the disk fails midway. Not thread-safe: one call at a time.
namespace GameFolder {

/// Makes the folder `project` the game folder. Returns the folder in "Temp" that now holds the old game, for
/// the caller to remove, or an empty string when there was none. Throws FileError, and AppError as
/// Paths::newTempDir does. The old game is then still in place or, if it cannot be moved back, in "Temp"
/// until `putBack`.
QString replace(const QString &project);

/// Puts back a game whose replacement was interrupted, if its place is still empty. Returns false when there
/// is such a game but it cannot be moved: "Temp" must then stay as it is.
bool putBack() noexcept;

}
