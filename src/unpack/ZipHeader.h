#pragma once

#include "ArchiveFile.h"

#include <ctime>
#include <optional>

/// A member's header, either the one in the directory or the local header in front of the member's data.
struct ZipHeader {
    static constexpr std::uint16_t encrypted = 1 << 0;
    /// The checksum and the sizes follow the data: the writer did not know them in time.
    static constexpr std::uint16_t sizesFollow = 1 << 3;
    static constexpr std::uint16_t nameIsUtf8 = 1 << 11;

    std::uint8_t writersSystem = 0; // directory only
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    std::uint32_t crc = 0;
    std::uint64_t packedSize = 0;
    std::uint64_t size = 0;
    std::uint32_t attributes = 0; // directory only
    std::uint64_t offset = 0; // directory only: of the local header in the archive
    std::uint32_t localTime = 0; // directory only: the writer's local time, in DOS format
    std::optional<std::time_t> utcTime; // directory only: Info-ZIP's time stamp
    std::string storedName;
    /// The effective name: from Info-ZIP's Unicode field if there is one, otherwise the stored name.
    std::string name;
    std::uint64_t length = 0; ///< of the header itself, in bytes
};

/// When the member was last modified; nothing when the writer did not know. Uses the local time zone.
std::optional<std::time_t> modificationTime(const ZipHeader &header);

/// Reads the directory header at the start of `rest`, and nothing beyond `rest`. Throws UnpackError.
ZipHeader readDirectoryHeader(ArchiveWindow &window, ArchivePart rest);

/// Reads the local header at the start of `rest`, which is all that may belong to the member. Throws
/// UnpackError.
ZipHeader readLocalHeader(ArchiveWindow &window, ArchivePart rest);
