#include "Extraction.h"

#include "ArchiveCheck.h"
#include "ErrnoText.h"
#include "FolderWriter.h"
#include "MemberName.h"
#include "MemberReader.h"
#include "Parallel.h"
#include "RoomCheck.h"
#include "WriteBehind.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace {

/// A file of at least this size, in bytes, is worth a second thread.
constexpr std::uint64_t large = 4 * 1024 * 1024;

void writeAll(int output, Bytes bytes, const std::string &name)
{
    while (!bytes.empty()) {
        const ssize_t count = write(output, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            throw UnpackError(inQuotes(name) + " could not be written: "
                              + (count < 0 ? errnoText(errno) : "the disk took nothing of it") + ".");
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

/// Extracts files, on one thread.
class FileExtraction final {
public:
    FileExtraction(const ArchiveFile &archive, const std::vector<ZipMember> &members, int folder)
        : m_members(members)
        , m_reader(archive)
        , m_names(archive)
        , m_writer(folder)
        , m_block(blockSize)
    {
    }

    void operator()(std::size_t index)
    {
        const ZipMember &member = m_members[index];
        if (member.kind != ZipMember::Kind::File)
            return;
        const std::string name = m_names.of(member);
        FileDescriptor file = m_writer.createFile(name, member.isProgram);
        m_reader.begin(member, name);
        if (member.size >= large && threadCount() > 1)
            copyOnTwoThreads(file.get(), name);
        else
            copy(file.get(), name);
        m_writer.finishFile(name, std::move(file), member.modified);
    }

private:
    void copy(int output, const std::string &name)
    {
        while (const std::size_t count = m_reader.read(m_block))
            writeAll(output, Bytes(m_block).first(count), name);
    }

    void copyOnTwoThreads(int output, const std::string &name)
    {
        WriteBehind writing([output, &name](Bytes bytes) { writeAll(output, bytes, name); });
        while (const std::size_t count = m_reader.read(writing.block()))
            writing.hand(count);
        writing.finish();
    }

    const std::vector<ZipMember> &m_members;
    MemberReader m_reader;
    MemberNames m_names;
    FolderWriter m_writer;
    std::vector<unsigned char> m_block;
};

void makeFolders(const ArchiveFile &archive, const std::vector<ZipMember> &members, int folder)
{
    FolderWriter writer(folder);
    MemberNames names(archive);
    for (const ZipMember &member : members) {
        const std::string name = names.of(member);
        if (member.kind == ZipMember::Kind::Folder)
            writer.makeFolder(name);
        else
            writer.makeFolderOf(name);
    }
}

void writeFiles(const ArchiveFile &archive, const std::vector<ZipMember> &members, int folder)
{
    inParallel(members.size(), [&archive, &members, folder] {
        return [extraction = std::make_unique<FileExtraction>(archive, members, folder)](std::size_t index) {
            (*extraction)(index);
        };
    });
}

/// Comes last, so that no link exists while files are written, and nothing changes the folders' times
/// afterwards.
void makeLinksAndSetTimes(const ArchiveFile &archive, const ZipDirectory &directory, int folder)
{
    FolderWriter writer(folder);
    MemberNames names(archive);
    for (const ZipLink &link : directory.links)
        writer.makeLink(names.of(directory.members[link.member]), link.target);
    for (const ZipMember &member : directory.members) {
        if (member.kind == ZipMember::Kind::Folder && member.modified)
            writer.setFolderTime(names.of(member), *member.modified);
    }
}

}

void unpack(const ArchiveFile &archive, int folder, const std::optional<DiskRoom> &room)
{
    const ZipDirectory directory = readContents(archive);
    requireRoom(directory, room);
    try {
        makeFolders(archive, directory.members, folder);
        writeFiles(archive, directory.members, folder);
        makeLinksAndSetTimes(archive, directory, folder);
    } catch (...) {
        clearFolder(folder);
        throw;
    }
}
