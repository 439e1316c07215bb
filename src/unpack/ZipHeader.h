#pragma once

#include "ArchiveFile.h"

#include <ctime>
#include <optional>

/// What one member's header says, be it the one in the directory or the one in front of the member's data.
struct ZipHeader {
    static constexpr std::uint16_t encrypted = 1 << 0;
    /// The checksum and the sizes stand behind the data, for a writer that did not know them in time.
    static constexpr std::uint16_t sizesFollow = 1 << 3;
    static constexpr std::uint16_t nameIsUtf8 = 1 << 11;

    std::uint8_t writersSystem = 0; // directory only
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    std::uint32_t crc = 0;
    std::uint64_t packedSize = 0;
    std::uint64_t size = 0;
    std::uint32_t attributes = 0; // directory only
    std::uint64_t offset = 0; // directory only: of the other header, from the start of the archive
    std::uint32_t localTime = 0; // directory only: by the clock of where it was written, as DOS packs it
    std::optional<std::time_t> utcTime; // directory only: Info-ZIP's time, which says what time it was
    std::string storedName;
    /// The name that holds: that of Info-ZIP's Unicode field where there is one, else the stored one.
    std::string name;
    std::uint64_t length = 0; ///< of the header itself, in bytes
};

/// When the member was changed; nothing where the writer did not know. Asks for the time zone.
std::optional<std::time_t> modificationTime(const ZipHeader &header);

/// Reads the header of the directory with which `rest`, the directory from there to its end, begins. Throws
/// UnpackError.
ZipHeader readDirectoryHeader(ArchiveWindow &window, ArchivePart rest);

/// Reads the header in front of a member's data with which `rest`, all that may belong to the member, begins.
/// Throws UnpackError.
ZipHeader readLocalHeader(ArchiveWindow &window, ArchivePart rest);
