#pragma once

#include "ByteReader.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

/// So many bytes of an archive.
struct ArchivePart {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

/// One member of an archive, as its directory describes it.
struct ZipMember {
    enum class Kind { File, Folder, Link };

    std::string name; ///< relative to the folder that it is unpacked into, without "/" at its end
    Kind kind = Kind::File;
    bool isProgram = false; ///< whether its execute bit is set
    std::uint32_t crc = 0;
    std::uint64_t size = 0; ///< unpacked
    std::uint64_t offset = 0; ///< where it begins in the archive, with its header
    std::optional<std::time_t> modified;
    bool isDeflated = false; ///< else its data stands in the archive as it is
    ArchivePart data; ///< as it stands in the archive
};

/// What an archive may hold before it counts as an attack on the disk.
struct ZipLimits {
    std::uint64_t members
        = 200'000; ///< files, links and folders, those included that are only parts of names
    std::uint64_t size = 8'000'000'000; ///< bytes, unpacked
    std::uint64_t growth = 200; ///< unpacked bytes for each byte of the archive, unless it is small anyway:
    std::uint64_t small = 10 * 1024 * 1024;
};

/// The members of the zip archive that `archive` holds, in the order in which they lie in it. A pure
/// function; it throws UnpackError for everything that a sound archive does not have: names that lead out of
/// the folder or stand twice, members that overlap or leave gaps, headers that contradict the directory,
/// encryption, unusual methods, devices, and more than the limits. Where links lead is not known here: that
/// is data.
std::vector<ZipMember> readZipDirectory(Bytes archive, const ZipLimits &limits = {});
