#pragma once

#include "ArchiveFile.h"

/// Extracts the zip archive into the open folder, which must be empty. The directory and the headers are
/// checked before anything is written, each file's length and checksum once it is written. On failure, clears
/// the folder and throws UnpackError.
void unpack(const ArchiveFile &archive, int folder);
