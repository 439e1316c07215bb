#pragma once

#include <QString>

/// Clears the launcher's folder of what is no longer wanted, without ever leaving something half-removed in
/// its place. Any thread, but not while an action works in the folder.
namespace Leftovers {

/// Clears up after a launcher that was killed, and after a disk that failed: puts back a game that was about
/// to be replaced, empties "Temp" and removes what was only half written. What cannot go stays until the next
/// time. True when "Temp" is empty then.
bool clear() noexcept;

/// Removes what is at `path`, which is under the root. It is moved away whole before it is removed, so that a
/// launcher that is killed meanwhile leaves no half of it at `path`. A symbolic link is removed and not
/// followed; what lies behind one stays. A failure is ignored.
void discard(const QString &path) noexcept;

/// Removes the launcher's folder and everything in it, the game and the engines first. What cannot go stays.
void discardAll() noexcept;

}
