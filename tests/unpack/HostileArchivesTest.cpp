#include "DeflateStream.h"
#include "Unpacker.h"

#include <functional>

using namespace Qt::StringLiterals;

namespace {

using Change = std::function<void(ZipEntry &)>;

const QString untrusted = u"The archive cannot be trusted: "_s;
const QString damaged = u"The archive is damaged: "_s;
const QString unusual = u"The archive is packed in an unusual way: “second” cannot be unpacked."_s;

ZipEntry file(const QByteArray &name) { return ZipEntry::file(name, "content of " + name); }

ZipBuilder sound() { return { file("first"), file("second") }; }

/// A sound archive whose second member is changed.
ZipBuilder with(const Change &change)
{
    ZipBuilder builder = sound();
    change(builder.entries.last());
    return builder;
}

ZipEntry changed(ZipEntry entry, const Change &change)
{
    change(entry);
    return entry;
}

/// The file with a second name, in Info-ZIP's Unicode path field.
ZipEntry withUnicodeName(ZipEntry entry, const QByteArray &name)
{
    entry.extra = entry.localExtra = ZipBuilder::unicodeName(entry.name, name);
    return entry;
}

/// A link whose packed target has a quarter of a megabyte of empty blocks in its middle.
ZipEntry linkInPieces(const QByteArray &name, const QByteArray &begin, const QByteArray &end)
{
    DeflateStream stream;
    stream.stored(begin);
    for (int block = 0; block < 256 * 1024 / 5; ++block)
        stream.stored(QByteArray());
    stream.stored(end, true);
    return { .name = name,
             .content = begin + end,
             .method = ZipEntry::deflated,
             .mode = 0120777,
             .packed = stream.bytes() };
}

/// Links to paths of 500 parts, each path starting with the link before it: resolved in full, the last one
/// has 19,000 parts.
ZipBuilder linksThatAddUp()
{
    ZipBuilder builder;
    QByteArray target = QByteArray("a/").repeated(499) + "a";
    for (int link = 0; link < 38; ++link) {
        const QByteArray name = "l" + QByteArray::number(link);
        builder.entries.append(ZipEntry::link(name, target));
        target = name + QByteArray("/a").repeated(500);
    }
    return builder;
}

/// Archives of one kind, for a table.
struct Rows {
    QByteArray kind;
    QString reason = {}; ///< part of the sentence that the archive is refused with

    void bytes(const QByteArray &what, const QByteArray &archive) const
    {
        QTest::addRow("%s: %s", kind.constData(), what.constData()) << archive << reason;
    }
    void archive(const QByteArray &what, const ZipBuilder &builder) const { bytes(what, builder.bytes()); }
    void entry(const QByteArray &what, const ZipEntry &entry) const { archive(what, { entry }); }
    void second(const QByteArray &what, const Change &change) const { archive(what, with(change)); }
    void whole(const QByteArray &what, const std::function<void(ZipBuilder &)> &change) const
    {
        ZipBuilder builder = sound();
        change(builder);
        archive(what, builder);
    }
};

}

/// Archives that no honest tool makes. Each is refused with one line, before anything is written.
class HostileArchivesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void archivesThatNoToolMakesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("archive");
        QTest::addColumn<QString>("reason");
        addNames();
        addMembersThatCannotStandBesideEachOther();
        addLinks();
        addTypes();
        addContradictions();
        addHiddenBytes();
        addFeatures();
        addWhatIsNoArchive();
        addGrowth();
    }

    void archivesThatNoToolMakesAreRefused()
    {
        QFETCH(QByteArray, archive);
        QFETCH(QString, reason);
        refuses(archive, reason);
    }

    void aTruncatedArchiveIsRefused()
    {
        ZipBuilder builder { file("a"), ZipEntry::folder("b/"), file("b/c") };
        builder.comment = "a comment";
        const QByteArray whole = builder.bytes();
        for (qsizetype size = 1; size < whole.size(); size += 23)
            refuses(whole.first(size), QString());
    }

    void moreLinksThanAnyArchiveNeedsAreRefused()
    {
        ZipBuilder builder;
        for (int link = 0; link < 5000; ++link)
            builder.entries.append(ZipEntry::link("l" + QByteArray::number(link), "a"));
        QCOMPARE(Unpacker().check(builder).problems, QString());
        builder.entries.append(ZipEntry::link("another", "a"));
        refuses(builder.bytes(), u"The archive holds too many links."_s);
    }

    void theLineSaysNothingThatATerminalWouldObey()
    {
        const QString problems = refuses(ZipBuilder { file("\x1b[31m\x07\nred\xff") }.bytes(), untrusted);
        for (const QChar character : problems.trimmed())
            QVERIFY(character.isPrint());
        QCOMPARE(problems.count(u'\n'), 1);
    }

private:
    static void addNames()
    {
        const auto row = [](const char *what, const QByteArray &name) {
            ZipEntry entry = name.endsWith('/') ? ZipEntry::folder(name) : file(name);
            Rows { "a name", untrusted }.archive(what, { file("good"), entry });
            entry.flags = 0;
            Rows { "a name without the flag for UTF-8", untrusted }.archive(what, { file("good"), entry });
        };
        row("absolute", "/etc/evil");
        row("only a slash", "/");
        row("empty", "");
        row("the parent", "../evil");
        row("the parent later on", "a/../../evil");
        row("the parent within the folder", "a/../evil");
        row("the parent at the end", "a/..");
        row("the parent as a folder", "../");
        row("the folder itself", "./");
        row("a dot in front", "./evil");
        row("a dot in the middle", "a/./evil");
        row("an empty part", "a//evil");
        row("two slashes at the end", "a//");
        row("a backslash", "..\\evil");
        row("a drive", "C:\\evil");
        row("a line feed", "a\nb");
        row("an escape", "a\x1b[2Jb");
        row("a delete", "a\x7f");
        row("a C1 control", "a\xc2\x9b");
        row("a NUL", QByteArray("a\0b", 3));
        row("a long part", QByteArray(256, 'a'));
        row("a long name", QByteArray("abcdefghi/").repeated(103) + "evil");
        row("not UTF-8", "a\xff");
        row("UTF-8 in too long a form",
            "..\xc0\xaf"
            "evil");
        row("half a character", "a\xc3");
        row("a surrogate", "a\xed\xa0\x80");
        row("the parent to HFS+", "a/.\xe2\x80\x8d./evil");
        row("nothing to HFS+", "a/\xe2\x80\x8c/evil");
    }

    static void addMembersThatCannotStandBesideEachOther()
    {
        const Rows both { "two members", untrusted };
        const auto files = [both](const char *what, const QByteArray &one, const QByteArray &other) {
            both.archive(what, { file(one), file(other) });
        };
        files("a file twice", "a", "a");
        files("in another letter case", "Readme", "README");
        files("in another letter case beyond ASCII", "\xc3\xa4", "\xc3\x84");
        files("in another normal form", "\xc3\xa4", "a\xcc\x88");
        files("letters that fold to one", "K", "\xe2\x84\xaa");
        files("a letter that folds to two",
              "stra\xc3\x9f"
              "e",
              "STRASSE");
        files("in another letter case and normal form", "\xc3\x84", "a\xcc\x88");
        files("folders in another normal form", "\xc3\xa4/a", "a\xcc\x88/b");
        files("folders in another letter case", "Data/a", "data/b");
        files("below a file", "a", "a/b");
        files("a file where others lie", "a/b", "a");
        files("with a character that HFS+ ignores", "Readme",
              "Read\xe2\x80\x8c"
              "me");
        files("with a byte order mark, which HFS+ ignores", "\xef\xbb\xbfReadme", "Readme");
        both.archive("a folder twice", { ZipEntry::folder("a/"), ZipEntry::folder("a/") });
        both.archive("a folder as a member and in a name", { ZipEntry::folder("Data/"), file("data/b") });
        both.archive("a file and a folder", { file("a"), ZipEntry::folder("a/") });
        both.archive("a folder and a file", { ZipEntry::folder("a/"), file("a") });
        const ZipEntry link = ZipEntry::link("a", "b");
        both.archive("a link twice", { link, link });
        both.archive("below a link", { link, file("a/evil") });
        both.archive("below a link in another letter case", { link, file("A/evil") });
        both.archive("a link where others lie", { file("a/evil"), link });
        both.archive("a link and a file", { link, file("a") });
        const ZipEntry renamed = withUnicodeName(file("a"), "b");
        both.archive("one stored name and two others", { renamed, withUnicodeName(file("a"), "c") });
        both.archive("a stored name that is another one's Unicode name",
                     { renamed, withUnicodeName(file("c"), "a") });
        both.archive("a stored name that is another one's only name", { renamed, file("A") });
        both.archive("a stored name below a link", { link, withUnicodeName(file("a/c"), "d") });
    }

    static void addLinks()
    {
        const Rows rows { "a link", u"the link"_s };
        const auto link = [rows](const char *what, const QByteArray &target) {
            rows.entry(what, ZipEntry::link("a", target));
        };
        link("absolute", "/etc/passwd");
        link("the parent", "..");
        link("in and out again", "b/../../x");
        link("empty", "");
        link("with a NUL", QByteArray("b\0/../..", 8));
        link("with a line feed", "b\nc");
        link("longer than any path", QByteArray(1025, 'b'));
        rows.entry("the parent of a sub-folder's parent", ZipEntry::link("d/a", "../../x"));
        rows.archive("through another link",
                     { ZipEntry::link("deep/down/a", "../.."), ZipEntry::link("b", "deep/down/a/../x") });
        rows.archive("in a circle", { ZipEntry::link("a", "b"), ZipEntry::link("b", "a") });
        rows.entry("packed", changed(ZipEntry::link("a", "../../../../../../../../../../etc"), pack));
        rows.entry("in pieces", linkInPieces("a", "abc", "/../../../../../etc/passwd"));
        rows.archive("where only some readers make it",
                     { withUnicodeName(ZipEntry::link("a", "../b"), "deep/a"), file("b") });
        rows.entry("made by a writer on another system",
                   { .name = "a", .content = "/etc", .mode = 0120777, .writersSystem = 0 });
        rows.archive("adding up to an endless path", linksThatAddUp());
        Rows { "a link", damaged }.entry("with a wrong checksum",
                                         { .name = "a", .content = "b", .mode = 0120777, .crc = 1 });
    }

    static void addTypes()
    {
        const auto row = [](const char *what, quint32 mode) {
            for (const quint8 system : std::initializer_list<quint8> { 3, 0, 19 }) { // Unix, DOS, macOS
                Rows { "a type, from system " + QByteArray::number(system), untrusted }.archive(
                    what,
                    { file("first"),
                      { .name = "second", .content = "x", .mode = mode, .writersSystem = system } });
            }
        };
        row("a FIFO", 0010644);
        row("a character device", 0020644);
        row("a block device", 0060644);
        row("a socket", 0140644);
        row("an unknown type", 0170644);
        row("a folder without a slash", 0040755);
        const Rows folder { "a folder", untrusted };
        folder.entry("with the type of a file", { .name = "a/", .mode = 0100644 });
        folder.entry("with the type of a link", { .name = "a/", .mode = 0120777 });
        folder.entry("with a content", { .name = "a/", .content = "content", .mode = 0040755 });
    }

    static void addContradictions()
    {
        const Rows rows { "headers", untrusted };
        rows.second("another name", [](ZipEntry &entry) { entry.localName = "evil"; });
        rows.second("a name of another length", [](ZipEntry &entry) { entry.localName = "../evil"; });
        rows.second("other flags", [](ZipEntry &entry) { entry.localFlags = 0; });
        rows.second("another method", [](ZipEntry &entry) { entry.localMethod = ZipEntry::deflated; });
        rows.second("another checksum", [](ZipEntry &entry) { entry.localCrc = 1; });
        rows.second("another size", [](ZipEntry &entry) { entry.localSize = 1; });
        rows.second("another packed size", [](ZipEntry &entry) { entry.localPackedSize = 1; });
        rows.second("two sizes of what is not packed", [](ZipEntry &entry) { entry.size = 1; });
        rows.second("no size in front and none behind", [](ZipEntry &entry) { entry.localSize = 0; });
        rows.second("another name in the Unicode field in front of the data",
                    [](ZipEntry &entry) { entry.localExtra = ZipBuilder::unicodeName(entry.name, "evil"); });
        rows.second("a Unicode field for another name", [](ZipEntry &entry) {
            entry.extra = entry.localExtra = ZipBuilder::unicodeName("another", "evil");
        });
        rows.second("a Unicode name that leads out",
                    [](ZipEntry &entry) { entry = withUnicodeName(entry, "../evil"); });
        const auto stored = [rows](const char *what, const QByteArray &name) {
            rows.archive(what, { file("first"), withUnicodeName(file(name), "good.txt") });
        };
        stored("a stored name that leads out", "../evil.txt");
        stored("a stored name that is absolute", "/evil.txt");
        stored("a stored name with a backslash", "..\\evil.txt");
        stored("a stored name of a folder for a file", "evil/");
        rows.second("a file that DOS takes for a folder",
                    [](ZipEntry &entry) { entry.attributes = quint32(0100644) << 16 | 0x10; });
        rows.second("a field twice", [](ZipEntry &entry) {
            entry.extra = ZipBuilder::field(1, ZipBuilder::u64(1)) + ZipBuilder::field(1, ZipBuilder::u64(2));
        });
        rows.second("an empty file with a checksum", [](ZipEntry &entry) {
            entry.content.clear();
            entry.crc = 1;
        });
    }

    static void addHiddenBytes()
    {
        const Rows rows { "hidden bytes and overlaps" };
        rows.second("between two members", [](ZipEntry &entry) { entry.before = "hidden"; });
        rows.second("behind a member", [](ZipEntry &entry) { entry.after = "hidden"; });
        rows.second("behind a member, as long as sizes would be",
                    [](ZipEntry &entry) { entry.after = QByteArray(16, 'x'); });
        rows.second("sizes that follow and are others", [](ZipEntry &entry) {
            entry.flags |= 8;
            entry.after = ZipBuilder::descriptor("other content", entry.content.size());
        });
        rows.second("sizes that follow with more behind them", [](ZipEntry &entry) {
            entry.flags |= 8;
            entry.after = ZipBuilder::descriptor(entry.content, entry.content.size()) + "x";
        });
        rows.second("sizes that should follow and do not", [](ZipEntry &entry) { entry.flags |= 8; });
        rows.second("a member on top of the first", [](ZipEntry &entry) { entry.offset = 0; });
        rows.second("a member inside the first", [](ZipEntry &entry) { entry.offset = 4; });
        rows.second("a member that reaches into what follows", [](ZipEntry &entry) {
            entry.size = entry.packedSize = static_cast<quint32>(entry.content.size()) + 40;
        });
        rows.second("a member that ends early", [](ZipEntry &entry) { entry.size = entry.packedSize = 1; });
        rows.second("a member behind the end", [](ZipEntry &entry) { entry.offset = 0x7fffffff; });
        rows.second("a member on another disk", [](ZipEntry &entry) { entry.disk = 1; });
        rows.second("an extra field that is cut off",
                    [](ZipEntry &entry) { entry.extra = QByteArray("\1\0\xff\0", 4); });
        rows.second("a large size that is missing", [](ZipEntry &entry) { entry.size = 0xffffffff; });

        const QByteArray end = ZipBuilder().bytes();
        const QByteArray other = ZipBuilder { file("evil") }.bytes();
        const auto inFront = [rows](const char *what, const QByteArray &bytes) {
            rows.whole(what, [bytes](ZipBuilder &builder) { builder.entries.first().before = bytes; });
        };
        inFront("in front of everything", "#!/bin/sh\n");
        inFront("an end in front of everything", end);
        inFront("another archive in front", other);
        const auto bytes = [rows](const char *what, QByteArray ZipBuilder::*place, const QByteArray &hidden) {
            rows.whole(what, [place, hidden](ZipBuilder &builder) { builder.*place = hidden; });
        };
        bytes("in front of the directory", &ZipBuilder::beforeDirectory, "hidden");
        bytes("a member that is not listed", &ZipBuilder::beforeDirectory, QByteArray("PK\3\4", 4));
        bytes("behind the directory", &ZipBuilder::afterDirectory, "hidden");
        bytes("an end behind the directory", &ZipBuilder::afterDirectory, end);
        bytes("behind the end", &ZipBuilder::afterEnd, "hidden");
        bytes("another archive behind", &ZipBuilder::afterEnd, other);
        bytes("an end in the comment", &ZipBuilder::comment, end);
        bytes("an end in the comment that does not reach the end", &ZipBuilder::comment, end + "x");
        bytes("another archive in the comment", &ZipBuilder::comment, other);

        rows.whole("one member fewer than there are", [](ZipBuilder &builder) { builder.count = 1; });
        rows.whole("one member more than there are", [](ZipBuilder &builder) { builder.count = 3; });
        rows.whole("two counts", [](ZipBuilder &builder) { builder.countOnDisk = 1; });
        rows.whole("a directory elsewhere", [](ZipBuilder &builder) { builder.directoryOffset = 0; });
        rows.whole("a directory far away", [](ZipBuilder &builder) { builder.directoryOffset = 0x7fffffff; });
        rows.whole("a shorter directory", [](ZipBuilder &builder) { builder.directorySize = 10; });
        rows.whole("a longer directory", [](ZipBuilder &builder) { builder.directorySize = 0x7fffffff; });
        rows.whole("a comment that is longer than the file",
                   [](ZipBuilder &builder) { builder.commentSize = 9; });
        rows.whole("several disks", [](ZipBuilder &builder) { builder.disk = 1; });

        using Field = std::optional<quint64> ZipBuilder::*;
        const auto large = [rows](const char *what, Field field, quint64 value) {
            rows.whole(what, [field, value](ZipBuilder &builder) {
                builder.isLarge = true;
                builder.*field = value;
            });
        };
        large("another count in the large end", &ZipBuilder::largeCount, 1);
        large("a huge count", &ZipBuilder::largeCount, ~0ULL);
        large("a large end elsewhere", &ZipBuilder::largePosition, 0);
        large("a large end beyond everything", &ZipBuilder::largePosition, ~0ULL);
        large("a large directory beyond everything", &ZipBuilder::largeDirectoryOffset, ~0ULL);
        rows.whole("ends that contradict each other", [](ZipBuilder &builder) {
            builder.isLarge = true;
            builder.count = 1;
        });
    }

    static void addFeatures()
    {
        const auto flags = [](const char *what, const QString &reason, quint16 value) {
            Rows { "flags", reason }.second(what, [value](ZipEntry &entry) { entry.flags = value; });
        };
        const QString encrypted = u"The archive is encrypted: “second” cannot be read without a password."_s;
        flags("encrypted in the old way", encrypted, 1);
        flags("encrypted in the strong way", encrypted, 1 | 1 << 6);
        flags("an encrypted directory", encrypted, 1 << 13);
        flags("an unknown one", unusual, 1 << 5);
        for (const int method : { 1, 6, 9, 12, 14, 20, 93, 95, 98, 99, 65535 }) {
            Rows { "a method", unusual }.second(QByteArray::number(method), [method](ZipEntry &entry) {
                entry.method = static_cast<quint16>(method);
            });
        }
    }

    static void addWhatIsNoArchive()
    {
        const Rows rows { "no zip archive" };
        rows.bytes("nothing", {});
        rows.bytes("a letter", "P");
        rows.bytes("a page", QByteArray("<html>Not found</html>").repeated(100));
        rows.bytes("a signature only", QByteArray("PK\5\6", 4));
        rows.bytes("zero bytes", QByteArray(100000, '\0'));
        rows.bytes("another format", QByteArray("\x1f\x8b\x08\0\0\0\0\0", 8).repeated(10));
    }

    static void addGrowth()
    {
        Rows { "a bomb", untrusted + u"it would grow beyond all measure."_s }.entry(
            "in full", changed(ZipEntry::file("bomb", QByteArray(64 * 1024 * 1024, '\0')), pack));
        Rows { "a bomb", u"The archive holds more than can be unpacked."_s }.second(
            "by its headers", [](ZipEntry &entry) {
                pack(entry);
                entry.size = entry.localSize = 0xffffffff;
                entry.extra = ZipBuilder::field(1, ZipBuilder::u64(9'000'000'000));
                entry.localExtra = ZipBuilder::field(1, ZipBuilder::u64(9'000'000'000) + ZipBuilder::u64(0));
            });
    }

    static void pack(ZipEntry &entry) { entry.method = ZipEntry::deflated; }

    /// Checks that the archive is refused with one line that contains `reason`, and that nothing was written
    /// anywhere. Returns the line.
    static QString refuses(const QByteArray &archive, const QString &reason)
    {
        const Unpacker unpacker(u"a/b/c/"_s);
        unpacker.write(archive);
        QDir().mkdir(unpacker.folder());
        const Unpacked result = Unpacker::run(unpacker.unpacking());
        [&] {
            QCOMPARE(result.status, 1);
            QVERIFY2(result.problems.contains(reason), qPrintable(result.problems));
            QVERIFY2(result.problems.endsWith(u".\n"_s), qPrintable(result.problems));
            QCOMPARE(result.problems.count(u'\n'), 1);
            QCOMPARE(result.output, QString());
            QCOMPARE(
                unpacker.everything(),
                (QStringList { u"a"_s, u"a/b"_s, u"a/b/c"_s, u"a/b/c/archive.zip"_s, u"a/b/c/folder"_s }));
        }();
        return result.problems;
    }
};

QTEST_GUILESS_MAIN(HostileArchivesTest)
#include "HostileArchivesTest.moc"
