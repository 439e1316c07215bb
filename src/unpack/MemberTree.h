#pragma once

#include "ZipMember.h"

#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

/// The folder tree that the names in an archive form. It refuses names that collide on some file system, and
/// finds where links lead. It stores hashes instead of names, so that its size depends on their number and
/// not on their length.
class MemberTree final {
public:
    using Node = std::uint32_t;
    enum class Way { Inside, Outside, Circle, TooLong };

    /// Holds at most `mostNodes` files, links and folders, including folders that are only parts of names.
    explicit MemberTree(std::uint64_t mostNodes);

    /// Adds a checked name and returns its node. Throws UnpackError when the name, or one that a file system
    /// may treat as the same, is taken, when something would lie below a file or a link, or when the tree is
    /// full.
    Node add(const std::string &name, ZipMember::Kind kind);

    /// Sets the relative path that `link`, added as a link, leads to.
    void setTarget(Node link, const std::string &target);

    /// Resolves `link` as the operating system would, through every link on the way. All targets must be set.
    /// Resolving all links takes time in proportion to the total length of their targets.
    Way follow(Node link);

private:
    struct Entry {
        std::uint64_t spelling = 0; // hash of its part of the name
        Node parent = 0;
        ZipMember::Kind kind = ZipMember::Kind::Folder;
        bool isListed = false; // a member of its own, not only a part of others' names
    };
    struct Step {
        std::uint64_t key = 0; // hash of the comparison key
        Node parent = 0;
        bool operator==(const Step &) const = default;
    };
    struct StepHash {
        std::size_t operator()(const Step &step) const noexcept { return step.key ^ step.parent; }
    };
    /// A node, or a place `missing` parts below it that the archive does not contain.
    struct Place {
        Node node = 0;
        std::size_t missing = 0;
    };
    struct Link {
        std::string target;
        enum class State { Unknown, OnTheWay, Known } state = State::Unknown;
        Place end; // once known
        int followed = 0; // links on the way, itself included
    };

    Node insert(Node parent, const std::string &part, ZipMember::Kind kind, const std::string &name);
    Way resolve(Node node, int depth);
    Way walk(Node node, Link &link, int depth);

    std::uint64_t m_mostNodes = 0;
    std::deque<Entry> m_entries;
    std::unordered_map<Step, Node, StepHash> m_children;
    std::unordered_map<Node, Link> m_links;
};
