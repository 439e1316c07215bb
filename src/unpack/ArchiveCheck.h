#pragma once

#include "ArchiveFile.h"
#include "DiskRoom.h"
#include "ZipDirectory.h"

#include <optional>

/// Reads and checks all of an archive except its files' data: the directory, the headers and where links
/// lead. Every link that it returns has its target. Writes nothing. Throws UnpackError for an archive that
/// cannot be trusted.
ZipDirectory readContents(const ArchiveFile &file, const ZipLimits &limits = {});

/// Checks the whole archive and writes nothing: does what readContents does, and requires the data of every
/// file to have the declared length and checksum. Throws UnpackError, or NoRoomError when the files do not
/// fit into `room`.
void checkArchive(const ArchiveFile &file, const std::optional<DiskRoom> &room = std::nullopt);
