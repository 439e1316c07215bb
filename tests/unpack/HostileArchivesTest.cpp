#include "DeflateStream.h"
#include "TestHome.h"
#include "Unpacker.h"
#include "ZipBuilder.h"

#include <QDirIterator>

#include <functional>

namespace {

ZipEntry file(const QByteArray &name) { return ZipEntry::file(name, "content of " + name); }

ZipEntry changed(ZipEntry entry, const std::function<void(ZipEntry &)> &change)
{
    change(entry);
    return entry;
}

QByteArray changed(ZipBuilder builder, const std::function<void(ZipBuilder &)> &change)
{
    change(builder);
    return builder.bytes();
}

/// The entry with a second name, in Info-ZIP's Unicode path field.
ZipEntry withUnicodeName(ZipEntry entry, const QByteArray &name)
{
    entry.extra
        = ZipBuilder::field(0x7075, QByteArray(1, 1) + ZipBuilder::u32(ZipBuilder::crc32(entry.name)) + name);
    entry.localExtra = entry.extra;
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
    ZipEntry entry = ZipEntry::link(name, begin + end);
    entry.method = ZipEntry::deflated;
    entry.packed = stream.bytes();
    return entry;
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

const auto cannotBeTrusted = QStringLiteral("The archive cannot be trusted: ");
const auto isDamaged = QStringLiteral("The archive is damaged: ");

}

/// Archives that no honest tool makes. Each is refused with one line, before anything is written.
class HostileArchivesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void namesThatLeadElsewhereAreRefused_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("absolute") << QByteArray("/etc/evil");
        QTest::newRow("only a slash") << QByteArray("/");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("the parent") << QByteArray("../evil");
        QTest::newRow("the parent later on") << QByteArray("a/../../evil");
        QTest::newRow("the parent within the folder") << QByteArray("a/../evil");
        QTest::newRow("the parent at the end") << QByteArray("a/..");
        QTest::newRow("the parent as a folder") << QByteArray("../");
        QTest::newRow("the folder itself") << QByteArray("./");
        QTest::newRow("a dot in front") << QByteArray("./evil");
        QTest::newRow("a dot in the middle") << QByteArray("a/./evil");
        QTest::newRow("an empty part") << QByteArray("a//evil");
        QTest::newRow("two slashes at the end") << QByteArray("a//");
        QTest::newRow("a backslash") << QByteArray("..\\evil");
        QTest::newRow("a drive") << QByteArray("C:\\evil");
        QTest::newRow("a line feed") << QByteArray("a\nb");
        QTest::newRow("an escape") << QByteArray("a\x1b[2Jb");
        QTest::newRow("a delete") << QByteArray("a\x7f");
        QTest::newRow("a C1 control") << QByteArray("a\xc2\x9b");
        QTest::newRow("a NUL") << QByteArray("a\0b", 3);
        QTest::newRow("a long part") << QByteArray(256, 'a');
        QTest::newRow("a long name") << QByteArray("abcdefghi/").repeated(103) + "evil";
        QTest::newRow("no UTF-8") << QByteArray("a\xff");
        QTest::newRow("UTF-8 that is too long a form") << QByteArray("..\xc0\xaf"
                                                                     "evil");
        QTest::newRow("half a character") << QByteArray("a\xc3");
        QTest::newRow("a surrogate") << QByteArray("a\xed\xa0\x80");
        QTest::newRow("the parent to HFS+") << QByteArray("a/.\xe2\x80\x8d./evil");
        QTest::newRow("nothing to HFS+") << QByteArray("a/\xe2\x80\x8c/evil");
    }

    void namesThatLeadElsewhereAreRefused()
    {
        QFETCH(QByteArray, name);
        ZipEntry entry = file(name);
        if (name.endsWith('/'))
            entry = ZipEntry::folder(name);
        refuses(ZipBuilder { file("good"), entry }.bytes(), cannotBeTrusted);

        ZipEntry unflagged = entry;
        unflagged.flags = 0;
        refuses(ZipBuilder { file("good"), unflagged }.bytes(), cannotBeTrusted);
    }

    void membersThatCannotStandBesideEachOtherAreRefused_data()
    {
        QTest::addColumn<QByteArray>("archive");
        const auto row
            = [](const char *name, const ZipBuilder &builder) { QTest::newRow(name) << builder.bytes(); };
        row("a file twice", { file("a"), file("a") });
        row("a folder twice", { ZipEntry::folder("a/"), ZipEntry::folder("a/") });
        row("in another letter case", { file("Readme"), file("README") });
        row("in another letter case beyond ASCII", { file("\xc3\xa4"), file("\xc3\x84") });
        row("in another normal form", { file("\xc3\xa4"), file("a\xcc\x88") });
        row("letters that fold to one", { file("K"), file("\xe2\x84\xaa") });
        row("a letter that folds to two",
            { file("stra\xc3\x9f"
                   "e"),
              file("STRASSE") });
        row("in another letter case and normal form", { file("\xc3\x84"), file("a\xcc\x88") });
        row("folders in another normal form", { file("\xc3\xa4/a"), file("a\xcc\x88/b") });
        row("a link twice", { ZipEntry::link("a", "b"), ZipEntry::link("a", "b") });
        row("folders in another letter case", { file("Data/a"), file("data/b") });
        row("a folder as a member and in a name", { ZipEntry::folder("Data/"), file("data/b") });
        row("a file and a folder", { file("a"), ZipEntry::folder("a/") });
        row("a folder and a file", { ZipEntry::folder("a/"), file("a") });
        row("below a file", { file("a"), file("a/b") });
        row("a file where others lie", { file("a/b"), file("a") });
        row("below a link", { ZipEntry::link("a", "b"), file("a/evil") });
        row("below a link in other case", { ZipEntry::link("a", "b"), file("A/evil") });
        row("a link where others lie", { file("a/evil"), ZipEntry::link("a", "b") });
        row("a link and a file", { ZipEntry::link("a", "b"), file("a") });
        row("with a character that HFS+ ignores",
            { file("Readme"),
              file("Read\xe2\x80\x8c"
                   "me") });
        row("with a byte order mark, which HFS+ ignores", { file("\xef\xbb\xbfReadme"), file("Readme") });
        row("one stored name and two others",
            { withUnicodeName(file("a"), "b"), withUnicodeName(file("a"), "c") });
        row("a stored name that is another one's Unicode name",
            { withUnicodeName(file("a"), "b"), withUnicodeName(file("c"), "a") });
        row("a stored name that is another one's only name", { withUnicodeName(file("a"), "b"), file("A") });
        row("a stored name below a link", { ZipEntry::link("a", "b"), withUnicodeName(file("a/c"), "d") });
    }

    void membersThatCannotStandBesideEachOtherAreRefused()
    {
        QFETCH(QByteArray, archive);
        refuses(archive, cannotBeTrusted);
    }

    void linksThatLeadOutAreRefused_data()
    {
        QTest::addColumn<QByteArray>("archive");
        const auto row
            = [](const char *name, const ZipBuilder &builder) { QTest::newRow(name) << builder.bytes(); };
        row("absolute", { ZipEntry::link("a", "/etc/passwd") });
        row("the parent", { ZipEntry::link("a", "..") });
        row("the parent of a sub-folder's parent", { ZipEntry::link("d/a", "../../x") });
        row("in and out again", { ZipEntry::link("a", "b/../../x") });
        row("through another link",
            { ZipEntry::link("deep/down/a", "../.."), ZipEntry::link("b", "deep/down/a/../x") });
        row("in a circle", { ZipEntry::link("a", "b"), ZipEntry::link("b", "a") });
        row("empty", { ZipEntry::link("a", "") });
        row("with a NUL", { ZipEntry::link("a", QByteArray("b\0/../..", 8)) });
        row("with a line feed", { ZipEntry::link("a", "b\nc") });
        row("too long", { ZipEntry::link("a", QByteArray(1025, 'b')) });
        row("packed",
            { changed(ZipEntry::link("a", "../../../../../../../../../../etc"),
                      [](ZipEntry &entry) { entry.method = ZipEntry::deflated; }) });
        row("in pieces", { linkInPieces("a", "abc", "/../../../../../etc/passwd") });
        row("where only some readers make it",
            { withUnicodeName(ZipEntry::link("a", "../b"), "deep/a"), file("b") });
        row("made by a writer on another system",
            { changed(ZipEntry::link("a", "/etc"), [](ZipEntry &entry) { entry.writersSystem = 0; }) });
        row("adding up to an endless path", linksThatAddUp());
        row("longer than any path", { ZipEntry::link("a", QByteArray(1025, 'b')) });
    }

    void linksThatLeadOutAreRefused()
    {
        QFETCH(QByteArray, archive);
        refuses(archive, QStringLiteral("the link"));
    }

    void aLinkWithAWrongChecksumIsRefused()
    {
        ZipEntry link = ZipEntry::link("a", "b");
        link.crc = 1;
        refuses(ZipBuilder { link }.bytes(), isDamaged);
    }

    void whatIsNeitherAFileNorAFolderIsRefused_data()
    {
        QTest::addColumn<quint32>("mode");
        QTest::newRow("a FIFO") << quint32(0010644);
        QTest::newRow("a character device") << quint32(0020644);
        QTest::newRow("a block device") << quint32(0060644);
        QTest::newRow("a socket") << quint32(0140644);
        QTest::newRow("an unknown type") << quint32(0170644);
        QTest::newRow("a folder without a slash") << quint32(0040755);
    }

    void whatIsNeitherAFileNorAFolderIsRefused()
    {
        QFETCH(quint32, mode);
        for (const quint8 system : std::initializer_list<quint8> { 3, 0, 19 }) { // Unix, DOS, macOS
            refuses(with([mode, system](ZipEntry &entry) {
                        entry.mode = mode;
                        entry.writersSystem = system;
                    }),
                    cannotBeTrusted);
        }
    }

    void moreLinksThanAnyArchiveNeedsAreRefused()
    {
        ZipBuilder builder;
        for (int link = 0; link < 5000; ++link)
            builder.entries.append(ZipEntry::link("l" + QByteArray::number(link), "a"));
        const TestHome home;
        const QString zip = home.write(QStringLiteral("archive.zip"), builder.bytes());
        QCOMPARE(Unpacker::run({ QStringLiteral("--check"), zip }).problems, QString());
        builder.entries.append(ZipEntry::link("another", "a"));
        refuses(builder.bytes(), QStringLiteral("The archive holds too many links."));
    }

    void aFolderWithAnotherTypeIsRefused()
    {
        ZipEntry entry = ZipEntry::folder("a/");
        entry.mode = 0100644;
        refuses(ZipBuilder { entry }.bytes(), cannotBeTrusted);
        entry.mode = 0120777;
        refuses(ZipBuilder { entry }.bytes(), cannotBeTrusted);
    }

    void aFolderWithAContentIsRefused()
    {
        ZipEntry entry = ZipEntry::folder("a/");
        entry.content = "content";
        refuses(ZipBuilder { entry }.bytes(), cannotBeTrusted);
    }

    void headersThatContradictTheDirectoryAreRefused_data()
    {
        QTest::addColumn<QByteArray>("archive");
        const auto row = [](const char *name, const std::function<void(ZipEntry &)> &change) {
            QTest::newRow(name) << with(change);
        };
        row("another name", [](ZipEntry &entry) { entry.localName = "evil"; });
        row("a name of another length", [](ZipEntry &entry) { entry.localName = "../evil"; });
        row("other flags", [](ZipEntry &entry) { entry.localFlags = 0; });
        row("another method", [](ZipEntry &entry) { entry.localMethod = ZipEntry::deflated; });
        row("another checksum", [](ZipEntry &entry) { entry.localCrc = 1; });
        row("another size", [](ZipEntry &entry) { entry.localSize = 1; });
        row("another packed size", [](ZipEntry &entry) { entry.localPackedSize = 1; });
        row("two sizes of what is not packed", [](ZipEntry &entry) { entry.size = 1; });
        row("no size in front and none behind", [](ZipEntry &entry) { entry.localSize = 0; });
        row("another name in the Unicode field in front of the data", [](ZipEntry &entry) {
            entry.localExtra = ZipBuilder::field(
                0x7075, QByteArray(1, 1) + ZipBuilder::u32(ZipBuilder::crc32(entry.name)) + "evil");
        });
        row("a Unicode field for another name", [](ZipEntry &entry) {
            entry.extra = ZipBuilder::field(0x7075, QByteArray(1, 1) + ZipBuilder::u32(1) + "evil");
            entry.localExtra = entry.extra;
        });
        row("a Unicode name that leads out", [](ZipEntry &entry) {
            entry.extra = ZipBuilder::field(
                0x7075, QByteArray(1, 1) + ZipBuilder::u32(ZipBuilder::crc32(entry.name)) + "../evil");
            entry.localExtra = entry.extra;
        });
        const auto rowFor = [](const char *name, const ZipEntry &entry) {
            QTest::newRow(name) << ZipBuilder { file("first"), entry }.bytes();
        };
        rowFor("a stored name that leads out", withUnicodeName(file("../evil.txt"), "good.txt"));
        rowFor("a stored name that is absolute", withUnicodeName(file("/evil.txt"), "good.txt"));
        rowFor("a stored name with a backslash", withUnicodeName(file("..\\evil.txt"), "good.txt"));
        rowFor("a stored name of a folder for a file", withUnicodeName(file("evil/"), "good.txt"));
        row("a file that DOS takes for a folder",
            [](ZipEntry &entry) { entry.attributes = quint32(0100644) << 16 | 0x10; });
        row("a field twice", [](ZipEntry &entry) {
            entry.extra = ZipBuilder::field(1, ZipBuilder::u64(1)) + ZipBuilder::field(1, ZipBuilder::u64(2));
        });
        row("an empty file with a checksum", [](ZipEntry &entry) {
            entry.content.clear();
            entry.crc = 1;
        });
    }

    void headersThatContradictTheDirectoryAreRefused()
    {
        QFETCH(QByteArray, archive);
        refuses(archive, cannotBeTrusted);
    }

    void hiddenBytesAndOverlapsAreRefused_data()
    {
        QTest::addColumn<QByteArray>("archive");
        const auto entry = [](const char *name, const std::function<void(ZipEntry &)> &change) {
            QTest::newRow(name) << with(change);
        };
        const auto whole = [](const char *name, const std::function<void(ZipBuilder &)> &change) {
            QTest::newRow(name) << changed(sound(), change);
        };
        entry("between two members", [](ZipEntry &e) { e.before = "hidden"; });
        entry("behind a member", [](ZipEntry &e) { e.after = "hidden"; });
        entry("behind a member, as long as sizes would be",
              [](ZipEntry &e) { e.after = QByteArray(16, 'x'); });
        entry("sizes that follow and are others", [](ZipEntry &e) {
            e.flags |= 8;
            e.after = ZipBuilder::descriptor("other content", e.content.size());
        });
        entry("sizes that should follow and do not", [](ZipEntry &e) { e.flags |= 8; });
        entry("sizes that follow with more behind them", [](ZipEntry &e) {
            e.flags |= 8;
            e.after = ZipBuilder::descriptor(e.content, e.content.size()) + "x";
        });
        entry("a member on top of the first", [](ZipEntry &e) { e.offset = 0; });
        entry("a member inside the first", [](ZipEntry &e) { e.offset = 4; });
        entry("a member that reaches into what follows", [](ZipEntry &e) {
            e.packedSize = static_cast<quint32>(e.content.size()) + 40;
            e.size = e.packedSize;
        });
        entry("a member that ends early", [](ZipEntry &e) {
            e.packedSize = 1;
            e.size = 1;
        });
        entry("a member behind the end", [](ZipEntry &e) { e.offset = 0x7fffffff; });
        whole("in front of everything", [](ZipBuilder &b) { b.entries.first().before = "#!/bin/sh\n"; });
        whole("in front of the directory", [](ZipBuilder &b) { b.beforeDirectory = "hidden"; });
        whole("behind the directory", [](ZipBuilder &b) { b.afterDirectory = "hidden"; });
        whole("behind the end", [](ZipBuilder &b) { b.afterEnd = "hidden"; });
        whole("a member that is not listed",
              [](ZipBuilder &b) { b.beforeDirectory = QByteArray("PK\3\4", 4); });
        whole("an end in the comment", [](ZipBuilder &b) { b.comment = ZipBuilder().bytes(); });
        whole("an end in the comment that does not reach the end",
              [](ZipBuilder &b) { b.comment = ZipBuilder().bytes() + "x"; });
        whole("an end in front of everything",
              [](ZipBuilder &b) { b.entries.first().before = ZipBuilder().bytes(); });
        whole("an end behind the directory", [](ZipBuilder &b) { b.afterDirectory = ZipBuilder().bytes(); });
        whole("another archive in front",
              [](ZipBuilder &b) { b.entries.first().before = ZipBuilder { file("evil") }.bytes(); });
        whole("another archive behind",
              [](ZipBuilder &b) { b.afterEnd = ZipBuilder { file("evil") }.bytes(); });
        whole("another archive in the comment",
              [](ZipBuilder &b) { b.comment = ZipBuilder { file("evil") }.bytes(); });
        whole("one member fewer than there are", [](ZipBuilder &b) { b.count = 1; });
        whole("one member more than there are", [](ZipBuilder &b) { b.count = 3; });
        whole("two counts", [](ZipBuilder &b) { b.countOnDisk = 1; });
        whole("a directory elsewhere", [](ZipBuilder &b) { b.directoryOffset = 0; });
        whole("a directory far away", [](ZipBuilder &b) { b.directoryOffset = 0x7fffffff; });
        whole("a shorter directory", [](ZipBuilder &b) { b.directorySize = 10; });
        whole("a longer directory", [](ZipBuilder &b) { b.directorySize = 0x7fffffff; });
        whole("a comment that is longer than the file", [](ZipBuilder &b) { b.commentSize = 9; });
        whole("another count in the large end", [](ZipBuilder &b) {
            b.isLarge = true;
            b.largeCount = 1;
        });
        whole("a huge count", [](ZipBuilder &b) {
            b.isLarge = true;
            b.largeCount = ~0ULL;
        });
        whole("a large end elsewhere", [](ZipBuilder &b) {
            b.isLarge = true;
            b.largePosition = 0;
        });
        whole("a large end beyond everything", [](ZipBuilder &b) {
            b.isLarge = true;
            b.largePosition = ~0ULL;
        });
        whole("a large directory beyond everything", [](ZipBuilder &b) {
            b.isLarge = true;
            b.largeDirectoryOffset = ~0ULL;
        });
        whole("ends that contradict each other", [](ZipBuilder &b) {
            b.isLarge = true;
            b.count = 1;
        });
        whole("several disks", [](ZipBuilder &b) { b.disk = 1; });
        entry("a member on another disk", [](ZipEntry &e) { e.disk = 1; });
        entry("an extra field that is cut off", [](ZipEntry &e) { e.extra = QByteArray("\1\0\xff\0", 4); });
        entry("a large size that is missing", [](ZipEntry &e) { e.size = 0xffffffff; });
    }

    void hiddenBytesAndOverlapsAreRefused()
    {
        QFETCH(QByteArray, archive);
        refuses(archive, QString());
    }

    void encryptionIsRefused_data()
    {
        QTest::addColumn<quint16>("flags");
        QTest::newRow("the old kind") << quint16(1);
        QTest::newRow("the strong kind") << quint16(1 | 1 << 6);
        QTest::newRow("an encrypted directory") << quint16(1 << 13);
    }

    void encryptionIsRefused()
    {
        QFETCH(quint16, flags);
        refuses(with([flags](ZipEntry &entry) { entry.flags = flags; }),
                QStringLiteral("The archive is encrypted: “second” cannot be read without a password."));
    }

    void unusualMethodsAreRefused_data()
    {
        QTest::addColumn<quint16>("method");
        for (const int method : { 1, 6, 9, 12, 14, 20, 93, 95, 98, 99, 65535 })
            QTest::addRow("%d", method) << static_cast<quint16>(method);
    }

    void unusualMethodsAreRefused()
    {
        QFETCH(quint16, method);
        refuses(with([method](ZipEntry &entry) { entry.method = method; }),
                QStringLiteral("The archive is packed in an unusual way: “second” cannot be unpacked."));
    }

    void unknownFlagsAreRefused()
    {
        refuses(with([](ZipEntry &entry) { entry.flags = 1 << 5; }),
                QStringLiteral("The archive is packed in an unusual way: “second” cannot be unpacked."));
    }

    void whatIsNoZipArchiveIsRefused_data()
    {
        QTest::addColumn<QByteArray>("archive");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("a letter") << QByteArray("P");
        QTest::newRow("a page") << QByteArray("<html>Not found</html>").repeated(100);
        QTest::newRow("a signature only") << QByteArray("PK\5\6", 4);
        QTest::newRow("noughts") << QByteArray(100000, '\0');
        QTest::newRow("another format") << QByteArray("\x1f\x8b\x08\0\0\0\0\0", 8).repeated(10);
    }

    void whatIsNoZipArchiveIsRefused()
    {
        QFETCH(QByteArray, archive);
        refuses(archive, QString());
    }

    void aTruncatedArchiveIsRefused()
    {
        ZipBuilder builder { file("a"), ZipEntry::folder("b/"), file("b/c") };
        builder.comment = "a comment";
        const QByteArray whole = builder.bytes();
        for (qsizetype size = 1; size < whole.size(); size += 23)
            refuses(whole.first(size), QString());
    }

    void anArchiveThatGrowsBeyondAllMeasureIsRefused()
    {
        ZipEntry bomb = ZipEntry::file("bomb", QByteArray(64 * 1024 * 1024, '\0'));
        bomb.method = ZipEntry::deflated;
        refuses(ZipBuilder { bomb }.bytes(),
                QStringLiteral("The archive cannot be trusted: it would grow beyond all measure."));
    }

    void moreThanCanBeUnpackedIsRefused()
    {
        refuses(with([](ZipEntry &entry) {
                    entry.method = ZipEntry::deflated;
                    entry.size = 0xffffffff;
                    entry.localSize = 0xffffffff;
                    entry.extra = ZipBuilder::field(1, ZipBuilder::u64(9'000'000'000));
                    entry.localExtra
                        = ZipBuilder::field(1, ZipBuilder::u64(9'000'000'000) + ZipBuilder::u64(0));
                }),
                QStringLiteral("The archive holds more than can be unpacked."));
    }

    void theLineSaysNothingThatATerminalWouldObey()
    {
        const auto problems = refuses(ZipBuilder { file("\x1b[31m\x07\nred\xff") }.bytes(), cannotBeTrusted);
        for (const QChar character : problems.trimmed())
            QVERIFY(character.isPrint());
        QCOMPARE(problems.count(QLatin1Char('\n')), 1);
    }

private:
    static ZipBuilder sound() { return { file("first"), file("second") }; }

    /// A sound archive whose second member is changed.
    static QByteArray with(const std::function<void(ZipEntry &)> &change)
    {
        ZipBuilder builder = sound();
        change(builder.entries.last());
        return builder.bytes();
    }

    /// Checks that the archive is refused with one line that contains `reason`, and that nothing was written
    /// anywhere. Returns the line.
    static QString refuses(const QByteArray &archive, const QString &reason)
    {
        const TestHome home;
        const QString zip = home.write(QStringLiteral("a/b/c/archive.zip"), archive);
        const QString folder = home.filePath(QStringLiteral("a/b/c/folder"));
        QDir().mkdir(folder);
        const Unpacker result = Unpacker::unpack(zip, folder);
        [&] {
            QCOMPARE(result.status, 1);
            QVERIFY2(result.problems.contains(reason), qPrintable(result.problems));
            QVERIFY2(result.problems.endsWith(QStringLiteral(".\n")), qPrintable(result.problems));
            QCOMPARE(result.problems.count(QLatin1Char('\n')), 1);
            QCOMPARE(result.output, QString());
        }();

        QStringList written;
        QDirIterator everything(home.path(),
                                QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                QDirIterator::Subdirectories);
        while (everything.hasNext())
            written.append(QDir(home.path()).relativeFilePath(everything.next()));
        written.sort();
        [&] {
            QCOMPARE(written,
                     QStringList({ QStringLiteral("a"), QStringLiteral("a/b"), QStringLiteral("a/b/c"),
                                   QStringLiteral("a/b/c/archive.zip"), QStringLiteral("a/b/c/folder") }));
        }();
        return result.problems;
    }
};

QTEST_GUILESS_MAIN(HostileArchivesTest)
#include "HostileArchivesTest.moc"
