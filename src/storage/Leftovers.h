#pragma once

#include <QString>

#include <stop_token>

/// Removes what is no longer needed from the launcher's folder, without ever leaving something half-removed
/// in its place. Any thread, but not while an action uses the folder.
///
/// A folder is moved aside in one step and then removed in the background, however many files it holds. If
/// the launcher is killed meanwhile, the rest has a hidden name, in the launcher's folder or beside it, and
/// is removed by the next `beginToClear`.
namespace Leftovers {

/// Cleans up after a launcher that was killed or a disk that failed: puts back a game whose replacement was
/// interrupted, empties "Temp" and removes half-written files. What cannot be removed stays until the next
/// time. Returns whether "Temp" is empty.
bool beginToClear() noexcept;

/// As `beginToClear`, and waits until everything is removed in the background, so that the disk has room
/// again, or until `stop` is requested. Not for the main thread.
bool clear(const std::stop_token &stop = {}) noexcept;

/// Removes what is at `path`, which is below the root. A symbolic link at `path` is removed, not followed; if
/// one leads to `path`, nothing is removed. Failures are ignored.
void discard(const QString &path) noexcept;

/// Removes the launcher's folder and everything in it. What cannot be removed stays.
void discardAll() noexcept;

}
