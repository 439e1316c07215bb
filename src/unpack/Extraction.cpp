#include "Extraction.h"

#include "ArchiveCheck.h"
#include "FolderWriter.h"
#include "MemberReader.h"
#include "Parallel.h"

#include <memory>
#include <utility>

namespace {

/// What one thread writes files with.
class FileWorker final {
public:
    FileWorker(const ArchiveFile &file, const CheckedArchive &checked, const std::string &folder,
               std::map<std::size_t, FileDescriptor> &shared)
        : m_checked(checked)
        , m_reader(file)
        , m_writer(folder)
        , m_shared(shared)
    {
    }

    void write(const Stretch &stretch)
    {
        const ZipMember &member = m_checked.members[stretch.member];
        if (const auto file = m_shared.find(stretch.member); file != m_shared.end()) {
            m_reader.write(stretch, member, file->second.get());
            return;
        }
        FileDescriptor file = m_writer.createFile(member.name);
        m_reader.write(stretch, member, file.get());
        m_writer.finishFile(member.name, std::move(file), member.isProgram, member.modified);
    }

private:
    const CheckedArchive &m_checked;
    MemberReader m_reader;
    FolderWriter m_writer;
    std::map<std::size_t, FileDescriptor> &m_shared;
};

/// Creates the files that several threads write, by their place among the members.
std::map<std::size_t, FileDescriptor> createShared(const CheckedArchive &checked, FolderWriter &writer)
{
    std::map<std::size_t, FileDescriptor> shared;
    for (const Stretch &stretch : checked.stretches) {
        if (stretch.begin > 0 && !shared.contains(stretch.member))
            shared[stretch.member] = writer.createFile(checked.members[stretch.member].name);
    }
    return shared;
}

}

void unpack(const std::string &archive, const std::string &folder)
{
    const ArchiveFile file(archive);
    const CheckedArchive checked = checkArchive(file);

    FolderWriter writer(folder);
    for (const ZipMember &member : checked.members) {
        if (member.kind == ZipMember::Kind::Folder)
            writer.makeFolder(member.name);
    }
    auto shared = createShared(checked, writer);
    inParallel(checked.stretches.size(), [&file, &checked, &folder, &shared] {
        return [&checked, worker = std::make_unique<FileWorker>(file, checked, folder, shared)](
                   std::size_t index) { worker->write(checked.stretches[index]); };
    });
    for (auto &[index, descriptor] : shared) {
        const ZipMember &member = checked.members[index];
        writer.finishFile(member.name, std::move(descriptor), member.isProgram, member.modified);
    }

    // Links last, so that there is none while files are written; times behind everything that would change
    // them.
    for (const auto &[name, target] : checked.targets)
        writer.makeLink(name, target);
    for (const ZipMember &member : checked.members) {
        if (member.kind == ZipMember::Kind::Folder && member.modified)
            writer.setFolderTime(member.name, *member.modified);
    }
}
