#pragma once

#include <QByteArray>
#include <QList>
#include <QtEndian>

#include <array>
#include <optional>

/// One entry of a zip archive, as ZipBuilder writes it. Unset fields have the values of a valid archive. The
/// local and the central header of an entry can be made to differ.
struct ZipEntry {
    static constexpr quint16 stored = 0;
    static constexpr quint16 deflated = 8;

    QByteArray name {};
    QByteArray content {};
    quint16 method = stored;
    quint16 flags = 1 << 11; // the name is UTF-8
    quint32 mode = 0100644;
    quint8 writersSystem = 3; // Unix
    std::optional<quint32> attributes {}; // of Unix and DOS; by default the mode alone

    quint32 time = 0x58214000; // 2024-01-01 08:00

    std::optional<QByteArray> localName {};
    std::optional<quint16> localFlags {};
    std::optional<quint16> localMethod {};
    std::optional<quint32> crc {}, localCrc {};
    std::optional<quint32> size {}, localSize {};
    std::optional<quint32> packedSize {}, localPackedSize {};
    std::optional<quint32> offset {};
    std::optional<QByteArray> packed {}; // the data as stored in the archive
    QByteArray extra {}, localExtra {};
    quint16 disk = 0;
    QByteArray before {}; // hidden bytes before the entry
    QByteArray after {}; // after its data: a data descriptor, or hidden bytes

    static ZipEntry file(const QByteArray &name, const QByteArray &content)
    {
        return { .name = name, .content = content };
    }

    static ZipEntry folder(const QByteArray &name) { return { .name = name, .mode = 0040755 }; }

    static ZipEntry link(const QByteArray &name, const QByteArray &target)
    {
        return { .name = name, .content = target, .mode = 0120777 };
    }

    static ZipEntry program(const QByteArray &name, const QByteArray &content)
    {
        return { .name = name, .content = content, .mode = 0100755 };
    }
};

/// Writes a zip archive byte by byte, valid unless told otherwise.
class ZipBuilder final {
public:
    ZipBuilder() = default;
    ZipBuilder(std::initializer_list<ZipEntry> members)
        : entries(members)
    {
    }

    QList<ZipEntry> entries;
    QByteArray comment;
    QByteArray beforeDirectory, afterDirectory, afterEnd;
    std::optional<quint16> count, countOnDisk, commentSize;
    std::optional<quint32> directoryOffset, directorySize;
    quint16 disk = 0;
    /// Writes the ZIP64 end records too, and sets the fields of the plain one to their maximum.
    bool isLarge = false;
    std::optional<quint64> largeCount, largePosition, largeDirectoryOffset;

    QByteArray bytes() const
    {
        QByteArray archive;
        QByteArray directory;
        for (const ZipEntry &entry : entries)
            append(entry, archive, directory);
        archive += beforeDirectory;
        const auto offset = static_cast<quint32>(archive.size());
        archive += directory + afterDirectory;
        const auto size = static_cast<quint32>(directory.size() + afterDirectory.size());
        if (isLarge)
            archive += largeEnd(static_cast<quint64>(archive.size()), offset, size);

        const auto entryCount = static_cast<quint16>(isLarge ? 0xffff : entries.size());
        archive += QByteArray("PK\5\6", 4) + u16(disk) + u16(disk)
            + u16(countOnDisk.value_or(count.value_or(entryCount))) + u16(count.value_or(entryCount))
            + u32(directorySize.value_or(isLarge ? 0xffffffff : size))
            + u32(directoryOffset.value_or(isLarge ? 0xffffffff : offset))
            + u16(commentSize.value_or(static_cast<quint16>(comment.size()))) + comment + afterEnd;
        return archive;
    }

    static QByteArray u16(quint64 value) { return littleEndian(value, 2); }
    static QByteArray u32(quint64 value) { return littleEndian(value, 4); }
    static QByteArray u64(quint64 value) { return littleEndian(value, 8); }

    /// An extra field.
    static QByteArray field(quint16 id, const QByteArray &content)
    {
        return u16(id) + u16(static_cast<quint64>(content.size())) + content;
    }

    /// Info-ZIP's field with the name of an entry in UTF-8, for an entry whose stored name is `stored`.
    static QByteArray unicodeName(const QByteArray &stored, const QByteArray &name)
    {
        return field(0x7075, QByteArray(1, 1) + u32(crc32(stored)) + name);
    }

    /// A data descriptor, which follows the data of an entry whose sizes were not known in advance.
    static QByteArray descriptor(const QByteArray &content, qsizetype packedSize)
    {
        return QByteArray("PK\7\10", 4) + u32(crc32(content)) + u32(static_cast<quint64>(packedSize))
            + u32(static_cast<quint64>(content.size()));
    }

    static QByteArray deflate(const QByteArray &content)
    {
        // Strip Qt's length and zlib's header in front, and zlib's checksum at the end.
        const QByteArray wrapped = qCompress(content, 9);
        return wrapped.mid(6, wrapped.size() - 10);
    }

    static quint32 crc32(const QByteArray &bytes)
    {
        static const auto table = [] {
            std::array<quint32, 256> remainders = {};
            for (quint32 byte = 0; byte < remainders.size(); ++byte) {
                remainders[byte] = byte;
                for (int bit = 0; bit < 8; ++bit)
                    remainders[byte]
                        = (remainders[byte] >> 1) ^ ((remainders[byte] & 1) != 0 ? 0xedb88320U : 0U);
            }
            return remainders;
        }();
        quint32 crc = 0xffffffff;
        for (const char byte : bytes)
            crc = (crc >> 8) ^ table[(crc ^ static_cast<unsigned char>(byte)) & 0xff];
        return ~crc;
    }

private:
    static QByteArray littleEndian(quint64 value, int size)
    {
        value = qToLittleEndian(value);
        return { reinterpret_cast<const char *>(&value), size };
    }

    static void append(const ZipEntry &entry, QByteArray &archive, QByteArray &directory)
    {
        archive += entry.before;
        const auto offset = static_cast<quint32>(archive.size());
        const QByteArray whole = entry.method == ZipEntry::deflated ? deflate(entry.content) : entry.content;
        const QByteArray packed = entry.packed.value_or(whole);
        const quint32 crc = entry.crc.value_or(crc32(entry.content));
        const quint32 size = entry.size.value_or(static_cast<quint32>(entry.content.size()));
        const quint32 packedSize = entry.packedSize.value_or(static_cast<quint32>(packed.size()));
        const QByteArray localName = entry.localName.value_or(entry.name);
        const QByteArray time = u32(entry.time);
        const auto length = [](const QByteArray &text) { return u16(static_cast<quint64>(text.size())); };

        archive += QByteArray("PK\3\4", 4) + u16(20) + u16(entry.localFlags.value_or(entry.flags))
            + u16(entry.localMethod.value_or(entry.method)) + time + u32(entry.localCrc.value_or(crc))
            + u32(entry.localPackedSize.value_or(packedSize)) + u32(entry.localSize.value_or(size))
            + length(localName) + length(entry.localExtra) + localName + entry.localExtra + packed
            + entry.after;
        directory += QByteArray("PK\1\2", 4) + u16(20U | static_cast<unsigned>(entry.writersSystem) << 8)
            + u16(20) + u16(entry.flags) + u16(entry.method) + time + u32(crc) + u32(packedSize) + u32(size)
            + length(entry.name) + length(entry.extra) + u16(0) + u16(entry.disk) + u16(0)
            + u32(entry.attributes.value_or(entry.mode << 16)) + u32(entry.offset.value_or(offset))
            + entry.name + entry.extra;
    }

    QByteArray largeEnd(quint64 position, quint64 offset, quint64 size) const
    {
        const quint64 entryCount = largeCount.value_or(static_cast<quint64>(entries.size()));
        return QByteArray("PK\6\6", 4) + u64(44) + u16(45) + u16(45) + u32(0) + u32(0) + u64(entryCount)
            + u64(entryCount) + u64(size) + u64(largeDirectoryOffset.value_or(offset))
            + QByteArray("PK\6\7", 4) + u32(0) + u64(largePosition.value_or(position)) + u32(1);
    }
};
