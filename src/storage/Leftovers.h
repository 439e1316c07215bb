#pragma once

#include <QString>

/// What is left over in the launcher's folder, and removing so that nothing half-removed is. Any thread, but
/// not while an action of the launcher's is at work in the folder.
namespace Leftovers {

/// Clears up after a launcher that was killed, and after a disk that failed: puts back a game that was about
/// to be replaced, empties "Temp" and removes what was only half written. What cannot go stays until the next
/// time. True when "Temp" is empty then.
bool clear() noexcept;

/// Removes what is at `path`, which is under the root. It leaves its place whole, so that being killed here
/// leaves no half of it there. A symbolic link is removed and not followed; what lies behind one stays. A
/// failure is ignored.
void discard(const QString &path) noexcept;

/// Removes the launcher's folder and everything in it, the game and the engines first. What cannot go stays.
void discardAll() noexcept;

}
