#pragma once

#include "ZipMember.h"

#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

/// The folder tree that the names in an archive make. It refuses names that cannot stand beside each other on
/// every file system, and tells where links lead. It keeps hashes in place of names, so that its size depends
/// on how many there are and not on how long they are.
class MemberTree final {
public:
    using Node = std::uint32_t;
    enum class Way { Inside, Outside, Circle, TooLong };

    /// Holds at most `mostNodes` files, links and folders, those included that are only parts of names.
    explicit MemberTree(std::uint64_t mostNodes);

    /// Adds a name that keeps all rules for names, and returns where it stands. Throws UnpackError when the
    /// name, or one that a file system may take for it, is taken already, when something would lie below a
    /// file or a link, or when the tree is full.
    Node add(const std::string &name, ZipMember::Kind kind);

    /// Says where `link`, which was added as one, leads: a relative path.
    void setTarget(Node link, const std::string &target);

    /// Walks the way that the operating system would, through all links on it. Every link has its target by
    /// now. All ways together take time in proportion to the length of all targets.
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
    /// A place in the tree, or so many parts below it where the archive has nothing.
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
