#pragma once

#include <QString>

#include <functional>
#include <stop_token>

/// Removes folders one after another, on a thread of its own that exists only while there is work. A folder
/// is first renamed in one step, so that its place is free at once and a killed launcher leaves nothing
/// half-removed there. Failures are ignored: what is left keeps its hidden name until the next `resume`. The
/// thread does not keep the process from exiting. Any thread.
namespace BackgroundRemoval {

/// Moves the folder `path` aside, to a hidden name in the folder `place` on the same file system, and starts
/// to remove it. Returns false when it cannot be moved: it is then still where it was.
bool begin(const QString &path, const QString &place) noexcept;

/// Removes a folder as `begin` does, or at once where it cannot be moved, and anything else at once. Returns
/// whether nothing is left at `path`.
bool remove(const QString &path, const QString &place) noexcept;

/// Starts to remove everything that was moved aside into `place` before, even by a launcher that was killed.
/// Symbolic links in `place` are removed, not followed.
void resume(const QString &place) noexcept;

/// Runs `work`, which must not throw, on the same thread after everything that was started before it.
void then(std::function<void()> work) noexcept;

/// Blocks until no work is left or `stop` is requested.
void wait(const std::stop_token &stop) noexcept;

}
