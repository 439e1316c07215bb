#pragma once

#include "ZipDirectory.h"

#include <memory>

struct inflate_state;

/// A part of a file's data that can be unpacked without what stands in front of it. Large files have several,
/// which the check finds on its way, so that all processors can write them.
struct Stretch {
    std::size_t member = 0; ///< the file's place among the archive's members
    std::uint64_t begin = 0; ///< in the unpacked file
    std::uint64_t size = 0; ///< unpacked
    std::uint32_t checksum = 0;
    ArchivePart data; ///< as it stands in the archive
    /// What the unpacking knew when it had come so far; none at the beginning of a file, and where nothing is
    /// packed.
    std::shared_ptr<const inflate_state> resume;
};
