#include "ArchiveCheck.h"

#include "MemberName.h"
#include "MemberReader.h"
#include "MemberTree.h"
#include "Parallel.h"

#include <memory>

namespace {

/// Where each link leads. Before the files' data is read, which is the expensive part.
std::map<std::string, std::string> readTargets(const ArchiveFile &file, const std::vector<ZipMember> &members)
{
    std::map<std::string, std::string> targets;
    MemberTree tree(ZipLimits().members);
    MemberReader reader(file);
    for (const ZipMember &member : members) {
        tree.add(member);
        if (member.kind == ZipMember::Kind::Link) {
            // Too long a one is not even read, and refused like none.
            const std::string target = member.size > longestName ? "" : reader.target(member);
            tree.setTarget(member.name, target);
            targets[member.name] = target;
        }
    }
    tree.checkLinks();
    return targets;
}

/// Reads all files' data.
std::vector<Stretch> checkFiles(const ArchiveFile &file, const std::vector<ZipMember> &members)
{
    std::vector<std::vector<Stretch>> ofMembers(members.size());
    inParallel(members.size(), [&file, &members, &ofMembers] {
        return [&members, &ofMembers, reader = std::make_unique<MemberReader>(file)](std::size_t index) {
            if (members[index].kind == ZipMember::Kind::File)
                ofMembers[index] = reader->check(members[index]);
        };
    });
    std::vector<Stretch> stretches;
    for (std::size_t index = 0; index < members.size(); ++index) {
        for (Stretch &stretch : ofMembers[index]) {
            stretch.member = index;
            stretches.push_back(std::move(stretch));
        }
    }
    return stretches;
}

}

CheckedArchive checkArchive(const ArchiveFile &file)
{
    CheckedArchive checked;
    checked.members = readZipDirectory(file.bytes());
    checked.targets = readTargets(file, checked.members);
    checked.stretches = checkFiles(file, checked.members);
    return checked;
}
