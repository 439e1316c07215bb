#include "ZipDirectory.h"

#include "MemberName.h"
#include "NameHash.h"
#include "ZipEnd.h"
#include "ZipHeader.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace {

constexpr std::uint64_t shortestHeader = 46; // in the directory, in bytes
constexpr std::uint16_t stored = 0;
constexpr std::uint16_t deflated = 8;
// How hard the compressor tried, which does not matter to a reader.
constexpr std::uint16_t effortFlags = (1 << 1) | (1 << 2);
constexpr std::uint16_t encryptionFlags = ZipHeader::encrypted | (1 << 6) | (1 << 13);
constexpr std::uint16_t knownFlags = effortFlags | ZipHeader::sizesFollow | ZipHeader::nameIsUtf8;

[[noreturn]] void distrust(const ZipHeader &header, const std::string &reason)
{
    throw UnpackError("The archive cannot be trusted: " + inQuotes(header.name) + " " + reason + ".");
}

void checkFeatures(const ZipHeader &header)
{
    if ((header.flags & encryptionFlags) != 0)
        throw UnpackError("The archive is encrypted: " + inQuotes(header.name)
                          + " cannot be read without a password.");
    if ((header.flags & ~knownFlags) != 0 || (header.method != stored && header.method != deflated))
        throw UnpackError("The archive is packed in an unusual way: " + inQuotes(header.name)
                          + " cannot be unpacked.");
    if (header.method == stored && header.packedSize != header.size)
        distrust(header, "has two sizes");
    if (header.size == 0 && header.crc != 0)
        distrust(header, "is empty but has a checksum");
}

bool isFolderName(const std::string &name) { return name.size() > 1 && name.back() == '/'; }

std::string withoutSlash(const std::string &name)
{
    return isFolderName(name) ? name.substr(0, name.size() - 1) : name;
}

/// Whether a number in the local header agrees with the directory. A writer that did not know it in time
/// leaves zero.
bool agrees(std::uint64_t local, std::uint64_t listed, bool sizesFollow)
{
    return local == listed || (sizesFollow && local == 0);
}

/// Checks what lies between the end of a member's data and the next member: nothing, or a data descriptor
/// (the checksum and the sizes that the local header lacks).
void checkWhatFollows(ArchiveWindow &window, const ZipHeader &header, ArchivePart between)
{
    constexpr std::uint32_t signature = 0x08074b50;
    if ((header.flags & ZipHeader::sizesFollow) == 0 && between.size == 0)
        return;
    // With or without a signature, with 32-bit or 64-bit sizes: four different lengths.
    const bool hasSignature = between.size == 16 || between.size == 24;
    const bool isLarge = between.size == 20 || between.size == 24;
    if ((header.flags & ZipHeader::sizesFollow) == 0 || (!hasSignature && !isLarge && between.size != 12))
        throw UnpackError("The archive cannot be trusted: something is hidden behind " + inQuotes(header.name)
                          + ".");
    ByteReader reader(window.bytes(between));
    if (hasSignature && reader.u32() != signature)
        distrust(header, "is described in two ways");
    const auto crc = reader.u32();
    const std::uint64_t packedSize = isLarge ? reader.u64() : reader.u32();
    const std::uint64_t size = isLarge ? reader.u64() : reader.u32();
    if (crc != header.crc || packedSize != header.packedSize || size != header.size)
        distrust(header, "is described in two ways");
}

ZipMember::Kind kindOf(const ZipHeader &header)
{
    constexpr std::uint32_t typeMask = 0170000;
    constexpr std::uint32_t regularFile = 0100000;
    constexpr std::uint32_t folder = 0040000;
    constexpr std::uint32_t link = 0120000;
    constexpr std::uint32_t folderOfDos = 0x10;

    // Only writers on Unix set the type, but some readers believe it from any writer.
    const std::uint32_t type = (header.attributes >> 16) & typeMask;
    const bool endsWithSlash = isFolderName(header.name);
    if (type != 0 && type != regularFile && type != folder && type != link)
        distrust(header, "is neither a file nor a folder");
    if ((type != 0 && endsWithSlash != (type == folder)) || isFolderName(header.storedName) != endsWithSlash
        || ((header.attributes & folderOfDos) != 0 && !endsWithSlash))
        distrust(header, "is a file and a folder at once");
    if (type == link)
        return ZipMember::Kind::Link;
    return endsWithSlash ? ZipMember::Kind::Folder : ZipMember::Kind::File;
}

ZipMember memberOf(const ZipHeader &header, std::uint64_t place)
{
    checkFeatures(header);
    const std::string name = withoutSlash(header.name);
    checkMemberName(name);
    ZipMember member;
    member.header = place;
    member.nameHash = nameHash(name);
    member.kind = kindOf(header);
    if (member.kind == ZipMember::Kind::Folder && header.size != 0)
        distrust(header, "is a folder with a content of its own");
    member.isProgram = member.kind == ZipMember::Kind::File && (header.attributes >> 16 & 0100) != 0;
    member.crc = header.crc;
    member.size = header.size;
    member.offset = header.offset;
    member.modified = modificationTime(header);
    member.isDeflated = header.method == deflated;
    return member;
}

/// Adds the member to the tree under every name that a reader may use, and returns the nodes.
std::vector<MemberTree::Node> addTo(MemberTree &tree, const ZipHeader &header, ZipMember::Kind kind)
{
    const std::string name = withoutSlash(header.name);
    std::vector<MemberTree::Node> nodes { tree.add(name, kind) };
    const std::string other = withoutSlash(header.storedName);
    if (other == name)
        return nodes;
    checkOtherName(other);
    if (!std::ranges::equal(partsOf(other), partsOf(name), {}, comparisonKey, comparisonKey))
        nodes.push_back(tree.add(other, kind));
    return nodes;
}

/// Adds up the members' sizes and checks them against the limits.
class TotalSize final {
public:
    explicit TotalSize(const ZipLimits &limits)
        : m_limits(limits)
    {
    }

    void add(std::uint64_t size)
    {
        if (size > m_limits.size - m_total)
            throw UnpackError("The archive holds more than can be unpacked.");
        m_total += size;
    }

    void compareWith(std::uint64_t archiveSize) const
    {
        if (m_total > m_limits.small && m_total / m_limits.growth > archiveSize)
            throw UnpackError("The archive cannot be trusted: it would grow beyond all measure.");
    }

private:
    const ZipLimits &m_limits;
    std::uint64_t m_total = 0;
};

ZipDirectory readHeaders(const ArchiveFile &file, const ZipEnd &end, MemberTree &tree,
                         const ZipLimits &limits)
{
    if (end.count > limits.members)
        throw UnpackError("The archive holds too many files.");
    ZipDirectory directory;
    ArchiveWindow window(file);
    TotalSize total(limits);
    ArchivePart rest { end.directoryOffset, end.directorySize };
    directory.members.reserve(std::min(end.count, end.directorySize / shortestHeader));
    for (std::uint64_t index = 0; index < end.count; ++index) {
        const ZipHeader header = readDirectoryHeader(window, rest);
        const ZipMember member = memberOf(header, rest.offset);
        total.add(member.size);
        const auto nodes = addTo(tree, header, member.kind);
        if (member.kind == ZipMember::Kind::Link) {
            if (directory.links.size() == limits.links)
                throw UnpackError("The archive holds too many links.");
            // Until the members are sorted, each is identified by the position of its header.
            directory.links.push_back({ static_cast<std::size_t>(member.header), nodes, {} });
        }
        directory.members.push_back(member);
        rest.offset += header.length;
        rest.size -= header.length;
    }
    if (rest.size != 0)
        throw UnpackError("The archive is damaged: its list of contents is longer than it says.");
    total.compareWith(file.size());
    return directory;
}

/// Sorts members and links by their position in the archive.
void sort(ZipDirectory &directory)
{
    std::ranges::sort(directory.members, {},
                      [](const ZipMember &member) { return std::pair(member.offset, member.header); });
    std::unordered_map<std::uint64_t, std::size_t> places; // of links, by their header
    for (std::size_t index = 0; index < directory.members.size(); ++index) {
        if (directory.members[index].kind == ZipMember::Kind::Link)
            places[directory.members[index].header] = index;
    }
    for (ZipLink &link : directory.links)
        link.member = places.at(link.member);
    std::ranges::sort(directory.links, {}, &ZipLink::member);
}

/// Checks the member that must fill `place` exactly, and returns where its data is.
ArchivePart checkPlace(ArchiveWindow &window, const ZipHeader &header, ArchivePart place)
{
    const ZipHeader local = readLocalHeader(window, place);
    const bool sizesFollow = (header.flags & ZipHeader::sizesFollow) != 0;
    if (local.flags != header.flags || local.method != header.method || local.storedName != header.storedName
        || local.name != header.name || !agrees(local.crc, header.crc, sizesFollow)
        || !agrees(local.packedSize, header.packedSize, sizesFollow)
        || !agrees(local.size, header.size, sizesFollow))
        distrust(header, "is described in two ways");
    const ArchivePart behindHeader { place.offset + local.length, place.size - local.length };
    if (header.packedSize > behindHeader.size)
        distrust(header, "overlaps with something else");
    checkWhatFollows(window, header,
                     { behindHeader.offset + header.packedSize, behindHeader.size - header.packedSize });
    return { behindHeader.offset, header.packedSize };
}

/// Checks where the members lie, and stores where each one's data is.
void checkPlaces(const ArchiveFile &file, const ZipEnd &end, std::vector<ZipMember> &members)
{
    const std::uint64_t first = members.empty() ? end.directoryOffset : members.front().offset;
    if (first != 0)
        throw UnpackError("The archive cannot be trusted: something stands in front of its beginning.");
    if (!members.empty() && members.back().offset >= end.directoryOffset)
        throw UnpackError("The archive is damaged: its list of contents names a place where nothing begins.");
    ArchiveWindow directory(file);
    ArchiveWindow places(file);
    const std::uint64_t directoryEnd = end.directoryOffset + end.directorySize;
    for (std::size_t index = 0; index < members.size(); ++index) {
        ZipMember &member = members[index];
        const std::uint64_t next
            = index + 1 < members.size() ? members[index + 1].offset : end.directoryOffset;
        const ZipHeader header
            = readDirectoryHeader(directory, { member.header, directoryEnd - member.header });
        if (next <= member.offset)
            distrust(header, "overlaps with something else");
        member.data = checkPlace(places, header, { member.offset, next - member.offset });
    }
}

}

ZipDirectory readZipDirectory(const ArchiveFile &file, MemberTree &tree, const ZipLimits &limits)
{
    const ZipEnd end = findZipEnd(file);
    ZipDirectory directory = readHeaders(file, end, tree, limits);
    sort(directory);
    checkPlaces(file, end, directory.members);
    return directory;
}

MemberNames::MemberNames(const ArchiveFile &file)
    : m_file(file)
    , m_window(file)
{
}

std::string MemberNames::of(const ZipMember &member)
{
    const ArchivePart rest { member.header, m_file.size() - member.header };
    std::string name = withoutSlash(readDirectoryHeader(m_window, rest).name);
    if (nameHash(name) != member.nameHash)
        throw UnpackError("The archive is damaged: " + inQuotes(name) + " is not what it was.");
    return name;
}
