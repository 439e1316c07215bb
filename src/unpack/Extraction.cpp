#include "Extraction.h"

#include "FileDescriptor.h"
#include "FolderWriter.h"
#include "MemberName.h"
#include "MemberTree.h"
#include "UnpackError.h"
#include "ZipDirectory.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>

namespace {

/// The archive file, open for as long as this lives: what is checked is what is unpacked, whatever happens to
/// its name.
class ArchiveFile final {
public:
    explicit ArchiveFile(const std::string &path)
        : m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        struct stat info = {};
        if (!m_file.isOpen() || fstat(m_file.get(), &info) != 0)
            throw UnpackError("The archive could not be opened: " + std::string(std::strerror(errno)) + ".");
        if (!S_ISREG(info.st_mode) || info.st_size == 0)
            throw UnpackError("The file is not a zip archive.");
        m_size = static_cast<std::size_t>(info.st_size);
        m_memory = mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE, m_file.get(), 0);
        if (m_memory == MAP_FAILED)
            throw UnpackError("The archive could not be read: " + std::string(std::strerror(errno)) + ".");
    }
    ~ArchiveFile() { munmap(m_memory, m_size); }
    ArchiveFile(const ArchiveFile &) = delete;
    ArchiveFile &operator=(const ArchiveFile &) = delete;

    int descriptor() const { return m_file.get(); }
    Bytes bytes() const { return { static_cast<const unsigned char *>(m_memory), m_size }; }

private:
    FileDescriptor m_file;
    void *m_memory = nullptr;
    std::size_t m_size = 0;
};

/// Reads the members' data with libarchive, and takes nothing but what the checked directory announced:
/// libarchive also believes fields that the directory does not have.
class MemberReader final {
public:
    explicit MemberReader(const ArchiveFile &file)
        : m_archive(archive_read_new())
    {
        if (!m_archive || archive_read_support_format_zip_seekable(m_archive.get()) != ARCHIVE_OK
            || lseek(file.descriptor(), 0, SEEK_SET) != 0
            || archive_read_open_fd(m_archive.get(), file.descriptor(), blockSize) != ARCHIVE_OK)
            fail("The archive could not be read");
    }

    /// Goes on to the next member in the archive's order, which must be `member`.
    void next(const ZipMember &member)
    {
        if (archive_read_next_header(m_archive.get(), &m_entry) != ARCHIVE_OK)
            fail(quoted(member.name) + " could not be read");
        const char *found = archive_entry_pathname(m_entry);
        std::string name = found ? found : "";
        if (member.kind == ZipMember::Kind::Folder && !name.empty() && name.back() == '/')
            name.pop_back();
        const bool isAsListed = name == member.name && archive_entry_filetype(m_entry) == typeOf(member.kind)
            && !archive_entry_hardlink(m_entry)
            && (member.kind == ZipMember::Kind::Link
                || static_cast<std::uint64_t>(archive_entry_size(m_entry)) == member.size);
        if (!isAsListed)
            throw UnpackError("The archive cannot be trusted: " + quoted(member.name)
                              + " is described in two ways.");
    }

    /// Where the current member, a link, leads.
    std::string target(const ZipMember &member) const
    {
        const char *found = archive_entry_symlink(m_entry);
        const std::string target = found ? found : "";
        // A target with a NUL in it would be a shorter one now.
        if (target.size() != member.size || crc32(target) != member.crc)
            throw UnpackError("The archive is damaged: the link " + quoted(member.name) + " cannot be read.");
        return target;
    }

    std::optional<std::time_t> modified() const
    {
        if (!archive_entry_mtime_is_set(m_entry))
            return std::nullopt;
        return archive_entry_mtime(m_entry);
    }

    /// Writes the current member's data to `output`. Its length and its checksum must be the announced ones.
    void copyTo(int output, const ZipMember &member)
    {
        std::uint64_t written = 0;
        for (;;) {
            const void *block = nullptr;
            std::size_t size = 0;
            la_int64_t offset = 0;
            const int result = archive_read_data_block(m_archive.get(), &block, &size, &offset);
            if (result == ARCHIVE_EOF)
                break;
            // A wrong checksum or length is only a warning to libarchive.
            if (result != ARCHIVE_OK)
                fail(quoted(member.name) + " is damaged");
            if (offset < 0 || static_cast<std::uint64_t>(offset) != written || size > member.size - written)
                throw UnpackError("The archive is damaged: " + quoted(member.name)
                                  + " is longer than it says.");
            writeAll(output, static_cast<const char *>(block), size, member);
            written += size;
        }
        if (written != member.size)
            throw UnpackError("The archive is damaged: " + quoted(member.name) + " is shorter than it says.");
    }

    /// Throws unless the last member was read.
    void expectEnd()
    {
        if (archive_read_next_header(m_archive.get(), &m_entry) != ARCHIVE_EOF)
            throw UnpackError("The archive cannot be trusted: it holds more than it lists.");
    }

private:
    static constexpr std::size_t blockSize = 256 * 1024;

    static mode_t typeOf(ZipMember::Kind kind)
    {
        switch (kind) {
        case ZipMember::Kind::Folder:
            return AE_IFDIR;
        case ZipMember::Kind::Link:
            return AE_IFLNK;
        case ZipMember::Kind::File:
            break;
        }
        return AE_IFREG;
    }

    static void writeAll(int output, const char *data, std::size_t size, const ZipMember &member)
    {
        while (size > 0) {
            const ssize_t count = write(output, data, size);
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                throw UnpackError(quoted(member.name) + " could not be written: " + std::strerror(errno)
                                  + ".");
            data += count;
            size -= static_cast<std::size_t>(count);
        }
    }

    [[noreturn]] void fail(const std::string &what) const
    {
        const char *text = m_archive ? archive_error_string(m_archive.get()) : nullptr;
        std::string reason = text ? text : "";
        reason = reason.substr(0, reason.find('\n')); // some of libarchive's end with one
        throw UnpackError(reason.empty() ? what + "." : what + ": " + reason + ".");
    }

    struct Free {
        void operator()(archive *reader) const { archive_read_free(reader); }
    };
    std::unique_ptr<archive, Free> m_archive;
    archive_entry *m_entry = nullptr; // owned by m_archive
};

using Targets = std::map<std::string, std::string>;

/// Goes through all members without writing, and gives where each link leads. Throws when libarchive reads
/// the archive in another way than the check did, or when a link leads out of the folder.
Targets readTargets(const ArchiveFile &file, const std::vector<ZipMember> &members)
{
    Targets targets;
    if (members.empty())
        return targets; // to libarchive, such an archive is none
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

}

void unpack(const std::string &archive, const std::string &folder)
{
    const ArchiveFile file(archive);
    const std::vector<ZipMember> members = readZipDirectory(file.bytes());
    const Targets targets = readTargets(file, members);

    FolderWriter writer(folder);
    if (members.empty())
        return;
    MemberReader reader(file);
    std::vector<std::pair<std::string, std::time_t>> folderTimes;
    for (const ZipMember &member : members) {
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
    for (const auto &[name, target] : targets)
        writer.makeLink(name, target);
    for (const auto &[name, modified] : folderTimes)
        writer.setFolderTime(name, modified);
}
