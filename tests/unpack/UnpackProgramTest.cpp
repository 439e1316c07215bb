#include "DeflateStream.h"
#include "Unpacker.h"

#include <QDateTime>

#include <functional>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class UnpackProgramTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_unpacker.emplace(); }
    void cleanup() { m_unpacker.reset(); }

    void aWrongCallSaysHowItIsCalled_data()
    {
        QTest::addColumn<QStringList>("arguments");
        const auto row = [](const char *name, const char *arguments) {
            QTest::newRow(name) << QString::fromLatin1(arguments).split(u' ', Qt::SkipEmptyParts);
        };
        row("nothing", "");
        row("too few", "-x -k a");
        row("too many", "-x -k a b c");
        row("another order", "-k -x a b");
        row("another option", "-c -k a b");
        row("another second option", "-x -c a b");
        row("another word for a check", "--verify a");
        row("a check of nothing", "--check");
        row("a check with a folder", "--check a b");
    }

    void aWrongCallSaysHowItIsCalled()
    {
        QFETCH(QStringList, arguments);
        const Unpacked result = Unpacker::run(arguments);
        QCOMPARE(result.status, 1);
        QCOMPARE(result.problems,
                 QStringLiteral("usage: vantor-unpack -x -k ARCHIVE FOLDER\n"
                                "       vantor-unpack --check ARCHIVE [--into FOLDER]\n"));
    }

    void anArchiveIsUnpackedWithoutAWord()
    {
        const Unpacked result = unpack({ ZipEntry::folder("game/"), ZipEntry::file("game/a", "content") });
        QCOMPARE(result.problems, QString());
        QCOMPARE(result.output, QString());
        QCOMPARE(result.status, 0);
        QCOMPARE(content(u"game/a"_s), QByteArray("content"));
    }

    void theFolderMayExistAlready()
    {
        QDir().mkpath(folder());
        QCOMPARE(unpack({ ZipEntry::file("a", "content") }).status, 0);
        QCOMPARE(content(u"a"_s), QByteArray("content"));
    }

    void whatIsNoFileIsNoArchive_data()
    {
        QTest::addColumn<QString>("archive");
        QTest::addColumn<QString>("problem");
        QTest::newRow("nothing") << u"none.zip"_s
                                 << u"The archive could not be opened: No such file or directory.\n"_s;
        QTest::newRow("a folder") << u"."_s << u"The file is not a zip archive.\n"_s;
        QTest::newRow("a pipe") << u"pipe"_s << u"The file is not a zip archive.\n"_s;
    }

    void whatIsNoFileIsNoArchive()
    {
        QFETCH(QString, archive);
        const TestHome &home = m_unpacker->home();
        QCOMPARE(mkfifo(qPrintable(home.filePath(u"pipe"_s)), 0600), 0);
        const Unpacked result = Unpacker::run({ u"-x"_s, u"-k"_s, home.filePath(archive), folder() });
        QCOMPARE(result.status, 1);
        QTEST(result.problems, "problem");
        QVERIFY(!QFileInfo::exists(folder()));
    }

    void aFolderThatCannotBeMadeIsAProblem()
    {
        m_unpacker->home().write(u"folder"_s, "a file");
        const Unpacked result = unpack({ ZipEntry::file("a", "content") });
        QCOMPARE(result.status, 1);
        QVERIFY2(result.problems.endsWith(u"could not be opened: Not a directory.\n"_s),
                 qPrintable(result.problems));
    }

    void aFolderWithSomethingInItIsLeftAlone_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("what the archive holds") << u"folder/a"_s;
        QTest::newRow("something else") << u"folder/b/c"_s;
        QTest::newRow("something hidden") << u"folder/.hidden"_s;
    }

    void aFolderWithSomethingInItIsLeftAlone()
    {
        QFETCH(QString, name);
        const QString file = m_unpacker->home().write(name, "before");
        const Unpacked result = unpack({ ZipEntry::file("a", "content") });
        QCOMPARE(result.status, 1);
        QCOMPARE(result.problems, u"“%1” is not an empty folder.\n"_s.arg(folder()));
        QCOMPARE(Unpacker::contentOf(file), QByteArray("before"));
    }

    void modesAreThoseOfProgramsAndOfPlainFilesOnly_data()
    {
        QTest::addColumn<quint32>("mode");
        QTest::addColumn<int>("unpacked");
        QTest::newRow("0644") << quint32(0100644) << 0644;
        QTest::newRow("0600") << quint32(0100600) << 0644;
        QTest::newRow("0000") << quint32(0100000) << 0644;
        QTest::newRow("0666") << quint32(0100666) << 0644;
        QTest::newRow("0755") << quint32(0100755) << 0755;
        QTest::newRow("0700") << quint32(0100700) << 0755;
        QTest::newRow("set user id") << quint32(0104755) << 0755;
        QTest::newRow("set group id") << quint32(0102777) << 0755;
        QTest::newRow("no type") << quint32(0755) << 0755;
    }

    void modesAreThoseOfProgramsAndOfPlainFilesOnly()
    {
        QFETCH(quint32, mode);
        const mode_t before = umask(077);
        const Unpacked result = unpack({ { .name = "a", .content = "content", .mode = mode } });
        umask(before);
        QCOMPARE(result.status, 0);
        struct stat info = {};
        QCOMPARE(stat(qPrintable(m_unpacker->unpacked(u"a"_s)), &info), 0);
        QTEST(static_cast<int>(info.st_mode & 07777), "unpacked");
    }

    void linksAreMade()
    {
        QCOMPARE(unpack({ ZipEntry::link("game/link", "../other/a"), ZipEntry::file("other/a", "content") })
                     .status,
                 0);
        QCOMPARE(content(u"game/link"_s), QByteArray("content"));
        QVERIFY(QFileInfo(m_unpacker->unpacked(u"game/link"_s)).isSymLink());
    }

    void aFileIsWrittenAsItWasWhateverItsSize_data()
    {
        QTest::addColumn<qsizetype>("size");
        for (const qsizetype size : { 0, 1, 256 * 1024 - 1, 256 * 1024, 256 * 1024 + 1, 4 * 1024 * 1024 - 1,
                                      4 * 1024 * 1024, 5 * 1024 * 1024 + 1 })
            QTest::addRow("%lld bytes", static_cast<long long>(size)) << size;
    }

    /// A file of several megabytes is unpacked on one thread and written on another.
    void aFileIsWrittenAsItWasWhateverItsSize()
    {
        QFETCH(qsizetype, size);
        QByteArray bytes;
        for (unsigned line = 0; bytes.size() < size; ++line)
            bytes += QByteArray::number(line * 2654435761U) + " is a number\n";
        bytes.truncate(size);
        ZipEntry packed = ZipEntry::file("game/packed", bytes);
        packed.method = ZipEntry::deflated;
        if (size == 0)
            packed.packed = QByteArray("\3\0", 2); // which Qt would not write
        QCOMPARE(unpack({ packed, ZipEntry::file("game/stored", bytes) }).status, 0);
        QVERIFY(content(u"game/packed"_s) == bytes);
        QVERIFY(content(u"game/stored"_s) == bytes);
    }

    void timesAreKept()
    {
        const qint64 time = 1'500'000'000;
        const QByteArray field = ZipBuilder::field(0x5455, QByteArray(1, 1) + ZipBuilder::u32(time));
        QCOMPARE(unpack({ { .name = "game/", .mode = 0040755, .extra = field },
                          { .name = "game/a", .content = "content", .extra = field },
                          ZipEntry::link("game/link", "a") })
                     .status,
                 0);
        QCOMPARE(modified(u"game/a"_s).toSecsSinceEpoch(), time);
        QCOMPARE(modified(u"game"_s).toSecsSinceEpoch(), time);
    }

    void theHeadersTimeHoldsWithoutAnotherOne_data()
    {
        QTest::addColumn<QByteArray>("extra");
        QTest::newRow("no field") << QByteArray();
        QTest::newRow("a field that holds another time")
            << ZipBuilder::field(0x5455, QByteArray(1, 2) + ZipBuilder::u32(1'500'000'000));
        QTest::newRow("a field that is too short") << ZipBuilder::field(0x5455, QByteArray(1, 1));
    }

    void theHeadersTimeHoldsWithoutAnotherOne()
    {
        QFETCH(QByteArray, extra);
        QCOMPARE(unpack({ { .name = "a", .content = "content", .extra = extra } }).status, 0);
        QCOMPARE(modified(u"a"_s), QDateTime(QDate(2024, 1, 1), QTime(8, 0)));
    }

    void aFileWithoutATimeHasThatOfItsUnpacking()
    {
        QCOMPARE(unpack({ { .name = "a", .content = "content", .time = 0 } }).status, 0);
        QVERIFY(modified(u"a"_s).secsTo(QDateTime::currentDateTime()) < 60);
    }

    void aFieldThatOnlyOthersKnowDoesNotChangeTheType()
    {
        // libarchive honours this field: version 10, made by Unix, the attributes of a link.
        ZipEntry entry = ZipEntry::file("a", "content");
        entry.localExtra = ZipBuilder::field(
            0x6c78, QByteArray("\x05\x14\x03", 3) + ZipBuilder::u32(quint64(0120777) << 16));
        QCOMPARE(unpack({ entry }).status, 0);
        QVERIFY(!QFileInfo(m_unpacker->unpacked(u"a"_s)).isSymLink());
        QCOMPARE(content(u"a"_s), QByteArray("content"));
    }

    void damagedDataIsAProblem_data()
    {
        QTest::addColumn<ZipEntry>("entry");
        QTest::addColumn<QString>("how");
        const QString anotherChecksum = u"has another checksum than it says"_s;
        const QString broken = u"cannot be unpacked"_s;
        QTest::newRow("wrong checksum")
            << ZipEntry { .name = "a", .content = "content", .crc = 1 } << anotherChecksum;
        const QByteArray content = QByteArray("content").repeated(1000);
        const QByteArray data = ZipBuilder::deflate(content);
        const auto packed
            = [&](const char *what, const QString &how, const std::function<void(ZipEntry &)> &change) {
                  ZipEntry entry { .name = "a", .content = content, .method = ZipEntry::deflated };
                  change(entry);
                  QTest::newRow(what) << entry << how;
              };
        packed("wrong checksum, packed", anotherChecksum, [](ZipEntry &entry) { entry.crc = 1; });
        packed("shorter than it says", u"is shorter than it says"_s,
               [](ZipEntry &entry) { entry.size = 7001; });
        packed("longer than it says", u"is longer than it says"_s,
               [](ZipEntry &entry) { entry.size = 6999; });
        packed("no packed data at all", broken,
               [](ZipEntry &entry) { entry.packed = "\xff\xff\xff\xff noise"; });
        packed("cut off", broken, [&data](ZipEntry &entry) { entry.packed = data.chopped(4); });
        packed("more behind the packed data", broken,
               [&data](ZipEntry &entry) { entry.packed = data + "more"; });
        packed("wrong checksum behind the data", anotherChecksum, [&data](ZipEntry &entry) {
            entry.flags |= 8;
            entry.crc = 1;
            entry.localCrc = entry.localSize = entry.localPackedSize = 0;
            entry.after = QByteArray("PK\7\10", 4) + ZipBuilder::u32(1)
                + ZipBuilder::u32(static_cast<quint64>(data.size())) + ZipBuilder::u32(7000);
        });

        // Without the invalid part, the length and the checksum are right.
        for (const int matches : { 1, 2 }) {
            DeflateStream stream;
            stream.beginFixed();
            stream.literals("abc");
            for (int match = 0; match < matches; ++match)
                stream.match(4);
            stream.literals("def");
            stream.endBlock();
            stream.stored("ghi", true);
            const ZipEntry entry {
                .name = "a", .content = "abcdefghi", .method = ZipEntry::deflated, .packed = stream.bytes()
            };
            QTest::addRow("%d matches from before the beginning", matches) << entry << broken;
        }
    }

    void damagedDataIsAProblem()
    {
        QFETCH(ZipEntry, entry);
        QFETCH(QString, how);
        // After a sound file, which must not stay either.
        const Unpacked result = unpack({ ZipEntry::file("game/first", "sound"), entry });
        QCOMPARE(result.status, 1);
        QCOMPARE(result.problems, u"The archive is damaged: “a” %1.\n"_s.arg(how));
        QVERIFY(m_unpacker->leftNothing());
    }

    void aCheckSaysNothingOfASoundArchiveAndWritesNothing()
    {
        const Unpacked result
            = m_unpacker->check({ ZipEntry::folder("game/"), ZipEntry::file("game/a", "content"),
                                  ZipEntry::link("game/b", "a") });
        QCOMPARE(result.problems, QString());
        QCOMPARE(result.output, QString());
        QCOMPARE(result.status, 0);
        QCOMPARE(m_unpacker->everything(), QStringList(u"archive.zip"_s));
    }

    void aCheckRefusesWhatUnpackingRefuses_data()
    {
        QTest::addColumn<ZipEntry>("entry");
        QTest::newRow("a name") << ZipEntry::file("../evil", "content");
        QTest::newRow("a link") << ZipEntry::link("a", "/etc");
        QTest::newRow("data") << ZipEntry { .name = "a", .content = "content", .crc = 1 };
    }

    void aCheckRefusesWhatUnpackingRefuses()
    {
        QFETCH(ZipEntry, entry);
        const Unpacked checked = m_unpacker->check({ entry });
        const Unpacked unpacked = unpack({ entry });
        QCOMPARE(checked.status, 1);
        QCOMPARE(checked.problems, unpacked.problems);
        QCOMPARE(checked.problems.count(u'\n'), 1);
    }

    void namesAreUtf8WhateverTheEnvironmentSays_data()
    {
        QTest::addColumn<QByteArray>("locale");
        QTest::newRow("C") << QByteArray("C");
        QTest::newRow("unknown") << QByteArray("xx_XX.ISO-8859-15");
        QTest::newRow("UTF-8") << QByteArray("C.UTF-8");
    }

    void namesAreUtf8WhateverTheEnvironmentSays()
    {
        QFETCH(QByteArray, locale);
        const QByteArray before = qgetenv("LC_ALL");
        qputenv("LC_ALL", locale);
        const Unpacked result = unpack({ ZipEntry::file("\xc3\x9cn\xc3\xaf/\xf0\x9f\x8e\xae", "content") });
        before.isNull() ? qunsetenv("LC_ALL") : qputenv("LC_ALL", before);
        QCOMPARE(result.problems, QString());
        QCOMPARE(content(u"Ünï/🎮"_s), QByteArray("content"));
    }

    void aRequestToEndIsFollowedAtOnce_data()
    {
        QTest::addColumn<bool>("unpacks");
        QTest::addColumn<bool>("wasIgnored");
        QTest::newRow("while it unpacks") << true << false;
        QTest::newRow("while it checks") << false << false;
        QTest::newRow("where requests were ignored before") << true << true;
    }

    void aRequestToEndIsFollowedAtOnce()
    {
        QFETCH(bool, unpacks);
        QFETCH(bool, wasIgnored);
        writeLargeArchive();
        QProcess process;
        signal(SIGTERM, wasIgnored ? SIG_IGN : SIG_DFL);
        process.start(Unpacker::program(), unpacks ? m_unpacker->unpacking() : m_unpacker->checking());
        const bool hasStarted = process.waitForStarted();
        signal(SIGTERM, SIG_DFL);
        QVERIFY(hasStarted);
        if (unpacks)
            QTRY_VERIFY(QFileInfo::exists(large()));
        else
            QTRY_VERIFY(hasOpen(process.processId(), m_unpacker->archive()));
        process.terminate();
        QVERIFY(process.waitForFinished(5000));
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);
        QCOMPARE(process.exitCode(), SIGTERM);
    }

    void theUnpackerEndsWithTheProgramThatStartedIt()
    {
        // A shell starts it, prints its process id and is killed.
        writeLargeArchive();
        QProcess shell;
        shell.start(u"/bin/sh"_s,
                    { u"-c"_s, u"\"$1\" -x -k \"$2\" \"$3\" & echo $!; wait"_s, u"sh"_s, Unpacker::program(),
                      m_unpacker->archive(), folder() });
        QVERIFY(shell.waitForReadyRead());
        const auto unpacker = static_cast<pid_t>(shell.readLine().trimmed().toInt());
        QTRY_VERIFY(QFileInfo::exists(large()));
        QCOMPARE(kill(unpacker, 0), 0);
        shell.kill();
        QVERIFY(shell.waitForFinished());
        QTRY_VERIFY2_WITH_TIMEOUT(isGone(unpacker), "The unpacker outlived the program that started it.",
                                  2000);
        const qint64 written = QFileInfo(large()).size();
        QVERIFY2(written < largeSize, "It was not stopped but had finished.");
    }

    void nothingIsUnpackedForAProgramThatEndedBeforeTheUnpackerBegan()
    {
        // All that is left of that program is a pipe without a reader.
        m_unpacker->write(ZipBuilder { ZipEntry::file("a", "content") }.bytes());
        int output[2] = {};
        QCOMPARE(::pipe(output), 0);
        for (const int end : output)
            QCOMPARE(::fcntl(end, F_SETFD, FD_CLOEXEC), 0);
        ::close(output[0]);
        QProcess process;
        process.setChildProcessModifier([&output] { ::dup2(output[1], STDOUT_FILENO); });
        process.start(Unpacker::program(), m_unpacker->unpacking());
        ::close(output[1]);
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 1);
        QVERIFY(!QFileInfo::exists(folder()));
    }

private:
    static constexpr qint64 largeSize = 1000LL * 1024 * 1024;

    static bool isGone(pid_t process)
    {
        // Its new parent may not have reaped it yet.
        QFile status(u"/proc/%1/stat"_s.arg(process));
        return !status.open(QIODevice::ReadOnly) || status.readAll().contains(") Z ");
    }

    static bool hasOpen(qint64 process, const QString &path)
    {
        const QDir open(u"/proc/%1/fd"_s.arg(process));
        const QFileInfoList files = open.entryInfoList(QDir::AllEntries | QDir::System);
        return std::any_of(files.begin(), files.end(),
                           [&path](const QFileInfo &file) { return file.symLinkTarget() == path; });
    }

    QString folder() const { return m_unpacker->folder(); }
    QString large() const { return m_unpacker->unpacked(u"large"_s); }
    Unpacked unpack(const ZipBuilder &builder) const { return m_unpacker->unpack(builder); }
    QByteArray content(const QString &name) const { return m_unpacker->content(name); }
    QDateTime modified(const QString &name) const
    {
        return QFileInfo(m_unpacker->unpacked(name)).lastModified();
    }

    /// A sparse archive of one file of zero bytes: it takes a second to unpack, but next to no space on the
    /// disk.
    void writeLargeArchive() const
    {
        const auto size = static_cast<quint32>(largeSize);
        const ZipEntry entry { .name = "large", .crc = 0x64e9d068, .size = size, .packedSize = size };
        const QByteArray frame = ZipBuilder { entry }.bytes();
        const qsizetype head = 30 + 5;
        QFile file(m_unpacker->archive());
        if (!file.open(QIODevice::WriteOnly) || file.write(frame.first(head)) != head
            || !file.resize(head + largeSize) || !file.seek(head + largeSize))
            qFatal("The large archive could not be written.");
        QByteArray tail = frame.mid(head);
        tail.replace(tail.size() - 6, 4, ZipBuilder::u32(static_cast<quint64>(head + largeSize)));
        file.write(tail);
    }

    std::optional<Unpacker> m_unpacker;
};

QTEST_GUILESS_MAIN(UnpackProgramTest)
#include "UnpackProgramTest.moc"
