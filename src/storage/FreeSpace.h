#pragma once

#include <QString>

#include <optional>

/// The room that is left on the disk.
namespace FreeSpace {

/// The bytes that this user may still write to the file system that holds `path`, or would hold it: of a path
/// that does not exist, the nearest folder above it counts. No value where the system does not say. Asks the
/// file system and may block as long as it does not answer. Any thread.
std::optional<qint64> bytes(const QString &path);

/// Throws AppError, with the sentence of `notEnough`, when `bytes` says that `path` has less than `needed`
/// bytes left. Does nothing where the system does not say. Any thread.
void require(qint64 needed, const QString &path, const QString &thing);

/// The sentence for the player that `thing` ("Godot 4.3", "the game") needs more bytes than are free.
QString notEnough(const QString &thing, qint64 needed, qint64 free);

}
