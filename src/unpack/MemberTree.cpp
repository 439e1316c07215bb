#include "MemberTree.h"

#include "MemberName.h"
#include "NameHash.h"
#include "UnpackError.h"

namespace {

constexpr MemberTree::Node root = 0;
constexpr int mostLinks = 40; // on one path, as on Linux
/// The most parts that a path may have below what the archive holds. No name has more, but a chain of links
/// could add up to more.
constexpr std::size_t mostMissing = longestName / 2;

}

MemberTree::MemberTree(std::uint64_t mostNodes)
    : m_mostNodes(mostNodes)
    , m_entries(1) // the root
{
}

MemberTree::Node MemberTree::add(const std::string &name, ZipMember::Kind kind)
{
    const std::vector<std::string> parts = partsOf(name);
    Node node = root;
    std::size_t length = 0;
    for (std::size_t index = 0; index + 1 < parts.size(); ++index) {
        length += parts[index].size() + 1;
        node = insert(node, parts[index], ZipMember::Kind::Folder, name.substr(0, length - 1));
        if (m_entries[node].kind != ZipMember::Kind::Folder)
            throw UnpackError("The archive cannot be trusted: something lies below "
                              + inQuotes(name.substr(0, length - 1)) + ", which is no folder.");
    }

    node = insert(node, parts.back(), kind, name);
    Entry &entry = m_entries[node];
    if (entry.isListed || entry.kind != kind)
        throw UnpackError("The archive cannot be trusted: " + inQuotes(name) + " is in it twice.");
    entry.isListed = true;
    return node;
}

/// The child of `parent` that a file system may treat as `part`, the last part of `name`; added as `kind` if
/// there is none.
MemberTree::Node MemberTree::insert(Node parent, const std::string &part, ZipMember::Kind kind,
                                    const std::string &name)
{
    const Step step { nameHash(comparisonKey(part)), parent };
    const std::uint64_t spelling = nameHash(part);
    const auto [child, isNew] = m_children.try_emplace(step, static_cast<Node>(m_entries.size()));
    if (isNew) {
        if (m_entries.size() > m_mostNodes)
            throw UnpackError("The archive holds too many files.");
        m_entries.push_back({ spelling, parent, kind, false });
    }
    if (m_entries[child->second].spelling != spelling)
        throw UnpackError("The archive cannot be trusted: " + inQuotes(name)
                          + " and another name in it are the same to some file systems.");
    return child->second;
}

void MemberTree::setTarget(Node link, const std::string &target) { m_links[link].target = target; }

MemberTree::Way MemberTree::follow(Node link) { return resolve(link, 1); }

MemberTree::Way MemberTree::resolve(Node node, int depth)
{
    Link &link = m_links.at(node);
    if (link.state == Link::State::Known)
        return Way::Inside;
    if (link.state == Link::State::OnTheWay || depth > mostLinks)
        return Way::Circle;
    link.state = Link::State::OnTheWay;
    const Way way = walk(node, link, depth);
    link.state = way == Way::Inside ? Link::State::Known : Link::State::Unknown;
    return way;
}

MemberTree::Way MemberTree::walk(Node node, Link &link, int depth)
{
    Place place { m_entries[node].parent, 0 };
    link.followed = 1;
    for (const std::string &part : partsOf(link.target)) {
        if (part.empty() || part == ".")
            continue;
        if (part == "..") {
            if (place.missing == 0 && place.node == root)
                return Way::Outside;
            if (place.missing > 0)
                --place.missing;
            else
                place.node = m_entries[place.node].parent;
            continue;
        }
        const Step step { nameHash(comparisonKey(part)), place.node };
        const auto child = place.missing > 0 ? m_children.end() : m_children.find(step);
        if (child == m_children.end()) {
            if (++place.missing > mostMissing)
                return Way::TooLong;
            continue;
        }
        place.node = child->second;
        if (m_entries[place.node].kind != ZipMember::Kind::Link)
            continue;
        const Way way = resolve(place.node, depth + 1);
        if (way != Way::Inside)
            return way;
        const Link &other = m_links.at(place.node);
        link.followed += other.followed;
        if (link.followed > mostLinks)
            return Way::Circle;
        place = other.end;
    }
    link.end = place;
    return Way::Inside;
}
