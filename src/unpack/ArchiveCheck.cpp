#include "ArchiveCheck.h"

#include "MemberName.h"
#include "MemberReader.h"
#include "Parallel.h"
#include "RoomCheck.h"

#include <memory>

namespace {

std::string targetOf(const ZipMember &link, const std::string &name, MemberReader &reader)
{
    if (link.size > longestName)
        return {}; // too long to read; the caller refuses it like an empty one
    std::string target(link.size, '\0');
    reader.begin(link, name);
    // Read until nothing is left: only then are the length and the checksum known to be right.
    while (reader.read({ reinterpret_cast<unsigned char *>(target.data()), target.size() }) > 0) { }
    return target;
}

void readTargets(const ArchiveFile &file, ZipDirectory &directory, MemberTree &tree)
{
    MemberReader reader(file);
    MemberNames names(file);
    for (ZipLink &link : directory.links) {
        const ZipMember &member = directory.members[link.member];
        const std::string name = names.of(member);
        link.target = targetOf(member, name, reader);
        checkLinkTarget(name, link.target);
        for (const MemberTree::Node node : link.nodes)
            tree.setTarget(node, link.target);
    }
}

void checkLinks(const ArchiveFile &file, const ZipDirectory &directory, MemberTree &tree)
{
    MemberNames names(file);
    const auto refuse = [&](const ZipLink &link, const char *how) {
        throw UnpackError("The archive cannot be trusted: the link "
                          + inQuotes(names.of(directory.members[link.member])) + " leads " + how + ".");
    };
    for (const ZipLink &link : directory.links) {
        for (const MemberTree::Node node : link.nodes) {
            switch (tree.follow(node)) {
            case MemberTree::Way::Inside:
                break;
            case MemberTree::Way::Outside:
                refuse(link, "out of the folder");
                break;
            case MemberTree::Way::Circle:
                refuse(link, "in a circle");
                break;
            case MemberTree::Way::TooLong:
                refuse(link, "to no proper path");
                break;
            }
        }
    }
}

/// Checks the data of files, on one thread.
class FileCheck final {
public:
    FileCheck(const ArchiveFile &file, const std::vector<ZipMember> &members)
        : m_members(members)
        , m_reader(file)
        , m_names(file)
        , m_block(blockSize)
    {
    }

    void operator()(std::size_t index)
    {
        const ZipMember &member = m_members[index];
        if (member.kind != ZipMember::Kind::File)
            return;
        m_reader.begin(member, m_names.of(member));
        while (m_reader.read(m_block) > 0) { }
    }

private:
    const std::vector<ZipMember> &m_members;
    MemberReader m_reader;
    MemberNames m_names;
    std::vector<unsigned char> m_block;
};

}

ZipDirectory readContents(const ArchiveFile &file, const ZipLimits &limits)
{
    MemberTree tree(limits.members);
    ZipDirectory directory = readZipDirectory(file, tree, limits);
    readTargets(file, directory, tree);
    checkLinks(file, directory, tree);
    return directory;
}

void checkArchive(const ArchiveFile &file, const std::optional<DiskRoom> &room)
{
    const ZipDirectory directory = readContents(file);
    requireRoom(directory, room);
    inParallel(directory.members.size(), [&file, &directory] {
        return [check = std::make_unique<FileCheck>(file, directory.members)](std::size_t index) {
            (*check)(index);
        };
    });
}
