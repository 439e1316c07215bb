#pragma once

#include "DiskRoom.h"
#include "ZipDirectory.h"

#include <optional>
#include <stdexcept>

/// The disk is too full for what is in a sound archive. One line that says how much it takes; the launcher
/// reads the two numbers.
class NoRoomError final : public std::runtime_error {
public:
    NoRoomError(std::uint64_t needed, std::uint64_t free);
};

/// The bytes that the files take on a disk whose files grow by `block` bytes; the largest number when there
/// are more. Folders and links are not counted: most file systems keep a small one with its name.
std::uint64_t roomNeeded(const ZipDirectory &directory, std::uint64_t block);

/// Throws NoRoomError when the archive's files do not fit. Does nothing without a `room`: the system did not
/// say.
void requireRoom(const ZipDirectory &directory, const std::optional<DiskRoom> &room);
