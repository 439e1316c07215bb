#include "ZipHeader.h"

#include "MemberName.h"

#include <optional>

namespace {

constexpr std::uint32_t directorySignature = 0x02014b50;
constexpr std::uint32_t localSignature = 0x04034b50;
constexpr std::uint16_t largeSizesField = 0x0001;
constexpr std::uint16_t unicodeNameField = 0x7075;
constexpr std::uint32_t filledUp = 0xffffffff;

struct ExtraFields {
    std::optional<Bytes> largeSizes;
    std::optional<Bytes> unicodeName;
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
    }
    return fields;
}

/// Numbers that do not fit into the header are filled up there and stand in the extra field, in the header's
/// order.
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

std::string unicodeName(Bytes field, const std::string &storedName)
{
    ByteReader reader(field);
    const unsigned version = reader.take(1).front();
    const auto crcOfStoredName = reader.u32();
    if (version != 1 || crcOfStoredName != crc32(storedName))
        throw UnpackError("The archive cannot be trusted: it gives " + quoted(storedName) + " two names.");
    return reader.text(reader.left());
}

}

ZipHeader readDirectoryHeader(ByteReader &directory)
{
    if (directory.u32() != directorySignature)
        throw UnpackError("The archive is damaged: its list of contents is broken off.");
    ZipHeader header;
    header.writersSystem = static_cast<std::uint8_t>(directory.u16() >> 8);
    directory.take(2); // the version of the format
    header.flags = directory.u16();
    header.method = directory.u16();
    directory.take(4); // the time
    header.crc = directory.u32();
    header.packedSize = directory.u32();
    header.size = directory.u32();
    const auto nameSize = directory.u16();
    const auto extraSize = directory.u16();
    const auto commentSize = directory.u16();
    const auto disk = directory.u16();
    directory.take(2); // whether the writer took it for a text
    header.attributes = directory.u32();
    header.offset = directory.u32();
    header.storedName = directory.text(nameSize);
    const ExtraFields extra = readExtraFields(directory.take(extraSize));
    directory.take(commentSize);

    if (disk != 0)
        throw UnpackError("The archive is one piece of several, and the others are not here.");
    LargeNumbers large(extra.largeSizes);
    large.replaceIfFilledUp(header.size);
    large.replaceIfFilledUp(header.packedSize);
    large.replaceIfFilledUp(header.offset);
    header.name = extra.unicodeName ? unicodeName(*extra.unicodeName, header.storedName) : header.storedName;
    return header;
}

ZipHeader readLocalHeader(ByteReader &archive)
{
    if (archive.u32() != localSignature)
        throw UnpackError("The archive is damaged: its list of contents names a place where nothing begins.");
    ZipHeader header;
    archive.take(2); // the version of the format
    header.flags = archive.u16();
    header.method = archive.u16();
    archive.take(4); // the time
    header.crc = archive.u32();
    header.packedSize = archive.u32();
    header.size = archive.u32();
    const auto nameSize = archive.u16();
    const auto extraSize = archive.u16();
    header.storedName = archive.text(nameSize);
    const ExtraFields extra = readExtraFields(archive.take(extraSize));

    LargeNumbers large(extra.largeSizes);
    large.replaceIfFilledUp(header.size);
    large.replaceIfFilledUp(header.packedSize);
    header.name = extra.unicodeName ? unicodeName(*extra.unicodeName, header.storedName) : header.storedName;
    return header;
}
