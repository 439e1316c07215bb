#pragma once

#include <QString>

/// Replaces one game by another so that one of the two is whole at every moment, even if the launcher is
/// killed or the disk fails in the middle. No two calls at once.
namespace GameFolder {

/// Makes the folder `project` the game folder. Returns the folder in "Temp" that now holds the old game, for
/// the caller to remove, or an empty text when there was none. Throws FileError; then the old game is still
/// in place or, if it cannot even be moved back, in "Temp" until `putBack`.
QString replace(const QString &project);

/// Puts a game that was about to be replaced back, if its place is still empty. False when there is such a
/// game and it cannot be moved: "Temp" must stay as it is.
bool putBack() noexcept;

}
