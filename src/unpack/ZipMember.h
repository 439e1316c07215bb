#pragma once

#include "ArchiveFile.h"

#include <ctime>
#include <optional>

/// One member of an archive, as its directory describes it. Without its name, which is read again where it is
/// needed: there may be many of them, and long ones.
struct ZipMember {
    enum class Kind : std::uint8_t { File, Folder, Link };

    std::uint64_t header = 0; ///< where its header in the directory begins
    std::uint64_t nameHash = 0; ///< of the name that was checked
    std::uint64_t offset = 0; ///< where it begins in the archive, with the header in front of its data
    ArchivePart data; ///< as it stands in the archive
    std::uint64_t size = 0; ///< unpacked, in bytes
    std::optional<std::time_t> modified;
    std::uint32_t crc = 0;
    Kind kind = Kind::File;
    bool isProgram = false; ///< whether its execute bit is set
    bool isDeflated = false; ///< otherwise its data stands in the archive as it is
};
