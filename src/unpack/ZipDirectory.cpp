#include "ZipDirectory.h"

#include "MemberName.h"
#include "MemberTree.h"
#include "ZipEnd.h"
#include "ZipHeader.h"

#include <algorithm>

namespace {

constexpr std::uint16_t stored = 0;
constexpr std::uint16_t deflated = 8;
constexpr std::uint8_t unixSystem = 3;
// How hard the writer tried: of no interest to a reader.
constexpr std::uint16_t effortFlags = (1 << 1) | (1 << 2);
constexpr std::uint16_t encryptionFlags = ZipHeader::encrypted | (1 << 6) | (1 << 13);
constexpr std::uint16_t knownFlags = effortFlags | ZipHeader::sizesFollow | ZipHeader::nameIsUtf8;

[[noreturn]] void distrust(const ZipHeader &header, const std::string &reason)
{
    throw UnpackError("The archive cannot be trusted: " + quoted(header.name) + " " + reason + ".");
}

void checkFeatures(const ZipHeader &header)
{
    if ((header.flags & encryptionFlags) != 0)
        throw UnpackError("The archive is encrypted: " + quoted(header.name)
                          + " cannot be read without a password.");
    if ((header.flags & ~knownFlags) != 0 || (header.method != stored && header.method != deflated))
        throw UnpackError("The archive is packed in an unusual way: " + quoted(header.name)
                          + " cannot be unpacked.");
    if (header.method == stored && header.packedSize != header.size)
        distrust(header, "has two sizes");
    if (header.size == 0 && header.crc != 0)
        distrust(header, "is empty but has a checksum");
}

ZipMember::Kind kindOf(const ZipHeader &header, bool endsWithSlash)
{
    constexpr std::uint32_t typeMask = 0170000;
    constexpr std::uint32_t regularFile = 0100000;
    constexpr std::uint32_t folder = 0040000;
    constexpr std::uint32_t link = 0120000;

    const std::uint32_t type = header.writersSystem == unixSystem ? (header.attributes >> 16) & typeMask : 0;
    if (type != 0 && type != regularFile && type != folder && type != link)
        distrust(header, "is neither a file nor a folder");
    if (type != 0 && endsWithSlash != (type == folder))
        distrust(header, "is a file and a folder at once");
    if (type == link)
        return ZipMember::Kind::Link;
    return endsWithSlash ? ZipMember::Kind::Folder : ZipMember::Kind::File;
}

ZipMember memberOf(const ZipHeader &header)
{
    checkFeatures(header);
    ZipMember member;
    member.name = header.name;
    const bool endsWithSlash = member.name.size() > 1 && member.name.back() == '/';
    if (endsWithSlash)
        member.name.pop_back();
    checkMemberName(member.name);
    member.kind = kindOf(header, endsWithSlash);
    if (member.kind == ZipMember::Kind::Folder && header.size != 0)
        distrust(header, "is a folder with a content of its own");
    member.isProgram = member.kind == ZipMember::Kind::File && header.writersSystem == unixSystem
        && (header.attributes >> 16 & 0100) != 0;
    member.crc = header.crc;
    member.size = header.size;
    member.offset = header.offset;
    member.modified = header.modified;
    member.isDeflated = header.method == deflated;
    return member;
}

/// Whether the header in front of the data says a number as the directory does. A writer that did not know it
/// yet leaves zero.
bool agrees(std::uint64_t local, std::uint64_t listed, bool sizesFollow)
{
    return local == listed || (sizesFollow && local == 0);
}

/// Checks what stands between the end of a member's data and the next member: nothing, or the checksum and
/// the sizes for which there was no time in front of the data.
void checkWhatFollows(const ZipHeader &header, Bytes between)
{
    constexpr std::uint32_t signature = 0x08074b50;
    if ((header.flags & ZipHeader::sizesFollow) == 0 && between.empty())
        return;
    // With or without a signature, with short or with long numbers: four lengths, no two the same.
    const bool hasSignature = between.size() == 16 || between.size() == 24;
    const bool isLarge = between.size() == 20 || between.size() == 24;
    if ((header.flags & ZipHeader::sizesFollow) == 0 || (!hasSignature && !isLarge && between.size() != 12))
        throw UnpackError("The archive cannot be trusted: something is hidden behind " + quoted(header.name)
                          + ".");
    ByteReader reader(between);
    if (hasSignature && reader.u32() != signature)
        distrust(header, "is described in two ways");
    const auto crc = reader.u32();
    const std::uint64_t packedSize = isLarge ? reader.u64() : reader.u32();
    const std::uint64_t size = isLarge ? reader.u64() : reader.u32();
    if (crc != header.crc || packedSize != header.packedSize || size != header.size)
        distrust(header, "is described in two ways");
}

/// Checks the member that begins at its offset and whose neighbour begins at `next`, and gives its data.
ArchivePart checkPlace(Bytes archive, const ZipHeader &header, std::uint64_t next)
{
    ByteReader reader(archive.subspan(header.offset, next - header.offset));
    const ZipHeader local = readLocalHeader(reader);
    const bool sizesFollow = (header.flags & ZipHeader::sizesFollow) != 0;
    if (local.flags != header.flags || local.method != header.method || local.storedName != header.storedName
        || local.name != header.name || !agrees(local.crc, header.crc, sizesFollow)
        || !agrees(local.packedSize, header.packedSize, sizesFollow)
        || !agrees(local.size, header.size, sizesFollow))
        distrust(header, "is described in two ways");
    if (header.packedSize > reader.left())
        distrust(header, "overlaps with something else");
    const ArchivePart data { next - reader.left(), header.packedSize };
    reader.take(header.packedSize);
    checkWhatFollows(header, reader.take(reader.left()));
    return data;
}

/// Checks where the members lie, and gives each its data.
void checkPlaces(Bytes archive, const std::vector<ZipHeader> &headers, std::uint64_t directoryOffset,
                 std::vector<ZipMember> &members)
{
    const std::uint64_t first = headers.empty() ? directoryOffset : headers.front().offset;
    if (first != 0)
        throw UnpackError("The archive cannot be trusted: something stands in front of its beginning.");
    if (!headers.empty() && headers.back().offset >= directoryOffset)
        throw UnpackError("The archive is damaged: its list of contents names a place where nothing begins.");
    for (std::size_t index = 0; index < headers.size(); ++index) {
        const std::uint64_t next = index + 1 < headers.size() ? headers[index + 1].offset : directoryOffset;
        if (next <= headers[index].offset)
            distrust(headers[index], "overlaps with something else");
        members[index].data = checkPlace(archive, headers[index], next);
    }
}

/// The directory's headers, in the order in which the members lie in the archive.
std::vector<ZipHeader> readHeaders(Bytes archive, const ZipEnd &end, const ZipLimits &limits)
{
    if (end.count > limits.members)
        throw UnpackError("The archive holds too many files.");
    std::vector<ZipHeader> headers;
    ByteReader directory(archive.subspan(end.directoryOffset, end.directorySize));
    for (std::uint64_t index = 0; index < end.count; ++index)
        headers.push_back(readDirectoryHeader(directory));
    if (directory.left() != 0)
        throw UnpackError("The archive is damaged: its list of contents is longer than it says.");
    std::ranges::stable_sort(headers, {}, &ZipHeader::offset);
    return headers;
}

void checkTotalSize(const std::vector<ZipHeader> &headers, std::uint64_t archiveSize, const ZipLimits &limits)
{
    std::uint64_t total = 0;
    for (const ZipHeader &header : headers) {
        if (header.size > limits.size - total)
            throw UnpackError("The archive holds more than can be unpacked.");
        total += header.size;
    }
    if (total > limits.small && total / limits.growth > archiveSize)
        throw UnpackError("The archive cannot be trusted: it would grow beyond all measure.");
}

}

std::vector<ZipMember> readZipDirectory(Bytes archive, const ZipLimits &limits)
{
    const ZipEnd end = findZipEnd(archive);
    const std::vector<ZipHeader> headers = readHeaders(archive, end, limits);
    checkTotalSize(headers, archive.size(), limits);

    std::vector<ZipMember> members;
    MemberTree tree(limits.members);
    for (const ZipHeader &header : headers) {
        members.push_back(memberOf(header));
        tree.add(members.back());
    }
    checkPlaces(archive, headers, end.directoryOffset, members);
    return members;
}
