#include "Extraction.h"

#include "ArchiveCheck.h"
#include "FolderWriter.h"
#include "MemberReader.h"

#include <utility>

void unpack(const std::string &archive, const std::string &folder)
{
    const ArchiveFile file(archive);
    const CheckedArchive checked = checkArchive(file);

    FolderWriter writer(folder);
    if (checked.members.empty())
        return;
    MemberReader reader(file);
    std::vector<std::pair<std::string, std::time_t>> folderTimes;
    for (const ZipMember &member : checked.members) {
        reader.next(member);
        if (member.kind == ZipMember::Kind::Folder) {
            writer.makeFolder(member.name);
            if (const auto modified = reader.modified())
                folderTimes.emplace_back(member.name, *modified);
        } else if (member.kind == ZipMember::Kind::File) {
            FileDescriptor output = writer.createFile(member.name);
            reader.copyTo(output.get(), member);
            writer.finishFile(member.name, std::move(output), member.isProgram, reader.modified());
        }
    }
    // Links last, so that there is none while files are written; times behind everything that would change
    // them.
    for (const auto &[name, target] : checked.targets)
        writer.makeLink(name, target);
    for (const auto &[name, modified] : folderTimes)
        writer.setFolderTime(name, modified);
}
