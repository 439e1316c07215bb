#pragma once

#include "ArchiveFile.h"

/// What the records at the end of a zip archive say about its directory.
struct ZipEnd {
    std::uint64_t count = 0;
    std::uint64_t directoryOffset = 0;
    std::uint64_t directorySize = 0;
};

/// Finds and checks the end records, including those of large archives (zip64). There must be exactly one
/// end, with nothing between the directory and it, nor after it. Throws UnpackError.
ZipEnd findZipEnd(const ArchiveFile &file);
