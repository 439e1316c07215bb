#include "ArchiveCheck.h"

#include "MemberReader.h"
#include "MemberTree.h"

namespace {

/// Where each link leads. Before any data is read: reading is the expensive part.
std::map<std::string, std::string> readTargets(const ArchiveFile &file, const std::vector<ZipMember> &members)
{
    std::map<std::string, std::string> targets;
    MemberTree tree(ZipLimits().members);
    MemberReader reader(file);
    for (const ZipMember &member : members) {
        reader.next(member);
        tree.add(member);
        if (member.kind == ZipMember::Kind::Link) {
            targets[member.name] = reader.target(member);
            tree.setTarget(member.name, targets[member.name]);
        }
    }
    reader.expectEnd();
    tree.checkLinks();
    return targets;
}

void checkData(const ArchiveFile &file, const std::vector<ZipMember> &members)
{
    MemberReader reader(file);
    for (const ZipMember &member : members) {
        reader.next(member);
        if (member.kind == ZipMember::Kind::File)
            reader.check(member);
    }
}

}

CheckedArchive checkArchive(const ArchiveFile &file)
{
    CheckedArchive checked;
    checked.members = readZipDirectory(file.bytes());
    if (checked.members.empty())
        return checked; // to libarchive, such an archive is none
    checked.targets = readTargets(file, checked.members);
    checkData(file, checked.members);
    return checked;
}
