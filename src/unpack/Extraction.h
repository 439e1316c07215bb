#pragma once

#include "ArchiveFile.h"
#include "DiskRoom.h"

#include <optional>

/// Extracts the zip archive into the open folder, which must be empty. The directory and the headers are
/// checked before anything is written, each file's length and checksum once it is written. On failure, clears
/// the folder and throws UnpackError, or NoRoomError when the files do not fit into `room`.
void unpack(const ArchiveFile &archive, int folder, const std::optional<DiskRoom> &room = std::nullopt);
