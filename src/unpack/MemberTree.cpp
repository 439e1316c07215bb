#include "MemberTree.h"

#include "MemberName.h"

#include <deque>

namespace {

[[noreturn]] void refuseTwice(const std::string &name, const std::string &other)
{
    throw UnpackError(
        "The archive cannot be trusted: " + quoted(name)
        + (name == other ? " is in it twice." : " and " + quoted(other) + " are the same name."));
}

std::string joined(const std::vector<std::string> &parts)
{
    std::string path;
    for (const std::string &part : parts)
        path += (path.empty() ? "" : "/") + part;
    return path;
}

}

MemberTree::MemberTree(std::uint64_t largestSize)
    : m_largestSize(largestSize)
{
}

void MemberTree::add(const ZipMember &member)
{
    const std::string key = comparisonKey(member.name);
    // Every "/" of the name is one of the key, so that both are walked side by side.
    std::size_t keyEnd = key.find('/');
    std::size_t end = member.name.find('/');
    while (end != std::string::npos && keyEnd != std::string::npos) {
        addFolderOf(key.substr(0, keyEnd), member.name.substr(0, end));
        keyEnd = key.find('/', keyEnd + 1);
        end = member.name.find('/', end + 1);
    }

    Node &node = insert(key, member.name, member.kind);
    if (node.isListed || node.spelling != member.name || node.kind != member.kind)
        refuseTwice(member.name, node.spelling);
    node.isListed = true;
}

void MemberTree::setTarget(const std::string &name, const std::string &target)
{
    checkLinkTarget(name, target);
    m_targets[comparisonKey(name)] = target;
}

void MemberTree::checkLinks() const
{
    for (const auto &[key, target] : m_targets)
        checkLink(key, target);
}

/// Notes that `spelling` is a folder because something lies in it.
void MemberTree::addFolderOf(const std::string &key, const std::string &spelling)
{
    const Node &node = insert(key, spelling, ZipMember::Kind::Folder);
    if (node.spelling != spelling)
        refuseTwice(spelling, node.spelling);
    if (node.kind != ZipMember::Kind::Folder)
        throw UnpackError("The archive cannot be trusted: something lies below " + quoted(spelling)
                          + ", which is no folder.");
}

MemberTree::Node &MemberTree::insert(const std::string &key, const std::string &spelling,
                                     ZipMember::Kind kind)
{
    Node &node = m_nodes.try_emplace(key, Node { spelling, kind, false }).first->second;
    if (m_nodes.size() > m_largestSize)
        throw UnpackError("The archive holds too many files.");
    return node;
}

/// Walks the way that the operating system would: one part after the other, through the links that it meets.
void MemberTree::checkLink(const std::string &key, const std::string &target) const
{
    constexpr int mostLinks = 40; // the limit of Linux
    const std::string name = m_nodes.at(key).spelling;

    std::vector<std::string> folder = partsOf(key);
    folder.pop_back();
    const std::vector<std::string> targetParts = partsOf(comparisonKey(target));
    std::deque<std::string> ahead(targetParts.begin(), targetParts.end());
    int links = 0;
    while (!ahead.empty()) {
        const std::string part = ahead.front();
        ahead.pop_front();
        if (part.empty() || part == ".")
            continue;
        if (part == "..") {
            if (folder.empty())
                throw UnpackError("The archive cannot be trusted: the link " + quoted(name)
                                  + " leads out of the folder.");
            folder.pop_back();
            continue;
        }
        folder.push_back(part);
        const auto link = m_targets.find(joined(folder));
        if (link == m_targets.end())
            continue;
        if (++links > mostLinks)
            throw UnpackError("The archive cannot be trusted: the link " + quoted(name)
                              + " leads in a circle.");
        folder.pop_back();
        const std::vector<std::string> way = partsOf(comparisonKey(link->second));
        ahead.insert(ahead.begin(), way.begin(), way.end());
    }
}
