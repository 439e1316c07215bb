#pragma once

#include <QString>

/// The disk space that the regular files under `folder` occupy, in bytes: allocated blocks, not lengths.
/// Hidden files count; symbolic links and special files do not, and links are not followed. Returns 0 for a
/// missing or unreadable folder; unreadable entries add nothing. Walks the whole tree: call it on a
/// background thread.
qint64 directorySize(const QString &folder);
