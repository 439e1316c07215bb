#pragma once

#include "MemberTree.h"
#include "ZipMember.h"

#include <string>
#include <vector>

/// The limits beyond which an archive counts as an attack on the disk or on memory.
struct ZipLimits {
    /// Files, links and folders, including folders that are only parts of names, and alternative names of
    /// these.
    std::uint64_t members = 200'000;
    std::uint64_t links = 5'000;
    std::uint64_t size = 8'000'000'000; ///< bytes, unpacked
    std::uint64_t growth = 200; ///< unpacked bytes for each byte of the archive
    std::uint64_t small = 10 * 1024 * 1024; ///< unpacked bytes up to which `growth` does not apply
};

/// A link among the members, with a node for each name under which some reader may create it.
struct ZipLink {
    std::size_t member = 0; ///< its index among the members
    std::vector<MemberTree::Node> nodes;
    std::string target; ///< empty until its data is read
};

/// What an archive's directory lists, sorted by position in the archive.
struct ZipDirectory {
    std::vector<ZipMember> members;
    std::vector<ZipLink> links; ///< in the same order
};

/// Reads the directory and the members' local headers, and adds all names to `tree`. Throws UnpackError for
/// everything that a sound archive does not have: names that lead out of the folder or occur twice, members
/// that overlap or leave gaps, headers that contradict the directory, encryption, unusual methods, devices,
/// and more than the limits allow. Does not check where links lead: that is member data.
ZipDirectory readZipDirectory(const ArchiveFile &file, MemberTree &tree, const ZipLimits &limits = {});

/// Reads members' names. Not thread-safe.
class MemberNames final {
public:
    /// `file` must outlive it.
    explicit MemberNames(const ArchiveFile &file);

    /// The name relative to the folder that the archive is unpacked into, without "/" at its end. Throws
    /// UnpackError when it is no longer the one that was checked.
    std::string of(const ZipMember &member);

private:
    const ArchiveFile &m_file;
    ArchiveWindow m_window;
};
