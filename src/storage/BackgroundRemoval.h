#pragma once

#include <QString>

#include <functional>
#include <stop_token>

/// Removes folders that nobody waits for, one after the other, on a thread of its own that lives only while
/// there is something to do. A folder first leaves its place in one step, so that the place is free at once
/// and a launcher that is killed leaves no half of it there. A failure is ignored: what is left waits, under
/// its hidden name, for the next `resume`. The thread does not keep the process from ending. Any thread.
namespace BackgroundRemoval {

/// Moves the folder `path` aside, to a hidden name of its own in the folder `place` of the same file system,
/// and begins to remove it. False when it cannot be moved: then it is still where it was.
bool begin(const QString &path, const QString &place) noexcept;

/// Begins to remove everything in `place` that was moved aside there before, also by a launcher that was
/// killed. A link in it is removed and not followed.
void resume(const QString &place) noexcept;

/// Does `work` on the same thread, after everything that was begun before it. It must not throw.
void then(std::function<void()> work) noexcept;

/// Waits until everything that was begun has been done, or `stop` is requested.
void wait(const std::stop_token &stop) noexcept;

}
