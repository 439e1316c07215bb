#include "RoomCheck.h"
#include "SmallDisk.h"
#include "Table.h"
#include "Unpacker.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
constexpr qint64 kilobyte = 1024;
constexpr int noRoom = 3;

ZipDirectory directoryOf(const QList<quint64> &sizes, ZipMember::Kind kind = ZipMember::Kind::File)
{
    ZipDirectory directory;
    for (const quint64 size : sizes) {
        ZipMember member;
        member.size = size;
        member.kind = kind;
        directory.members.push_back(member);
    }
    return directory;
}

ZipBuilder ofFiles(int count, const QByteArray &content)
{
    ZipBuilder builder;
    for (int index = 0; index < count; ++index)
        builder.entries.append(ZipEntry::file("game/" + QByteArray::number(index), content));
    return builder;
}

}

/// What an archive takes on the disk, and what happens when the disk has less.
class RoomTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_unpacker.emplace(); }
    void cleanup() { m_unpacker.reset(); }

    void filesTakeWholeBlocks_data()
    {
        const auto row = table<QList<quint64>, quint64, quint64>("sizes", "block", "needed");
        row("nothing", {}, 4096, 0);
        row("an empty file", { 0 }, 4096, 0);
        row("a byte", { 1 }, 4096, 4096);
        row("a whole block", { 4096 }, 4096, 4096);
        row("a block and a byte", { 4097 }, 4096, 8192);
        row("several", { 1, 4096, 5000, 0 }, 4096, 4 * 4096);
        row("a file system that wastes nothing", { 1, 4096, 5000 }, 1, 9097);
        row("a block that is no power of two", { 1, 1001 }, 1000, 3000);
        row("a size beyond all measure", { most }, 4096, most);
        row("sizes that add up to too much", { most / 2, most / 2, most / 2 }, 512, most);
        row("a sum that would start again from nothing", { most - 4095, 4096 }, 4096, most);
    }

    void filesTakeWholeBlocks()
    {
        QFETCH(QList<quint64>, sizes);
        QFETCH(quint64, block);
        QFETCH(quint64, needed);
        QCOMPARE(quint64(roomNeeded(directoryOf(sizes), block)), needed);
    }

    void foldersAndLinksTakeNone()
    {
        QCOMPARE(roomNeeded(directoryOf({ 10, 20 }, ZipMember::Kind::Link), 4096), std::uint64_t(0));
        QCOMPARE(roomNeeded(directoryOf({ 0 }, ZipMember::Kind::Folder), 4096), std::uint64_t(0));
    }

    void nothingIsRequiredWhereTheSystemDoesNotSay()
    {
        requireRoom(directoryOf({ most, most }), std::nullopt);
    }

    void whatFitsExactlyIsUnpackedAndOneByteMoreIsNot_data()
    {
        const auto row = table<ZipBuilder, int>("archive", "status");
        row("as many files as there are blocks", ofFiles(64, "x"), 0);
        row("one more", ofFiles(65, "x"), noRoom);
        row("a file of all blocks", ofFiles(1, QByteArray(256 * kilobyte, 'x')), 0);
        row("a file of a byte more", ofFiles(1, QByteArray(256 * kilobyte + 1, 'x')), noRoom);
        row("as many empty files", ofFiles(200, {}), 0);
    }

    void whatFitsExactlyIsUnpackedAndOneByteMoreIsNot()
    {
        QFETCH(ZipBuilder, archive);
        QFETCH(int, status);
        const SmallDisk disk(m_unpacker->folder(), "size=256k");
        if (!disk.isMounted())
            QSKIP("Only the superuser can mount the disk that this needs.");
        const Unpacked checked = checkInto(archive);
        QCOMPARE(checked.status, status);
        const Unpacked unpacked = m_unpacker->unpack(archive);
        QCOMPARE(unpacked.status, status);
        QCOMPARE(unpacked.output, QString());
        const QString line
            = u"The archive's files take %1 bytes, and 262144 are free.\n"_s.arg(260 * kilobyte);
        QCOMPARE(unpacked.problems, status == 0 ? QString() : line);
        QCOMPARE(checked.problems, unpacked.problems);
        QCOMPARE(m_unpacker->leftNothing(), status != 0);
    }

    void anArchiveThatCannotBeTrustedIsCalledSoFirst()
    {
        const SmallDisk disk(m_unpacker->folder(), "size=4k");
        if (!disk.isMounted())
            QSKIP("Only the superuser can mount the disk that this needs.");
        ZipBuilder archive = ofFiles(20, "x");
        archive.entries.append(ZipEntry::file("../out", "x"));
        QCOMPARE(m_unpacker->unpack(archive).status, 1);
        QCOMPARE(checkInto(archive).status, 1);
        // Four gigabytes in an archive of a few bytes, or more than numbers can hold.
        ZipEntry bomb { .name = "bomb", .method = ZipEntry::deflated, .size = 0xfffffff0, .packed = "\3" };
        QCOMPARE(m_unpacker->unpack({ bomb, bomb }).status, 1);
    }

    void aCheckWithoutAFolderAsksForNoRoom()
    {
        QCOMPARE(m_unpacker->check(ofFiles(3, "x")).status, 0);
        // Nor does a folder that is not there, or not there yet, make a sound archive unsound.
        QCOMPARE(checkInto(ofFiles(3, "x")).status, 0);
        QVERIFY(!QFileInfo::exists(m_unpacker->folder()));
    }

private:
    Unpacked checkInto(const ZipBuilder &archive) const
    {
        m_unpacker->write(archive.bytes());
        return Unpacker::run(m_unpacker->checking() + QStringList { u"--into"_s, m_unpacker->folder() });
    }

    std::optional<Unpacker> m_unpacker;
};

QTEST_GUILESS_MAIN(RoomTest)
#include "RoomTest.moc"
