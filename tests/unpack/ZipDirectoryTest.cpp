#include "ZipDirectory.h"

#include "Table.h"
#include "ZipBuilder.h"

#include <QTemporaryFile>

#include <random>

namespace {

/// A member with its name.
struct Member : ZipMember {
    std::string name;
};

/// Reads the archive from a file, as the program does.
std::vector<Member> membersOf(const QByteArray &archive, const ZipLimits &limits = {})
{
    // A new file each time: some file systems write one that is overwritten to the disk at once.
    QTemporaryFile written;
    if (!written.open() || written.write(archive) != archive.size() || !written.flush())
        qFatal("The archive could not be written.");
    const ArchiveFile file(written.fileName().toStdString());
    MemberTree tree(limits.members);
    MemberNames names(file);
    std::vector<Member> members;
    for (const ZipMember &member : readZipDirectory(file, tree, limits).members)
        members.push_back({ member, names.of(member) });
    return members;
}

Member memberOf(const ZipEntry &entry) { return membersOf(ZipBuilder { entry }.bytes()).at(0); }

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

std::string refusal(const ZipEntry &entry) { return refusal(ZipBuilder { entry }.bytes()); }

/// A file whose sizes follow its data, as `descriptor`.
ZipEntry streamed(const QByteArray &content, const QByteArray &descriptor)
{
    return { .name = "game/streamed",
             .content = content,
             .flags = 1 << 11 | 1 << 3,
             .localCrc = 0,
             .localSize = 0,
             .localPackedSize = 0,
             .after = descriptor };
}

ZipBuilder sample()
{
    const ZipEntry packed { .name = "game/packed",
                            .content = QByteArray("abc").repeated(100),
                            .method = ZipEntry::deflated };
    ZipBuilder builder { ZipEntry::folder("game/"), ZipEntry::program("game/run", "#!/bin/sh"),
                         ZipEntry::link("game/link", "run"), packed,
                         streamed("streamed", ZipBuilder::descriptor("streamed", 8)) };
    builder.comment = "0123456789abcdef0123456789abcdef01234567";
    return builder;
}

}

class ZipDirectoryTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theMembersAreReadInTheOrderInWhichTheyLie()
    {
        const auto members = membersOf(sample().bytes());
        QCOMPARE(members.size(), std::size_t(5));
        QCOMPARE(members[0].name, "game");
        QVERIFY(members[0].kind == ZipMember::Kind::Folder);
        QCOMPARE(members[1].name, "game/run");
        QVERIFY(members[1].isProgram);
        QVERIFY(members[2].kind == ZipMember::Kind::Link);
        QVERIFY(!members[2].isProgram);
        QCOMPARE(members[3].size, std::uint64_t(300));
        QVERIFY(!members[3].isProgram);
        QCOMPARE(members[4].name, "game/streamed");
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
        QCOMPARE(members.at(0).name, "a");
        QCOMPARE(members.at(1).name, "b");
    }

    void anEmptyArchiveHoldsNothing() { QVERIFY(membersOf(ZipBuilder().bytes()).empty()); }

    void theRecordsOfLargeArchivesAreRead()
    {
        ZipBuilder builder = sample();
        builder.isLarge = true;
        QCOMPARE(membersOf(builder.bytes()).size(), std::size_t(5));
    }

    void aLargeMembersSizesAreReadFromItsField()
    {
        const QByteArray sizes = ZipBuilder::field(1, ZipBuilder::u64(7) + ZipBuilder::u64(7));
        const ZipEntry entry { .name = "a",
                               .content = "content",
                               .size = 0xffffffff,
                               .packedSize = 0xffffffff,
                               .extra = sizes,
                               .localExtra = sizes };
        QCOMPARE(memberOf(entry).size, std::uint64_t(7));
    }

    void everyFormOfTheSizesThatFollowIsKnown()
    {
        const QByteArray checksum = ZipBuilder::u32(ZipBuilder::crc32("content"));
        for (const QByteArray &signature : { QByteArray(), QByteArray("PK\7\10", 4) }) {
            for (const QByteArray &size : { ZipBuilder::u32(7), ZipBuilder::u64(7) })
                QCOMPARE(refusal(streamed("content", signature + checksum + size + size)), "");
        }
    }

    void zeroBytesThatFillUpATapeRecordAreNoContent()
    {
        ZipBuilder builder = sample();
        builder.afterEnd = QByteArray(10 * 1024 - 1, '\0');
        QCOMPARE(refusal(builder.bytes()), "");
        builder.afterEnd += '\0';
        QVERIFY(!refusal(builder.bytes()).empty());
    }

    void aByteOrderMarkIsACharacterLikeAnyOther()
    {
        const QByteArray name = QByteArray("\xef\xbb\xbf") + "a";
        QCOMPARE(memberOf(ZipEntry::file(name, "content")).name, name.toStdString());
    }

    void aNameThatIsStoredInAnotherCharacterSetIsReadFromItsField()
    {
        // As Info-ZIP writes it where names are in Latin-1.
        const QByteArray other = ZipBuilder::unicodeName("\xe4/b", "\xc3\xa4/b");
        const ZipEntry entry {
            .name = "\xe4/b", .content = "content", .flags = 0, .extra = other, .localExtra = other
        };
        QCOMPARE(memberOf(entry).name, "\xc3\xa4/b");
    }

    void aLinkIsOneWhateverSystemItsWriterNames()
    {
        QVERIFY(memberOf({ .name = "a", .content = "b", .mode = 0120777, .writersSystem = 0 }).kind
                == ZipMember::Kind::Link);
    }

    void aNameWithoutTheFlagMayBeUtf8()
    {
        QCOMPARE(refusal({ .name = "\xc3\xa4", .content = "content", .flags = 0 }), "");
    }

    void namesMayBeAsLongAsFileSystemsTake()
    {
        QCOMPARE(refusal(ZipEntry::file(QByteArray(255, 'a'), "x")), "");
        const QByteArray longest = QByteArray("abcdefg/").repeated(127) + "abcdefgh";
        QCOMPARE(longest.size(), 1024);
        QCOMPARE(refusal(ZipEntry::file(longest, "x")), "");
        QVERIFY(!refusal(ZipEntry::file(longest + "i", "x")).empty());
    }

    void aWriterThatKnowsNoPermissionsMakesPlainFiles()
    {
        QVERIFY(!memberOf({ .name = "a", .content = "content", .mode = 0, .writersSystem = 0 }).isProgram);
    }

    void limitsHold_data()
    {
        const auto row = table<ZipLimits, ZipBuilder, ZipBuilder, std::string>("limits", "allowed", "refused",
                                                                               "problem");
        const auto file = [](const char *name, const char *content) { return ZipEntry::file(name, content); };
        const auto zeros = [](qsizetype size) -> ZipEntry {
            return { .name = "a", .content = QByteArray(size, '\0'), .method = ZipEntry::deflated };
        };
        row("members", { .members = 1 }, { file("a", "x") }, { file("a", "x"), file("b", "x") },
            "The archive holds too many files.");
        row("folders in names, which count as members", { .members = 3 }, { file("a/b/c", "x") },
            { file("a/b/c/d", "x") }, "The archive holds too many files.");
        row("the sizes together", { .size = 10 }, { file("a", "12345"), file("b", "12345") },
            { file("a", "12345"), file("b", "123456") }, "The archive holds more than can be unpacked.");
        row("growth, of an archive that is not small", {}, { zeros(10 * 1024 * 1024) },
            { zeros(10 * 1024 * 1024 + 1) },
            "The archive cannot be trusted: it would grow beyond all measure.");
    }

    void limitsHold()
    {
        QFETCH(ZipLimits, limits);
        QFETCH(ZipBuilder, allowed);
        QFETCH(ZipBuilder, refused);
        QCOMPARE(refusal(allowed.bytes(), limits), "");
        QTEST(refusal(refused.bytes(), limits), "problem");
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
