#pragma once

#include <QString>

/// The space that the regular files under `folder` take on disk, in bytes: blocks, not lengths. Hidden files
/// count, links and special files do not and are not followed. A missing or unreadable folder is 0,
/// unreadable entries add nothing. Walks the whole tree: for a background thread.
qint64 directorySize(const QString &folder);
