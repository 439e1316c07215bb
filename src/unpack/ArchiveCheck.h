#pragma once

#include "ArchiveFile.h"
#include "ZipDirectory.h"

/// Reads all of an archive but its files' data: the directory, the headers and where links lead. Nothing has
/// been written yet when it throws UnpackError for an archive that cannot be trusted. Every link has its
/// target then.
ZipDirectory readContents(const ArchiveFile &file, const ZipLimits &limits = {});

/// Reads the whole archive and writes nothing: the same, and the data of every file, which must have the
/// announced length and checksum. Throws UnpackError.
void checkArchive(const ArchiveFile &file);
