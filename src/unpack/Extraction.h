#pragma once

#include "ArchiveFile.h"

/// Unpacks the zip archive into the open folder, which is empty. What the directory and the headers tell is
/// checked before anything is written; each file's length and checksum when it has been written. Throws
/// UnpackError, and then nothing is left in the folder.
void unpack(const ArchiveFile &archive, int folder);
