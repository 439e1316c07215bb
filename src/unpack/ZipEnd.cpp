#include "ZipEnd.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace {

constexpr std::array<unsigned char, 4> endSignature { 'P', 'K', 5, 6 };
constexpr std::array<unsigned char, 4> largeEndSignature { 'P', 'K', 6, 6 };
constexpr std::array<unsigned char, 4> locatorSignature { 'P', 'K', 6, 7 };
constexpr std::size_t endSize = 22;
constexpr std::size_t largeEndSize = 56;
constexpr std::size_t locatorSize = 20;
constexpr std::size_t furthestEnd = endSize + 0xffff; // with the longest comment

bool hasSignature(Bytes archive, std::size_t position, Bytes signature)
{
    return archive.size() - position >= signature.size()
        && std::ranges::equal(archive.subspan(position, signature.size()), signature);
}

/// Whether the comment of an end record at `position` would end where the archive does. Writers that fill up
/// whole tape records, as bsdtar does when it writes to a pipe, append zeros.
bool endsTheArchive(Bytes archive, std::size_t position)
{
    constexpr std::size_t tapeRecord = 10 * 1024;
    if (archive.size() - position < endSize)
        return false;
    const Bytes behind = archive.subspan(position + endSize);
    const std::size_t comment = ByteReader(archive.subspan(position + endSize - 2)).u16();
    return comment <= behind.size() && behind.size() - comment < tapeRecord
        && std::ranges::all_of(behind.subspan(comment), [](unsigned char byte) { return byte == 0; });
}

std::size_t endPosition(Bytes archive)
{
    const std::size_t first = archive.size() - std::min(archive.size(), furthestEnd);
    std::optional<std::size_t> found;
    for (std::size_t position = archive.size(); position-- > first;) {
        if (!hasSignature(archive, position, endSignature))
            continue;
        if (found && endsTheArchive(archive, position))
            throw UnpackError("The archive cannot be trusted: it has more than one end.");
        if (!found && !endsTheArchive(archive, position))
            throw UnpackError("The archive is damaged: something stands behind its end.");
        if (!found)
            found = position;
    }
    if (!found)
        throw UnpackError("The file is not a whole zip archive: its end is missing.");
    return *found;
}

void refuseSeveralDisks()
{
    throw UnpackError("The archive is one piece of several, and the others are not here.");
}

void refuseDisagreeingEnds()
{
    throw UnpackError("The archive cannot be trusted: the records at its end contradict each other.");
}

/// A field of the plain record must either have all its bits set, which refers to the large record, or agree
/// with it.
void checkAgainstLarge(std::uint64_t plain, std::uint64_t filledUp, std::uint64_t large)
{
    if (plain != filledUp && plain != large)
        refuseDisagreeingEnds();
}

}

ZipEnd findZipEnd(const ArchiveFile &file)
{
    // Everything that may belong to the end, perhaps the whole archive. Positions in it are relative to
    // `begin`.
    constexpr std::uint64_t longest = furthestEnd + locatorSize + largeEndSize;
    const std::uint64_t begin = file.size() - std::min(file.size(), longest);
    std::vector<unsigned char> buffer(file.size() - begin);
    const Bytes archive = file.read({ begin, buffer.size() }, buffer);

    const std::size_t position = endPosition(archive);
    ByteReader record(archive.subspan(position + endSignature.size()));
    const auto disk = record.u16();
    const auto directoryDisk = record.u16();
    const auto countOnDisk = record.u16();
    ZipEnd end;
    end.count = record.u16();
    end.directorySize = record.u32();
    end.directoryOffset = record.u32();
    std::uint64_t endsBegin = begin + position;

    if (position >= locatorSize && hasSignature(archive, position - locatorSize, locatorSignature)) {
        ByteReader locator(archive.subspan(position - locatorSize + locatorSignature.size(),
                                           locatorSize - locatorSignature.size()));
        const auto largeDisk = locator.u32();
        const auto largePosition = locator.u64();
        const auto disks = locator.u32();
        // Some writers count the disks from zero.
        if (largeDisk != 0 || disks > 1)
            refuseSeveralDisks();
        const std::size_t expected = position - locatorSize - largeEndSize;
        if (position < locatorSize + largeEndSize || largePosition != begin + expected
            || !hasSignature(archive, expected, largeEndSignature))
            refuseDisagreeingEnds();

        ByteReader large(archive.subspan(expected + largeEndSignature.size()));
        const auto sizeOfTheRest = large.u64();
        large.take(4); // the versions of the writer and of the format
        const auto thisDisk = large.u32();
        const auto disksDirectory = large.u32();
        const auto largeCountOnDisk = large.u64();
        const auto largeCount = large.u64();
        const auto largeDirectorySize = large.u64();
        const auto largeDirectoryOffset = large.u64();
        if (thisDisk != 0 || disksDirectory != 0)
            refuseSeveralDisks();
        if (sizeOfTheRest != largeEndSize - 12 || largeCountOnDisk != largeCount)
            refuseDisagreeingEnds();
        checkAgainstLarge(countOnDisk, 0xffff, largeCount);
        checkAgainstLarge(end.count, 0xffff, largeCount);
        checkAgainstLarge(end.directorySize, 0xffffffff, largeDirectorySize);
        checkAgainstLarge(end.directoryOffset, 0xffffffff, largeDirectoryOffset);
        end = { largeCount, largeDirectoryOffset, largeDirectorySize };
        endsBegin = largePosition;
    } else if (countOnDisk != end.count) {
        refuseDisagreeingEnds();
    }

    if ((disk != 0 && disk != 0xffff) || (directoryDisk != 0 && directoryDisk != 0xffff))
        refuseSeveralDisks();
    if (end.directoryOffset > endsBegin || end.directorySize != endsBegin - end.directoryOffset)
        throw UnpackError("The archive is damaged: its list of contents is not where its end says.");
    return end;
}
