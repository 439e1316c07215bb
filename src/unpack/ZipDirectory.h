#pragma once

#include "MemberTree.h"
#include "ZipMember.h"

#include <string>
#include <vector>

/// What an archive may hold before it counts as an attack on the disk or on the memory.
struct ZipLimits {
    /// Files, links and folders, those included that are only parts of names, and other names of these.
    std::uint64_t members = 200'000;
    std::uint64_t links = 5'000;
    std::uint64_t size = 8'000'000'000; ///< bytes, unpacked
    std::uint64_t growth = 200; ///< unpacked bytes for each byte of the archive, unless it is small anyway:
    std::uint64_t small = 10 * 1024 * 1024;
};

/// A link among the members, at each of the places where some reader may make it.
struct ZipLink {
    std::size_t member = 0; ///< its place among the members
    std::vector<MemberTree::Node> nodes;
    std::string target; ///< where it leads; empty as long as its data was not read
};

/// What an archive's directory lists, in the order in which it lies in the archive.
struct ZipDirectory {
    std::vector<ZipMember> members;
    std::vector<ZipLink> links; ///< in the same order
};

/// Reads the directory and the headers in front of the members' data, and adds all names to `tree`. Throws
/// UnpackError for everything that a sound archive does not have: names that lead out of the folder or are
/// in it twice, members that overlap or leave gaps, headers that contradict the directory, encryption,
/// unusual methods, devices, and more than the limits. Where links lead is not known here: that is data.
ZipDirectory readZipDirectory(const ArchiveFile &file, MemberTree &tree, const ZipLimits &limits = {});

/// Reads members' names. Not thread-safe.
class MemberNames final {
public:
    /// `file` outlives it.
    explicit MemberNames(const ArchiveFile &file);

    /// The name relative to the folder that the archive is unpacked into, without "/" at its end. Throws
    /// UnpackError when it is no longer the one that was checked.
    std::string of(const ZipMember &member);

private:
    const ArchiveFile &m_file;
    ArchiveWindow m_window;
};
