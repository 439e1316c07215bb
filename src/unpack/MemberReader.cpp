#include "MemberReader.h"

#include "MemberName.h"

#include <archive.h>
#include <archive_entry.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr std::size_t blockSize = 256 * 1024;

mode_t typeOf(ZipMember::Kind kind)
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

void writeAll(int output, const char *data, std::size_t size, const ZipMember &member)
{
    while (size > 0) {
        const ssize_t count = write(output, data, size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            throw UnpackError(quoted(member.name) + " could not be written: " + std::strerror(errno) + ".");
        data += count;
        size -= static_cast<std::size_t>(count);
    }
}

}

MemberReader::MemberReader(const ArchiveFile &file)
    : m_archive(archive_read_new())
{
    if (!m_archive || archive_read_support_format_zip_seekable(m_archive.get()) != ARCHIVE_OK
        || lseek(file.descriptor(), 0, SEEK_SET) != 0
        || archive_read_open_fd(m_archive.get(), file.descriptor(), blockSize) != ARCHIVE_OK)
        fail("The archive could not be read");
}

void MemberReader::next(const ZipMember &member)
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

std::string MemberReader::target(const ZipMember &member) const
{
    const char *found = archive_entry_symlink(m_entry);
    const std::string target = found ? found : "";
    // A target with a NUL in it would be a shorter one now.
    if (target.size() != member.size || crc32(target) != member.crc)
        throw UnpackError("The archive is damaged: the link " + quoted(member.name) + " cannot be read.");
    return target;
}

std::optional<std::time_t> MemberReader::modified() const
{
    if (!archive_entry_mtime_is_set(m_entry))
        return std::nullopt;
    return archive_entry_mtime(m_entry);
}

void MemberReader::check(const ZipMember &member)
{
    readData(member, [](const char *, std::size_t) {});
}

void MemberReader::copyTo(int output, const ZipMember &member)
{
    readData(member,
             [output, &member](const char *data, std::size_t size) { writeAll(output, data, size, member); });
}

void MemberReader::expectEnd()
{
    if (archive_read_next_header(m_archive.get(), &m_entry) != ARCHIVE_EOF)
        throw UnpackError("The archive cannot be trusted: it holds more than it lists.");
}

template <typename Take> void MemberReader::readData(const ZipMember &member, Take take)
{
    std::uint64_t taken = 0;
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
        if (offset < 0 || static_cast<std::uint64_t>(offset) != taken || size > member.size - taken)
            throw UnpackError("The archive is damaged: " + quoted(member.name) + " is longer than it says.");
        take(static_cast<const char *>(block), size);
        taken += size;
    }
    if (taken != member.size)
        throw UnpackError("The archive is damaged: " + quoted(member.name) + " is shorter than it says.");
}

void MemberReader::fail(const std::string &what) const
{
    const char *text = m_archive ? archive_error_string(m_archive.get()) : nullptr;
    std::string reason = text ? text : "";
    reason = reason.substr(0, reason.find('\n')); // some of libarchive's end with one
    throw UnpackError(reason.empty() ? what + "." : what + ": " + reason + ".");
}

void MemberReader::Free::operator()(archive *reader) const { archive_read_free(reader); }
