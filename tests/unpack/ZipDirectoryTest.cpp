#include "ZipDirectory.h"

#include "TestHome.h"
#include "ZipBuilder.h"

#include <QTest>

#include <random>

namespace {

/// A member with its name.
struct Member : ZipMember {
    std::string name;
};

/// Reads the archive from a file, as the program does.
std::vector<Member> membersOf(const QByteArray &archive, const ZipLimits &limits = {})
{
    static const TestHome home;
    const ArchiveFile file(home.write(QStringLiteral("archive.zip"), archive).toStdString());
    MemberTree tree(limits.members);
    MemberNames names(file);
    std::vector<Member> members;
    for (const ZipMember &member : readZipDirectory(file, tree, limits).members)
        members.push_back({ member, names.of(member) });
    return members;
}

/// The message that the archive is refused with, or an empty string.
std::string refusal(const QByteArray &archive, const ZipLimits &limits = {})
{
    try {
        membersOf(archive, limits);
    } catch (const UnpackError &error) {
        return error.what();
    }
    return {};
}

ZipBuilder sample()
{
    ZipEntry packed = ZipEntry::file("game/packed", QByteArray("abc").repeated(100));
    packed.method = ZipEntry::deflated;
    ZipEntry streamed = ZipEntry::file("game/streamed", "streamed");
    streamed.flags |= 8;
    streamed.localCrc = 0;
    streamed.localSize = 0;
    streamed.localPackedSize = 0;
    streamed.after = ZipBuilder::descriptor(streamed.content, 8);
    ZipBuilder builder { ZipEntry::folder("game/"), ZipEntry::program("game/run", "#!/bin/sh"),
                         ZipEntry::link("game/link", "run"), packed, streamed };
    builder.comment = "0123456789abcdef0123456789abcdef01234567";
    return builder;
}

}

class ZipDirectoryTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theMembersAreReadInTheOrderInWhichTheyLie()
    {
        const QByteArray archive = sample().bytes();
        const auto members = membersOf(archive);
        QCOMPARE(members.size(), std::size_t(5));
        QCOMPARE(members[0].name, std::string("game"));
        QVERIFY(members[0].kind == ZipMember::Kind::Folder);
        QCOMPARE(members[1].name, std::string("game/run"));
        QVERIFY(members[1].isProgram);
        QVERIFY(members[2].kind == ZipMember::Kind::Link);
        QVERIFY(!members[2].isProgram);
        QCOMPARE(members[3].size, std::uint64_t(300));
        QVERIFY(!members[3].isProgram);
        QCOMPARE(members[4].name, std::string("game/streamed"));
    }

    void theOrderOfTheDirectoryDoesNotMatter()
    {
        // Swaps two headers of the same length.
        const ZipBuilder builder { ZipEntry::file("a", "1"), ZipEntry::file("b", "2") };
        QByteArray archive = builder.bytes();
        const qsizetype first = archive.indexOf("PK\1\2");
        const qsizetype size = 46 + 1;
        archive = archive.first(first) + archive.mid(first + size, size) + archive.mid(first, size)
            + archive.mid(first + 2 * size);
        const auto members = membersOf(archive);
        QCOMPARE(members.at(0).name, std::string("a"));
        QCOMPARE(members.at(1).name, std::string("b"));
    }

    void anEmptyArchiveHoldsNothing()
    {
        const QByteArray archive = ZipBuilder().bytes();
        QVERIFY(membersOf(archive).empty());
    }

    void theRecordsOfLargeArchivesAreRead()
    {
        ZipBuilder builder = sample();
        builder.isLarge = true;
        const QByteArray archive = builder.bytes();
        QCOMPARE(membersOf(archive).size(), std::size_t(5));
    }

    void aLargeMembersSizesAreReadFromItsField()
    {
        ZipEntry entry = ZipEntry::file("a", "content");
        entry.size = entry.packedSize = 0xffffffff;
        entry.extra = entry.localExtra = ZipBuilder::field(1, ZipBuilder::u64(7) + ZipBuilder::u64(7));
        const QByteArray archive = ZipBuilder { entry }.bytes();
        QCOMPARE(membersOf(archive).at(0).size, std::uint64_t(7));
    }

    void everyFormOfTheSizesThatFollowIsKnown_data()
    {
        QTest::addColumn<bool>("signature");
        QTest::addColumn<bool>("large");
        for (const bool signature : { false, true }) {
            for (const bool large : { false, true })
                QTest::addRow("%d %d", signature, large) << signature << large;
        }
    }

    void everyFormOfTheSizesThatFollowIsKnown()
    {
        QFETCH(bool, signature);
        QFETCH(bool, large);
        ZipEntry entry = ZipEntry::file("a", "content");
        entry.flags |= 8;
        entry.localCrc = entry.localSize = entry.localPackedSize = 0;
        const QByteArray size = large ? ZipBuilder::u64(7) : ZipBuilder::u32(7);
        entry.after = (signature ? QByteArray("PK\7\10", 4) : QByteArray())
            + ZipBuilder::u32(ZipBuilder::crc32(entry.content)) + size + size;
        QCOMPARE(refusal(ZipBuilder { entry }.bytes()), std::string());
    }

    void noughtsThatFillUpATapeRecordAreNoContent()
    {
        ZipBuilder builder = sample();
        builder.afterEnd = QByteArray(10 * 1024 - 1, '\0');
        QCOMPARE(refusal(builder.bytes()), std::string());
        builder.afterEnd += '\0';
        QVERIFY(!refusal(builder.bytes()).empty());
    }

    void aByteOrderMarkIsACharacterLikeAnyOther()
    {
        const QByteArray archive = ZipBuilder { ZipEntry::file("\xef\xbb\xbf"
                                                               "a",
                                                               "content") }
                                       .bytes();
        QCOMPARE(membersOf(archive).at(0).name,
                 std::string("\xef\xbb\xbf"
                             "a"));
    }

    void aNameThatIsStoredInAnotherCharacterSetIsReadFromItsField()
    {
        // As Info-ZIP writes it where names are in Latin-1.
        ZipEntry entry = ZipEntry::file("\xe4/b", "content");
        entry.flags = 0;
        entry.extra = ZipBuilder::field(
            0x7075, QByteArray(1, 1) + ZipBuilder::u32(ZipBuilder::crc32(entry.name)) + "\xc3\xa4/b");
        entry.localExtra = entry.extra;
        QCOMPARE(membersOf(ZipBuilder { entry }.bytes()).at(0).name, std::string("\xc3\xa4/b"));
    }

    void aLinkIsOneWhateverSystemItsWriterNames()
    {
        ZipEntry entry = ZipEntry::link("a", "b");
        entry.writersSystem = 0;
        QVERIFY(membersOf(ZipBuilder { entry }.bytes()).at(0).kind == ZipMember::Kind::Link);
    }

    void aNameWithoutTheFlagMayBeUtf8()
    {
        ZipEntry entry = ZipEntry::file("\xc3\xa4", "content");
        entry.flags = 0;
        QCOMPARE(refusal(ZipBuilder { entry }.bytes()), std::string());
    }

    void namesMayBeAsLongAsFileSystemsTake()
    {
        QCOMPARE(refusal(ZipBuilder { ZipEntry::file(QByteArray(255, 'a'), "x") }.bytes()), std::string());
        const QByteArray longest = QByteArray("abcdefg/").repeated(127) + "abcdefgh";
        QCOMPARE(longest.size(), 1024);
        QCOMPARE(refusal(ZipBuilder { ZipEntry::file(longest, "x") }.bytes()), std::string());
        QVERIFY(!refusal(ZipBuilder { ZipEntry::file(longest + "i", "x") }.bytes()).empty());
    }

    void aWriterThatKnowsNoPermissionsMakesPlainFiles()
    {
        ZipEntry entry = ZipEntry::file("a", "content");
        entry.writersSystem = 0;
        entry.mode = 0;
        const QByteArray archive = ZipBuilder { entry }.bytes();
        QVERIFY(!membersOf(archive).at(0).isProgram);
    }

    void foldersInNamesCountAsMembers()
    {
        ZipLimits limits;
        limits.members = 3;
        QCOMPARE(refusal(ZipBuilder { ZipEntry::file("a/b/c", "x") }.bytes(), limits), std::string());
        QCOMPARE(refusal(ZipBuilder { ZipEntry::file("a/b/c/d", "x") }.bytes(), limits),
                 std::string("The archive holds too many files."));
    }

    void tooManyMembersAreRefused()
    {
        ZipLimits limits;
        limits.members = 1;
        QCOMPARE(refusal(ZipBuilder { ZipEntry::file("a", "x") }.bytes(), limits), std::string());
        QCOMPARE(refusal(ZipBuilder { ZipEntry::file("a", "x"), ZipEntry::file("b", "x") }.bytes(), limits),
                 std::string("The archive holds too many files."));
    }

    void theSizesTogetherHaveALimit()
    {
        ZipLimits limits;
        limits.size = 10;
        QCOMPARE(refusal(ZipBuilder { ZipEntry::file("a", "12345"), ZipEntry::file("b", "12345") }.bytes(),
                         limits),
                 std::string());
        QCOMPARE(refusal(ZipBuilder { ZipEntry::file("a", "12345"), ZipEntry::file("b", "123456") }.bytes(),
                         limits),
                 std::string("The archive holds more than can be unpacked."));
    }

    void aSmallArchiveMayGrowWithoutMeasure()
    {
        ZipEntry entry = ZipEntry::file("a", QByteArray(10 * 1024 * 1024, '\0'));
        entry.method = ZipEntry::deflated;
        QCOMPARE(refusal(ZipBuilder { entry }.bytes()), std::string());
        entry.content += '\0';
        QCOMPARE(refusal(ZipBuilder { entry }.bytes()),
                 std::string("The archive cannot be trusted: it would grow beyond all measure."));
    }

    void everyTruncationIsRefused()
    {
        const QByteArray archive = sample().bytes();
        for (qsizetype size = 0; size < archive.size(); ++size)
            QVERIFY2(!refusal(archive.first(size)).empty(), qPrintable(QString::number(size)));
    }

    void noDamagedByteMakesTheReaderReadElsewhere()
    {
        // With a sanitizer this finds reads past the end; without one, at least crashes and endless loops.
        const QByteArray archive = sample().bytes();
        for (qsizetype index = 0; index < archive.size(); ++index) {
            for (const int value : { 0x00, 0x01, 0x7f, 0x80, 0xff }) {
                QByteArray damaged = archive;
                damaged[index] = static_cast<char>(value);
                refusal(damaged);
            }
        }
    }

    void noChanceDamageMakesTheReaderReadElsewhere()
    {
        ZipBuilder builder = sample();
        builder.isLarge = true;
        const QByteArray archive = builder.bytes();
        std::mt19937 random(20240613);
        for (int round = 0; round < 5000; ++round) {
            QByteArray damaged = archive;
            for (auto count = random() % 6 + 1; count > 0; --count)
                damaged[static_cast<qsizetype>(random()) % damaged.size()] = static_cast<char>(random());
            refusal(damaged);
        }
    }
};

QTEST_GUILESS_MAIN(ZipDirectoryTest)
#include "ZipDirectoryTest.moc"
