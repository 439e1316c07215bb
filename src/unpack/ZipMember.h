#pragma once

#include "ArchiveFile.h"

#include <ctime>
#include <optional>

/// One member of an archive, as its directory describes it. The name is not kept but read again when it is
/// needed: there may be many names, and long ones.
struct ZipMember {
    enum class Kind : std::uint8_t { File, Folder, Link };

    std::uint64_t header = 0; ///< offset of its directory header in the archive
    std::uint64_t nameHash = 0; ///< of the name that was checked
    std::uint64_t offset = 0; ///< offset of its local header in the archive
    ArchivePart data; ///< as stored in the archive
    std::uint64_t size = 0; ///< unpacked, in bytes
    std::optional<std::time_t> modified;
    std::uint32_t crc = 0;
    Kind kind = Kind::File;
    bool isProgram = false; ///< whether its execute bit is set
    bool isDeflated = false; ///< otherwise its data is not compressed
};
