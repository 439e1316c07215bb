#include "ZipHeader.h"

#include "Checksum.h"
#include "MemberName.h"

#include <optional>

namespace {

constexpr std::uint32_t directorySignature = 0x02014b50;
constexpr std::uint32_t localSignature = 0x04034b50;
constexpr std::uint16_t largeSizesField = 0x0001;
constexpr std::uint16_t timesField = 0x5455;
constexpr std::uint16_t unicodeNameField = 0x7075;
constexpr std::uint32_t filledUp = 0xffffffff;

struct ExtraFields {
    std::optional<Bytes> largeSizes;
    std::optional<Bytes> unicodeName;
    std::optional<Bytes> times;
};

void keepTheOnlyOne(std::optional<Bytes> &kept, Bytes field)
{
    if (kept)
        throw UnpackError("The archive cannot be trusted: one of its members is described twice.");
    kept = field;
}

ExtraFields readExtraFields(Bytes bytes)
{
    ExtraFields fields;
    ByteReader reader(bytes);
    while (reader.left() > 0) {
        const auto id = reader.u16();
        const auto size = reader.u16();
        const Bytes field = reader.take(size);
        if (id == largeSizesField)
            keepTheOnlyOne(fields.largeSizes, field);
        else if (id == unicodeNameField)
            keepTheOnlyOne(fields.unicodeName, field);
        else if (id == timesField)
            fields.times = field;
    }
    return fields;
}

/// Numbers that do not fit into the header have all their bits set there and follow in the extra field, in
/// the header's order.
class LargeNumbers final {
public:
    explicit LargeNumbers(std::optional<Bytes> field)
        : m_reader(field.value_or(Bytes()))
    {
    }

    void replaceIfFilledUp(std::uint64_t &number)
    {
        if (number == filledUp)
            number = m_reader.u64();
    }

private:
    ByteReader m_reader;
};

Bytes bytesOf(const std::string &text)
{
    return { reinterpret_cast<const unsigned char *>(text.data()), text.size() };
}

std::string unicodeName(Bytes field, const std::string &storedName)
{
    ByteReader reader(field);
    const unsigned version = reader.take(1).front();
    const auto crcOfStoredName = reader.u32();
    if (version != 1 || crcOfStoredName != zipChecksum(bytesOf(storedName)))
        throw UnpackError("The archive cannot be trusted: it gives " + inQuotes(storedName) + " two names.");
    return reader.text(reader.left());
}

/// The modification time in Info-ZIP's field, in seconds since 1970; nothing when the field holds only other
/// times.
std::optional<std::time_t> timeOf(Bytes field)
{
    constexpr unsigned hasModified = 1 << 0;
    if (field.size() < 5 || (field.front() & hasModified) == 0)
        return std::nullopt;
    ByteReader reader(field.subspan(1));
    return static_cast<std::int32_t>(reader.u32());
}

/// The first `count` bytes of `rest`. Throws UnpackError when it holds fewer.
ByteReader firstBytes(ArchiveWindow &window, ArchivePart rest, std::uint64_t count)
{
    if (count > rest.size)
        refuseMissingPart();
    return ByteReader(window.bytes({ rest.offset, count }));
}

}

std::optional<std::time_t> modificationTime(const ZipHeader &header)
{
    if (header.utcTime)
        return header.utcTime;
    const auto field = [&header](unsigned lowest, unsigned count) {
        return static_cast<int>(header.localTime >> lowest & ((1U << count) - 1));
    };
    std::tm fields = {};
    fields.tm_sec = 2 * field(0, 5);
    fields.tm_min = field(5, 6);
    fields.tm_hour = field(11, 5);
    fields.tm_mday = field(16, 5);
    fields.tm_mon = field(21, 4) - 1;
    fields.tm_year = 80 + field(25, 7);
    fields.tm_isdst = -1;
    if (fields.tm_mday == 0 || fields.tm_mon < 0)
        return std::nullopt;
    const std::time_t time = std::mktime(&fields);
    return time == -1 ? std::nullopt : std::optional(time);
}

ZipHeader readDirectoryHeader(ArchiveWindow &window, ArchivePart rest)
{
    constexpr std::uint64_t fixedLength = 46;
    ByteReader fixed = firstBytes(window, rest, fixedLength);
    if (fixed.u32() != directorySignature)
        throw UnpackError("The archive is damaged: its list of contents is broken off.");
    ZipHeader header;
    header.writersSystem = static_cast<std::uint8_t>(fixed.u16() >> 8);
    fixed.take(2); // the version of the format
    header.flags = fixed.u16();
    header.method = fixed.u16();
    header.localTime = fixed.u32();
    header.crc = fixed.u32();
    header.packedSize = fixed.u32();
    header.size = fixed.u32();
    const auto nameSize = fixed.u16();
    const auto extraSize = fixed.u16();
    const auto commentSize = fixed.u16();
    const auto disk = fixed.u16();
    fixed.take(2); // whether the writer took it for a text
    header.attributes = fixed.u32();
    header.offset = fixed.u32();
    if (disk != 0)
        throw UnpackError("The archive is one piece of several, and the others are not here.");

    header.length = fixedLength + nameSize + extraSize;
    ByteReader texts = firstBytes(window, rest, header.length);
    texts.take(fixedLength);
    header.storedName = texts.text(nameSize);
    const ExtraFields extra = readExtraFields(texts.take(extraSize));
    header.length += commentSize;
    if (header.length > rest.size)
        refuseMissingPart();
    LargeNumbers large(extra.largeSizes);
    large.replaceIfFilledUp(header.size);
    large.replaceIfFilledUp(header.packedSize);
    large.replaceIfFilledUp(header.offset);
    header.name = extra.unicodeName ? unicodeName(*extra.unicodeName, header.storedName) : header.storedName;
    header.utcTime = extra.times ? timeOf(*extra.times) : std::nullopt;
    return header;
}

ZipHeader readLocalHeader(ArchiveWindow &window, ArchivePart rest)
{
    constexpr std::uint64_t fixedLength = 30;
    ByteReader fixed = firstBytes(window, rest, fixedLength);
    if (fixed.u32() != localSignature)
        throw UnpackError("The archive is damaged: its list of contents names a place where nothing begins.");
    ZipHeader header;
    fixed.take(2); // the version of the format
    header.flags = fixed.u16();
    header.method = fixed.u16();
    fixed.take(4); // the time
    header.crc = fixed.u32();
    header.packedSize = fixed.u32();
    header.size = fixed.u32();
    const auto nameSize = fixed.u16();
    const auto extraSize = fixed.u16();

    header.length = fixedLength + nameSize + extraSize;
    ByteReader texts = firstBytes(window, rest, header.length);
    texts.take(fixedLength);
    header.storedName = texts.text(nameSize);
    const ExtraFields extra = readExtraFields(texts.take(extraSize));
    LargeNumbers large(extra.largeSizes);
    large.replaceIfFilledUp(header.size);
    large.replaceIfFilledUp(header.packedSize);
    header.name = extra.unicodeName ? unicodeName(*extra.unicodeName, header.storedName) : header.storedName;
    return header;
}
