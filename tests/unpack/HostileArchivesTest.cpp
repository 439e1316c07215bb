#include "DeflateStream.h"
#include "Table.h"
#include "Unpacker.h"

using namespace Qt::StringLiterals;

namespace {

const QString untrusted = u"The archive cannot be trusted: "_s;
const QString damaged = u"The archive is damaged: "_s;
const QString unusual = u"The archive is packed in an unusual way: “second” cannot be unpacked."_s;

QByteArray contentOf(const QByteArray &name) { return "content of " + name; }
ZipEntry file(const QByteArray &name) { return ZipEntry::file(name, contentOf(name)); }

ZipBuilder sound() { return { file("first"), file("second") }; }

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
    /// The sound archive with another second member, which keeps its name and content unless it has others.
    void second(const QByteArray &what, ZipEntry entry) const
    {
        if (entry.name.isEmpty())
            entry.name = "second";
        if (entry.content.isEmpty())
            entry.content = contentOf(entry.name);
        archive(what, { file("first"), entry });
    }
    /// The sound archive with one field changed.
    template <typename Field, typename Value>
    void whole(const QByteArray &what, Field ZipBuilder::*field, const Value &value) const
    {
        ZipBuilder builder = sound();
        builder.*field = value;
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
        table<QByteArray, QString>("archive", "reason");
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
        row("UTF-8 in too long a form", "..\xc0\xafpasswd");
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
        files("a letter that folds to two", "straße", "STRASSE");
        files("in another letter case and normal form", "\xc3\x84", "a\xcc\x88");
        files("folders in another normal form", "\xc3\xa4/a", "a\xcc\x88/b");
        files("folders in another letter case", "Data/a", "data/b");
        files("below a file", "a", "a/b");
        files("a file where others lie", "a/b", "a");
        files("with a character that HFS+ ignores", "Readme", "Read\u200cme");
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
        rows.entry("packed",
                   { .name = "a",
                     .content = "../../../../../../../../../../etc",
                     .method = ZipEntry::deflated,
                     .mode = 0120777 });
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
                Rows { "a type, from system " + QByteArray::number(system), untrusted }.second(
                    what, { .mode = mode, .writersSystem = system });
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
        rows.second("another name", { .localName = "evil" });
        rows.second("a name of another length", { .localName = "../evil" });
        rows.second("other flags", { .localFlags = 0 });
        rows.second("another method", { .localMethod = ZipEntry::deflated });
        rows.second("another checksum", { .localCrc = 1 });
        rows.second("another size", { .localSize = 1 });
        rows.second("another packed size", { .localPackedSize = 1 });
        rows.second("two sizes of what is not packed", { .size = 1 });
        rows.second("no size in front and none behind", { .localSize = 0 });
        rows.second("another name in the Unicode field in front of the data",
                    { .localExtra = ZipBuilder::unicodeName("second", "evil") });
        const QByteArray unicode = ZipBuilder::unicodeName("another", "evil");
        rows.second("a Unicode field for another name", { .extra = unicode, .localExtra = unicode });
        const auto names = [rows](const char *what, const QByteArray &stored, const QByteArray &other) {
            rows.second(what, withUnicodeName(file(stored), other));
        };
        names("a Unicode name that leads out", "second", "../evil");
        names("a stored name that leads out", "../evil.txt", "good.txt");
        names("a stored name that is absolute", "/evil.txt", "good.txt");
        names("a stored name with a backslash", "..\\evil.txt", "good.txt");
        names("a stored name of a folder for a file", "evil/", "good.txt");
        rows.second("a file that DOS takes for a folder", { .attributes = quint32(0100644) << 16 | 0x10 });
        const auto sizes = [](quint64 size) { return ZipBuilder::field(1, ZipBuilder::u64(size)); };
        rows.second("a field twice", { .extra = sizes(1) + sizes(2) });
        rows.archive("an empty file with a checksum", { file("first"), { .name = "second", .crc = 1 } });
    }

    static void addHiddenBytes()
    {
        const Rows rows { "hidden bytes and overlaps" };
        rows.second("between two members", { .before = "hidden" });
        rows.second("behind a member", { .after = "hidden" });
        rows.second("behind a member, as long as sizes would be", { .after = QByteArray(16, 'x') });
        const QByteArray content = contentOf("second");
        const auto follow = [rows](const char *what, const QByteArray &after) {
            rows.second(what, { .flags = 1 << 11 | 1 << 3, .after = after });
        };
        follow("sizes that follow and are others", ZipBuilder::descriptor("other content", content.size()));
        follow("sizes that follow with more behind them",
               ZipBuilder::descriptor(content, content.size()) + "x");
        follow("sizes that should follow and do not", {});
        rows.second("a member on top of the first", { .offset = 0 });
        rows.second("a member inside the first", { .offset = 4 });
        rows.second("a member behind the end", { .offset = 0x7fffffff });
        const auto both = [rows](const char *what, quint32 size) {
            rows.second(what, { .size = size, .packedSize = size });
        };
        both("a member that reaches into what follows", static_cast<quint32>(content.size()) + 40);
        both("a member that ends early", 1);
        rows.second("a member on another disk", { .disk = 1 });
        rows.second("an extra field that is cut off", { .extra = QByteArray("\1\0\xff\0", 4) });
        rows.second("a large size that is missing", { .size = 0xffffffff });

        const QByteArray end = ZipBuilder().bytes();
        const QByteArray other = ZipBuilder { file("evil") }.bytes();
        const auto inFront = [rows](const char *what, const QByteArray &bytes) {
            ZipEntry first = file("first");
            first.before = bytes;
            rows.archive(what, { first, file("second") });
        };
        inFront("in front of everything", "#!/bin/sh\n");
        inFront("an end in front of everything", end);
        inFront("another archive in front", other);
        rows.whole("in front of the directory", &ZipBuilder::beforeDirectory, "hidden");
        rows.whole("a member that is not listed", &ZipBuilder::beforeDirectory, QByteArray("PK\3\4", 4));
        rows.whole("behind the directory", &ZipBuilder::afterDirectory, "hidden");
        rows.whole("an end behind the directory", &ZipBuilder::afterDirectory, end);
        rows.whole("behind the end", &ZipBuilder::afterEnd, "hidden");
        rows.whole("another archive behind", &ZipBuilder::afterEnd, other);
        rows.whole("an end in the comment", &ZipBuilder::comment, end);
        rows.whole("an end in the comment that does not reach the end", &ZipBuilder::comment, end + "x");
        rows.whole("another archive in the comment", &ZipBuilder::comment, other);

        rows.whole("one member fewer than there are", &ZipBuilder::count, 1);
        rows.whole("one member more than there are", &ZipBuilder::count, 3);
        rows.whole("two counts", &ZipBuilder::countOnDisk, 1);
        rows.whole("a directory elsewhere", &ZipBuilder::directoryOffset, 0);
        rows.whole("a directory far away", &ZipBuilder::directoryOffset, 0x7fffffff);
        rows.whole("a shorter directory", &ZipBuilder::directorySize, 10);
        rows.whole("a longer directory", &ZipBuilder::directorySize, 0x7fffffff);
        rows.whole("a comment that is longer than the file", &ZipBuilder::commentSize, 9);
        rows.whole("several disks", &ZipBuilder::disk, quint16(1));

        const auto large = [rows](const char *what, auto field, auto value) {
            ZipBuilder builder = sound();
            builder.isLarge = true;
            builder.*field = value;
            rows.archive(what, builder);
        };
        large("another count in the large end", &ZipBuilder::largeCount, 1);
        large("a huge count", &ZipBuilder::largeCount, ~0ULL);
        large("a large end elsewhere", &ZipBuilder::largePosition, 0);
        large("a large end beyond everything", &ZipBuilder::largePosition, ~0ULL);
        large("a large directory beyond everything", &ZipBuilder::largeDirectoryOffset, ~0ULL);
        large("ends that contradict each other", &ZipBuilder::count, 1);
    }

    static void addFeatures()
    {
        const auto flags = [](const char *what, const QString &reason, quint16 value) {
            Rows { "flags", reason }.second(what, { .flags = value });
        };
        const QString encrypted = u"The archive is encrypted: “second” cannot be read without a password."_s;
        flags("encrypted in the old way", encrypted, 1);
        flags("encrypted in the strong way", encrypted, 1 | 1 << 6);
        flags("an encrypted directory", encrypted, 1 << 13);
        flags("an unknown one", unusual, 1 << 5);
        for (const quint16 method :
             std::initializer_list<quint16> { 1, 6, 9, 12, 14, 20, 93, 95, 98, 99, 65535 })
            Rows { "a method", unusual }.second(QByteArray::number(method), { .method = method });
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
        const QByteArray zeros(64 * 1024 * 1024, '\0');
        Rows { "a bomb", untrusted + u"it would grow beyond all measure."_s }.entry(
            "in full", { .name = "bomb", .content = zeros, .method = ZipEntry::deflated });
        const QByteArray size = ZipBuilder::u64(9'000'000'000);
        Rows { "a bomb", u"The archive holds more than can be unpacked."_s }.second(
            "by its headers",
            { .method = ZipEntry::deflated,
              .size = 0xffffffff,
              .localSize = 0xffffffff,
              .extra = ZipBuilder::field(1, size),
              .localExtra = ZipBuilder::field(1, size + ZipBuilder::u64(0)) });
    }

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
            QCOMPARE(result.output, QString());
            QVERIFY2(result.problems.contains(reason), qPrintable(result.problems));
            QVERIFY2(result.problems.endsWith(u".\n"_s), qPrintable(result.problems));
            QCOMPARE(result.problems.count(u'\n'), 1);
            QCOMPARE(unpacker.home().tree().join(u' '), u"a a/b a/b/c a/b/c/archive.zip a/b/c/folder"_s);
        }();
        return result.problems;
    }
};

QTEST_GUILESS_MAIN(HostileArchivesTest)
#include "HostileArchivesTest.moc"
