#pragma once

#include "ArchiveFile.h"
#include "ZipDirectory.h"

/// Reads and checks all of an archive except its files' data: the directory, the headers and where links
/// lead. Every link that it returns has its target. Writes nothing. Throws UnpackError for an archive that
/// cannot be trusted.
ZipDirectory readContents(const ArchiveFile &file, const ZipLimits &limits = {});

/// Checks the whole archive and writes nothing: does what readContents does, and requires the data of every
/// file to have the declared length and checksum. Throws UnpackError.
void checkArchive(const ArchiveFile &file);
