#pragma once

#include <cstdint>

/// The room that is left on a file system.
struct DiskRoom {
    std::uint64_t free = 0; ///< the bytes that this user may still write
    std::uint64_t block = 1; ///< the bytes by which a file grows: the last block of each is taken whole
};

/// Asks the file system that holds `path`, which must exist. Returns an errno value, 0 on success; ENOTSUP
/// when the file system does not say. May block as long as it does not answer. Any thread.
int diskRoom(const char *path, DiskRoom &room);
/// As above, for the file system of an open file or folder.
int diskRoom(int descriptor, DiskRoom &room);

/// `left` times `right`, and `left` plus `right`, or the largest number where that is too large.
std::uint64_t saturatedProduct(std::uint64_t left, std::uint64_t right);
std::uint64_t saturatedSum(std::uint64_t left, std::uint64_t right);
