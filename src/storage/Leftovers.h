#pragma once

#include <stop_token>

/// Cleans up what a launcher that was killed left behind. Any thread, but not while an action uses the
/// folder.
namespace Leftovers {

/// Puts back a game whose replacement was interrupted, empties "Temp" and removes half-written files and
/// folders whose removal was interrupted. Returns at once: the removing goes on in the background, however
/// many files there are. What cannot be removed stays until the next time. Returns whether "Temp" is empty.
bool beginToClear() noexcept;

/// As `beginToClear`, and waits until everything is removed in the background, so that the disk has room
/// again, or until `stop` is requested. Not for the main thread.
bool clear(const std::stop_token &stop = {}) noexcept;

}
