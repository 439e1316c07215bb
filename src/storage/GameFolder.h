#pragma once

#include <QString>

/// How one game takes the place of another, so that a launcher that is killed, or a disk that fails, in the
/// middle leaves one of the two whole. No two calls at once.
namespace GameFolder {

/// Makes the folder `project` the game folder. Gives the folder in "Temp" that now holds what was there, for
/// the caller to remove, or an empty text when nothing was. Throws FileError; then the old game is still
/// there or, where it cannot even be moved back, in "Temp" until `putBack`.
QString replace(const QString &project);

/// Puts a game that was about to be replaced back in its place when nothing has come there. False when there
/// is such a game and it cannot be moved: "Temp" must stay as it is.
bool putBack() noexcept;

}
