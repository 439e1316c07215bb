#pragma once

#include "ZipDirectory.h"

#include <map>
#include <string>
#include <unordered_map>

/// The folder tree that an archive's members make. It refuses members that cannot stand beside each other on
/// every file system, and links that lead out of the tree.
class MemberTree final {
public:
    explicit MemberTree(std::uint64_t largestSize);

    /// Throws UnpackError when the name, or one that a file system may take for it, is taken already, or when
    /// something would lie below a file or a link.
    void add(const ZipMember &member);

    /// Says where the link called `name`, added before, leads. Throws UnpackError when that is no relative
    /// path.
    void setTarget(const std::string &name, const std::string &target);

    /// Throws UnpackError when a link leads out of the tree, be it through other links, or in a circle. Every
    /// link has its target by now.
    void checkLinks() const;

private:
    struct Node {
        std::string spelling;
        ZipMember::Kind kind = ZipMember::Kind::Folder;
        bool isListed = false; ///< a member of its own, not only a part of others' names
    };

    void addFolderOf(const std::string &key, const std::string &spelling);
    Node &insert(const std::string &key, const std::string &spelling, ZipMember::Kind kind);
    void checkLink(const std::string &key, const std::string &target) const;

    std::uint64_t m_largestSize = 0;
    std::unordered_map<std::string, Node> m_nodes; // by comparisonKey of the whole path
    std::map<std::string, std::string> m_targets; // by the same key
};
