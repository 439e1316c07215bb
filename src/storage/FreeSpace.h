#pragma once

#include <QString>

#include <optional>

/// The room that is left on the disk.
namespace FreeSpace {

/// The bytes that this user may still write to the file system that holds `path`, or would hold it: of a path
/// that does not exist, the nearest folder above it counts. No value where the system does not say. Asks the
/// file system and may block as long as it does not answer. Any thread.
std::optional<qint64> bytes(const QString &path);

}
