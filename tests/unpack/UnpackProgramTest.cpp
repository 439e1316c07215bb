#include "DeflateStream.h"
#include "TestHome.h"
#include "Unpacker.h"
#include "ZipBuilder.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QStandardPaths>

#include <functional>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

class UnpackProgramTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home = std::make_unique<TestHome>(); }
    void cleanup() { m_home.reset(); }

    void aWrongCallSaysHowItIsCalled_data()
    {
        QTest::addColumn<QStringList>("arguments");
        const auto row = [](const char *name, const char *arguments) {
            QTest::newRow(name) << QString::fromLatin1(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts);
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
        const Unpacker result = Unpacker::run(arguments);
        QCOMPARE(result.status, 1);
        QCOMPARE(result.problems,
                 QStringLiteral("usage: vantor-unpack -x -k ARCHIVE FOLDER\n"
                                "       vantor-unpack --check ARCHIVE\n"));
    }

    void anArchiveIsUnpackedWithoutAWord()
    {
        const Unpacker result = unpack({ ZipEntry::folder("game/"), ZipEntry::file("game/a", "content") });
        QCOMPARE(result.problems, QString());
        QCOMPARE(result.output, QString());
        QCOMPARE(result.status, 0);
        QCOMPARE(content(QStringLiteral("game/a")), QByteArray("content"));
    }

    void theFolderMayExistAlready()
    {
        QDir().mkpath(folder());
        QCOMPARE(unpack({ ZipEntry::file("a", "content") }).status, 0);
        QCOMPARE(content(QStringLiteral("a")), QByteArray("content"));
    }

    void aMissingArchiveIsAProblem()
    {
        const Unpacker result = Unpacker::unpack(m_home->filePath(QStringLiteral("none.zip")), folder());
        QCOMPARE(result.status, 1);
        QCOMPARE(result.problems,
                 QStringLiteral("The archive could not be opened: No such file or directory.\n"));
        QVERIFY(!QFileInfo::exists(folder()));
    }

    void aFolderIsNoArchive()
    {
        const Unpacker result = Unpacker::unpack(m_home->path(), folder());
        QCOMPARE(result.status, 1);
        QCOMPARE(result.problems, QStringLiteral("The file is not a zip archive.\n"));
    }

    void aFolderThatCannotBeMadeIsAProblem()
    {
        m_home->write(QStringLiteral("folder"), "a file");
        const Unpacker result = unpack({ ZipEntry::file("a", "content") });
        QCOMPARE(result.status, 1);
        QVERIFY2(result.problems.endsWith(QStringLiteral("could not be opened: Not a directory.\n")),
                 qPrintable(result.problems));
    }

    void aFolderWithSomethingInItIsLeftAlone_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("what the archive holds") << QStringLiteral("folder/a");
        QTest::newRow("something else") << QStringLiteral("folder/b/c");
        QTest::newRow("something hidden") << QStringLiteral("folder/.hidden");
    }

    void aFolderWithSomethingInItIsLeftAlone()
    {
        QFETCH(QString, name);
        m_home->write(name, "before");
        const Unpacker result = unpack({ ZipEntry::file("a", "content") });
        QCOMPARE(result.status, 1);
        QCOMPARE(result.problems, QStringLiteral("“%1” is not an empty folder.\n").arg(folder()));
        QFile file(m_home->filePath(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("before"));
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
        ZipEntry entry = ZipEntry::file("a", "content");
        entry.mode = mode;
        const mode_t before = umask(077);
        const Unpacker result = unpack({ entry });
        umask(before);
        QCOMPARE(result.status, 0);
        struct stat info = {};
        QCOMPARE(stat(qPrintable(folder() + QStringLiteral("/a")), &info), 0);
        QTEST(static_cast<int>(info.st_mode & 07777), "unpacked");
    }

    void linksAreMade()
    {
        QCOMPARE(unpack({ ZipEntry::link("game/link", "../other/a"), ZipEntry::file("other/a", "content") })
                     .status,
                 0);
        QCOMPARE(content(QStringLiteral("game/link")), QByteArray("content"));
        QVERIFY(QFileInfo(folder() + QStringLiteral("/game/link")).isSymLink());
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
        QVERIFY(content(QStringLiteral("game/packed")) == bytes);
        QVERIFY(content(QStringLiteral("game/stored")) == bytes);
    }

    void timesAreKept()
    {
        ZipEntry entry = ZipEntry::file("game/a", "content");
        const qint64 time = 1'500'000'000;
        entry.extra = ZipBuilder::field(0x5455, QByteArray(1, 1) + ZipBuilder::u32(time));
        ZipEntry gameFolder = ZipEntry::folder("game/");
        gameFolder.extra = entry.extra;
        QCOMPARE(unpack({ gameFolder, entry, ZipEntry::link("game/link", "a") }).status, 0);
        QCOMPARE(QFileInfo(folder() + QStringLiteral("/game/a")).lastModified().toSecsSinceEpoch(), time);
        QCOMPARE(QFileInfo(folder() + QStringLiteral("/game")).lastModified().toSecsSinceEpoch(), time);
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
        ZipEntry entry = ZipEntry::file("a", "content");
        entry.extra = extra;
        QCOMPARE(unpack({ entry }).status, 0);
        QCOMPARE(QFileInfo(folder() + QStringLiteral("/a")).lastModified(),
                 QDateTime(QDate(2024, 1, 1), QTime(8, 0)));
    }

    void aFileWithoutATimeHasThatOfItsUnpacking()
    {
        ZipEntry entry = ZipEntry::file("a", "content");
        entry.time = 0;
        QCOMPARE(unpack({ entry }).status, 0);
        const QDateTime modified = QFileInfo(folder() + QStringLiteral("/a")).lastModified();
        QVERIFY(modified.secsTo(QDateTime::currentDateTime()) < 60);
    }

    void aFieldThatOnlyOthersKnowDoesNotChangeTheType()
    {
        // libarchive honours this field: version 10, made by Unix, the attributes of a link.
        ZipEntry entry = ZipEntry::file("a", "content");
        entry.localExtra = ZipBuilder::field(
            0x6c78, QByteArray("\x05\x14\x03", 3) + ZipBuilder::u32(quint64(0120777) << 16));
        QCOMPARE(unpack({ entry }).status, 0);
        QVERIFY(!QFileInfo(folder() + QStringLiteral("/a")).isSymLink());
        QCOMPARE(content(QStringLiteral("a")), QByteArray("content"));
    }

    void damagedDataIsAProblem_data()
    {
        QTest::addColumn<ZipEntry>("entry");
        ZipEntry wrongChecksum = ZipEntry::file("a", "content");
        wrongChecksum.crc = 1;
        QTest::newRow("wrong checksum") << wrongChecksum;

        ZipEntry packed = ZipEntry::file("a", QByteArray("content").repeated(1000));
        packed.method = ZipEntry::deflated;
        ZipEntry packedChecksum = packed;
        packedChecksum.crc = 1;
        QTest::newRow("wrong checksum, packed") << packedChecksum;
        ZipEntry shorter = packed;
        shorter.size = 7001;
        QTest::newRow("shorter than it says") << shorter;
        ZipEntry longer = packed;
        longer.size = 6999;
        QTest::newRow("longer than it says") << longer;
        ZipEntry noise = packed;
        noise.packed = QByteArray("\xff\xff\xff\xff noise");
        QTest::newRow("no packed data at all") << noise;
        ZipEntry cut = packed;
        cut.packed = ZipBuilder::deflate(packed.content).chopped(4);
        QTest::newRow("cut off") << cut;
        ZipEntry more = packed;
        more.packed = ZipBuilder::deflate(packed.content) + "more";
        QTest::newRow("more behind the packed data") << more;

        // Without the invalid part, the length and the checksum are right.
        const auto broken = [&](const char *name, const std::function<void(DeflateStream &)> &breakIt) {
            DeflateStream stream;
            stream.beginFixed();
            stream.literals("abc");
            breakIt(stream);
            stream.literals("def");
            stream.endBlock();
            stream.stored("ghi", true);
            ZipEntry entry = ZipEntry::file("a", "abcdefghi");
            entry.method = ZipEntry::deflated;
            entry.packed = stream.bytes();
            QTest::newRow(name) << entry;
        };
        broken("a match from before the beginning", [](DeflateStream &stream) { stream.match(4); });
        broken("two matches from before the beginning", [](DeflateStream &stream) {
            stream.match(4);
            stream.match(4);
        });

        ZipEntry followed = packed;
        followed.flags |= 8;
        followed.crc = 1;
        followed.localCrc = followed.localSize = followed.localPackedSize = 0;
        const QByteArray data = ZipBuilder::deflate(packed.content);
        followed.after = QByteArray("PK\7\10", 4) + ZipBuilder::u32(1)
            + ZipBuilder::u32(static_cast<quint64>(data.size())) + ZipBuilder::u32(7000);
        QTest::newRow("wrong checksum behind the data") << followed;
    }

    void damagedDataIsAProblem()
    {
        QFETCH(ZipEntry, entry);
        // After a sound file, which must not stay either.
        const Unpacker result = unpack({ ZipEntry::file("game/first", "sound"), entry });
        QCOMPARE(result.status, 1);
        QVERIFY2(result.problems.contains(QStringLiteral("“a”")), qPrintable(result.problems));
        QCOMPARE(result.problems.count(QLatin1Char('\n')), 1);
        QVERIFY(isEmpty(folder()));
    }

    void aCheckSaysNothingOfASoundArchiveAndWritesNothing()
    {
        const Unpacker result = check({ ZipEntry::folder("game/"), ZipEntry::file("game/a", "content"),
                                        ZipEntry::link("game/b", "a") });
        QCOMPARE(result.problems, QString());
        QCOMPARE(result.output, QString());
        QCOMPARE(result.status, 0);
        QCOMPARE(QDir(m_home->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList(QStringLiteral("archive.zip")));
    }

    void aCheckRefusesWhatUnpackingRefuses_data()
    {
        QTest::addColumn<ZipEntry>("entry");
        QTest::newRow("a name") << ZipEntry::file("../evil", "content");
        QTest::newRow("a link") << ZipEntry::link("a", "/etc");
        ZipEntry damaged = ZipEntry::file("a", "content");
        damaged.crc = 1;
        QTest::newRow("data") << damaged;
    }

    void aCheckRefusesWhatUnpackingRefuses()
    {
        QFETCH(ZipEntry, entry);
        const Unpacker checked = check({ entry });
        const Unpacker unpacked = unpack({ entry });
        QCOMPARE(checked.status, 1);
        QCOMPARE(checked.problems, unpacked.problems);
        QCOMPARE(checked.problems.count(QLatin1Char('\n')), 1);
    }

    void aPipeIsNoArchive()
    {
        const QString pipe = m_home->filePath(QStringLiteral("pipe"));
        QCOMPARE(mkfifo(qPrintable(pipe), 0600), 0);
        const Unpacker result = Unpacker::unpack(pipe, folder());
        QCOMPARE(result.status, 1);
        QCOMPARE(result.problems, QStringLiteral("The file is not a zip archive.\n"));
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
        const Unpacker result = unpack({ ZipEntry::file("\xc3\x9cn\xc3\xaf/\xf0\x9f\x8e\xae", "content") });
        before.isNull() ? qunsetenv("LC_ALL") : qputenv("LC_ALL", before);
        QCOMPARE(result.problems, QString());
        QCOMPARE(content(QStringLiteral("Ünï/🎮")), QByteArray("content"));
    }

    void aRequestToEndIsFollowedAtOnce()
    {
        QProcess process;
        startOnALargeArchive(process);
        QTRY_VERIFY(QFileInfo::exists(folder() + QStringLiteral("/large")));
        process.terminate();
        QVERIFY(process.waitForFinished(5000));
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);
        QCOMPARE(process.exitCode(), SIGTERM);
    }

    void aRequestToEndIsFollowedDuringTheCheckToo()
    {
        writeLargeArchive();
        QProcess process;
        process.start(Unpacker::program(), { QStringLiteral("--check"), archive() });
        QTRY_VERIFY(hasOpen(process.processId(), archive()));
        process.terminate();
        QVERIFY(process.waitForFinished(5000));
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);
        QCOMPARE(process.exitCode(), SIGTERM);
    }

    void aRequestToEndIsFollowedEvenWhereItWasIgnoredBefore()
    {
        signal(SIGTERM, SIG_IGN);
        QProcess process;
        startOnALargeArchive(process);
        signal(SIGTERM, SIG_DFL);
        QTRY_VERIFY(QFileInfo::exists(folder() + QStringLiteral("/large")));
        process.terminate();
        QVERIFY(process.waitForFinished(5000));
        QCOMPARE(process.exitCode(), SIGTERM);
    }

    void theUnpackerEndsWithTheProgramThatStartedIt()
    {
        // A shell starts it, prints its process id and is killed.
        writeLargeArchive();
        QProcess shell;
        shell.start(QStringLiteral("/bin/sh"),
                    { QStringLiteral("-c"), QStringLiteral("\"$1\" -x -k \"$2\" \"$3\" & echo $!; wait"),
                      QStringLiteral("sh"), Unpacker::program(), archive(), folder() });
        QVERIFY(shell.waitForReadyRead());
        const auto unpacker = static_cast<pid_t>(shell.readLine().trimmed().toInt());
        QTRY_VERIFY(QFileInfo::exists(folder() + QStringLiteral("/large")));
        QCOMPARE(kill(unpacker, 0), 0);
        shell.kill();
        QVERIFY(shell.waitForFinished());
        QTRY_VERIFY2_WITH_TIMEOUT(isGone(unpacker), "The unpacker outlived the program that started it.",
                                  2000);
        const qint64 written = QFileInfo(folder() + QStringLiteral("/large")).size();
        QVERIFY2(written < largeSize, "It was not stopped but had finished.");
    }

    void nothingIsUnpackedForAProgramThatEndedBeforeTheUnpackerBegan()
    {
        // All that is left of that program is a pipe without a reader.
        m_home->write(QStringLiteral("archive.zip"), ZipBuilder { ZipEntry::file("a", "content") }.bytes());
        int output[2] = {};
        QCOMPARE(::pipe(output), 0);
        for (const int end : output)
            QCOMPARE(::fcntl(end, F_SETFD, FD_CLOEXEC), 0);
        ::close(output[0]);
        QProcess process;
        process.setChildProcessModifier([&output] { ::dup2(output[1], STDOUT_FILENO); });
        process.start(Unpacker::program(),
                      { QStringLiteral("-x"), QStringLiteral("-k"), archive(), folder() });
        ::close(output[1]);
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 1);
        QVERIFY(!QFileInfo::exists(folder()));
    }

private:
    static constexpr qint64 largeSize = 1000LL * 1024 * 1024;
    static constexpr quint32 largeChecksum = 0x64e9d068; // CRC-32 of that many zero bytes

    static bool isEmpty(const QString &folder)
    {
        return QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    static bool isGone(pid_t process)
    {
        // Its new parent may not have reaped it yet.
        QFile status(QStringLiteral("/proc/%1/stat").arg(process));
        return !status.open(QIODevice::ReadOnly) || status.readAll().contains(") Z ");
    }

    static bool hasOpen(qint64 process, const QString &path)
    {
        const QDir open(QStringLiteral("/proc/%1/fd").arg(process));
        const QFileInfoList files = open.entryInfoList(QDir::AllEntries | QDir::System);
        return std::any_of(files.begin(), files.end(),
                           [&path](const QFileInfo &file) { return file.symLinkTarget() == path; });
    }

    QString archive() const { return m_home->filePath(QStringLiteral("archive.zip")); }
    QString folder() const { return m_home->filePath(QStringLiteral("folder")); }

    Unpacker unpack(const ZipBuilder &builder) const
    {
        m_home->write(QStringLiteral("archive.zip"), builder.bytes());
        return Unpacker::unpack(archive(), folder());
    }

    Unpacker check(const ZipBuilder &builder) const
    {
        m_home->write(QStringLiteral("archive.zip"), builder.bytes());
        return Unpacker::run({ QStringLiteral("--check"), archive() });
    }

    QByteArray content(const QString &name) const
    {
        QFile file(folder() + QLatin1Char('/') + name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// A sparse archive of one file: it takes a second to unpack, but next to no space on the disk.
    void writeLargeArchive() const
    {
        ZipEntry entry = ZipEntry::file("large", QByteArray());
        entry.packed = QByteArray();
        entry.size = entry.packedSize = static_cast<quint32>(largeSize);
        entry.crc = largeChecksum;
        const QByteArray frame = ZipBuilder { entry }.bytes();
        const qsizetype head = 30 + 5;
        QFile file(archive());
        if (!file.open(QIODevice::WriteOnly) || file.write(frame.first(head)) != head
            || !file.resize(head + largeSize) || !file.seek(head + largeSize))
            qFatal("The large archive could not be written.");
        QByteArray tail = frame.mid(head);
        tail.replace(tail.size() - 6, 4, ZipBuilder::u32(static_cast<quint64>(head + largeSize)));
        file.write(tail);
    }

    void startOnALargeArchive(QProcess &process) const
    {
        writeLargeArchive();
        process.start(Unpacker::program(),
                      { QStringLiteral("-x"), QStringLiteral("-k"), archive(), folder() });
        if (!process.waitForStarted())
            qFatal("The unpack program did not start.");
    }

    std::unique_ptr<TestHome> m_home;
};

QTEST_GUILESS_MAIN(UnpackProgramTest)
#include "UnpackProgramTest.moc"
