#pragma once

#include <QString>

#include <stop_token>

/// Clears the launcher's folder of what is no longer wanted, without ever leaving something half-removed in
/// its place. Any thread, but not while an action works in the folder.
///
/// Folders leave their place in one step and are then removed in the background, however many files they
/// hold. What a launcher that is killed meanwhile leaves of them has a hidden name, in the launcher's folder
/// or beside it, and goes at the next `beginToClear`.
namespace Leftovers {

/// Clears up after a launcher that was killed, and after a disk that failed: puts back a game that was about
/// to be replaced, empties "Temp" and removes what was only half written. What cannot go stays until the next
/// time. True when "Temp" is empty then.
bool beginToClear() noexcept;

/// As `beginToClear`, and waits until everything that is being removed in the background is gone, so that the
/// disk has room again, or until `stop` is requested. Not for the main thread.
bool clear(const std::stop_token &stop = {}) noexcept;

/// Removes what is at `path`, which is under the root. A symbolic link is removed and not followed; what lies
/// behind one stays. A failure is ignored.
void discard(const QString &path) noexcept;

/// Removes the launcher's folder and everything in it. What cannot go stays.
void discardAll() noexcept;

}
