#include "DeflateStream.h"
#include "Table.h"
#include "Unpacker.h"

#include <QDateTime>
#include <QScopeGuard>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const ZipEntry sound = ZipEntry::file("a", "content");

}

class UnpackProgramTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_unpacker.emplace(); }

    void aWrongCallSaysHowItIsCalled()
    {
        const Unpacked usage = problem(u"usage: vantor-unpack -x -k ARCHIVE FOLDER\n"
                                       "       vantor-unpack --check ARCHIVE [--into FOLDER]"_s);
        for (const char *call :
             { "", "-x -k a", "-x -k a b c", "-k -x a b", "-c -k a b", "-x -c a b", "--verify a", "--check",
               "--check a b", "--check a --into", "--check a --onto b" }) {
            const QStringList arguments = QString::fromLatin1(call).split(u' ', Qt::SkipEmptyParts);
            QVERIFY2(Unpacker::run(arguments) == usage, call);
        }
    }

    void anArchiveIsUnpackedWithoutAWord()
    {
        QCOMPARE(unpack({ ZipEntry::folder("game/"), ZipEntry::file("game/a", "content") }), success);
        QCOMPARE(content(u"game/a"_s), "content");
    }

    void theFolderMayExistAlready()
    {
        QDir().mkpath(folder());
        QCOMPARE(unpack({ sound }), success);
        QCOMPARE(content(u"a"_s), "content");
    }

    void whatIsNoFileIsNoArchive()
    {
        const TestHome &home = m_unpacker->home();
        const auto unpackFrom = [this, &home](const QString &name) {
            return Unpacker::run({ u"-x"_s, u"-k"_s, home.filePath(name), folder() });
        };
        QCOMPARE(mkfifo(home.bytes(u"pipe"_s).constData(), 0600), 0);
        const Unpacked noArchive = problem(u"The file is not a zip archive."_s);
        QCOMPARE(unpackFrom(u"pipe"_s), noArchive);
        QCOMPARE(unpackFrom(u"."_s), noArchive);
        QCOMPARE(unpackFrom(u"none.zip"_s),
                 problem(u"The archive could not be opened: No such file or directory."_s));
        QVERIFY(!QFileInfo::exists(folder()));
    }

    void aFolderThatCannotBeMadeIsAProblem()
    {
        m_unpacker->home().write(u"folder"_s, "a file");
        QCOMPARE(unpack({ sound }), problem(u"“%1” could not be opened: Not a directory."_s.arg(folder())));
    }

    void aFolderWithSomethingInItIsLeftAlone()
    {
        for (const char *name : { "folder/a", "folder/b/c", "folder/.hidden" }) {
            init();
            const QString file = m_unpacker->home().write(QString::fromLatin1(name), "before");
            const Unpacked refused = problem(u"“%1” is not an empty folder."_s.arg(folder()));
            QVERIFY2(unpack({ sound }) == refused, name);
            QCOMPARE(m_unpacker->home().read(file), "before");
        }
    }

    void modesAreThoseOfProgramsAndOfPlainFilesOnly()
    {
        const QList<quint32> plain { 0100644, 0100600, 0100000, 0100666 };
        const QList<quint32> programs { 0100755, 0100700, 0104755, 0102777, 0755 };
        ZipBuilder builder;
        for (const quint32 mode : plain + programs)
            builder.entries.append(
                { .name = QByteArray::number(mode, 8), .content = "content", .mode = mode });
        const mode_t before = umask(077);
        const Unpacked result = unpack(builder);
        umask(before);
        QCOMPARE(result, success);
        for (const quint32 mode : plain + programs) {
            const QString name = QString::number(mode, 8);
            const mode_t expected = plain.contains(mode) ? 0644U : 0755U;
            QVERIFY2(m_unpacker->home().mode(m_unpacker->unpacked(name)) == expected, qPrintable(name));
        }
    }

    void linksAreMade()
    {
        QCOMPARE(unpack({ ZipEntry::link("game/link", "../other/a"), ZipEntry::file("other/a", "content") }),
                 success);
        QCOMPARE(content(u"game/link"_s), "content");
        QVERIFY(QFileInfo(m_unpacker->unpacked(u"game/link"_s)).isSymLink());
    }

    /// A file of several megabytes is unpacked on one thread and written on another.
    void aFileIsWrittenAsItWasWhateverItsSize()
    {
        for (const qsizetype size : { 0, 1, 256 * 1024 - 1, 256 * 1024, 256 * 1024 + 1, 4 * 1024 * 1024 - 1,
                                      4 * 1024 * 1024, 5 * 1024 * 1024 + 1 }) {
            init();
            QByteArray bytes;
            for (unsigned line = 0; bytes.size() < size; ++line)
                bytes += QByteArray::number(line * 2654435761U) + " is a number\n";
            bytes.truncate(size);
            ZipEntry packed = ZipEntry::file("game/packed", bytes);
            packed.method = ZipEntry::deflated;
            if (size == 0)
                packed.packed = QByteArray("\3\0", 2); // which Qt would not write
            QCOMPARE(unpack({ packed, ZipEntry::file("game/stored", bytes) }), success);
            QVERIFY2(content(u"game/packed"_s) == bytes, qPrintable(QString::number(size)));
            QVERIFY2(content(u"game/stored"_s) == bytes, qPrintable(QString::number(size)));
        }
    }

    void timesAreKept()
    {
        const qint64 time = 1'500'000'000;
        const QByteArray field = ZipBuilder::field(0x5455, QByteArray(1, 1) + ZipBuilder::u32(time));
        QCOMPARE(unpack({ { .name = "game/", .mode = 0040755, .extra = field },
                          { .name = "game/a", .content = "content", .extra = field },
                          ZipEntry::link("game/link", "a") }),
                 success);
        QCOMPARE(modified(u"game/a"_s).toSecsSinceEpoch(), time);
        QCOMPARE(modified(u"game"_s).toSecsSinceEpoch(), time);
    }

    void theHeadersTimeHoldsWithoutAnotherOne()
    {
        const auto field = [](const QByteArray &content) { return ZipBuilder::field(0x5455, content); };
        const QByteArray otherTime = QByteArray(1, 2) + ZipBuilder::u32(1'500'000'000);
        QCOMPARE(unpack({ { .name = "no field", .content = "content" },
                          { .name = "another time", .content = "content", .extra = field(otherTime) },
                          { .name = "too short", .content = "content", .extra = field(QByteArray(1, 1)) } }),
                 success);
        for (const QString &name : { u"no field"_s, u"another time"_s, u"too short"_s })
            QVERIFY2(modified(name) == QDateTime(QDate(2024, 1, 1), QTime(8, 0)), qPrintable(name));
    }

    void aFileWithoutATimeHasThatOfItsUnpacking()
    {
        QCOMPARE(unpack({ { .name = "a", .content = "content", .time = 0 } }), success);
        QVERIFY(modified(u"a"_s).secsTo(QDateTime::currentDateTime()) < 60);
    }

    void aFieldThatOnlyOthersKnowDoesNotChangeTheType()
    {
        // libarchive honours this field: version 10, made by Unix, the attributes of a link.
        ZipEntry entry = sound;
        entry.localExtra = ZipBuilder::field(
            0x6c78, QByteArray("\x05\x14\x03", 3) + ZipBuilder::u32(quint64(0120777) << 16));
        QCOMPARE(unpack({ entry }), success);
        QVERIFY(!QFileInfo(m_unpacker->unpacked(u"a"_s)).isSymLink());
        QCOMPARE(content(u"a"_s), "content");
    }

    void damagedDataIsAProblem_data()
    {
        const auto row = table<ZipEntry, QString>("entry", "how");
        const QString anotherChecksum = u"has another checksum than it says"_s;
        const QString broken = u"cannot be unpacked"_s;
        row("wrong checksum", { .name = "a", .content = "content", .crc = 1 }, anotherChecksum);
        const auto packed = [&row](const char *what, const QString &how, ZipEntry entry) {
            entry.name = "a";
            entry.method = ZipEntry::deflated;
            row(what, entry, how);
        };
        const QByteArray content = QByteArray("content").repeated(1000);
        const QByteArray data = ZipBuilder::deflate(content);
        packed("wrong checksum, packed", anotherChecksum, { .content = content, .crc = 1 });
        packed("shorter than it says", u"is shorter than it says"_s, { .content = content, .size = 7001 });
        packed("longer than it says", u"is longer than it says"_s, { .content = content, .size = 6999 });
        packed("no packed data at all", broken, { .content = content, .packed = "\xff\xff\xff\xff noise" });
        packed("cut off", broken, { .content = content, .packed = data.chopped(4) });
        packed("more behind the packed data", broken, { .content = content, .packed = data + "more" });
        packed("wrong checksum behind the data", anotherChecksum,
               { .content = content,
                 .flags = 1 << 11 | 1 << 3,
                 .crc = 1,
                 .localCrc = 0,
                 .localSize = 0,
                 .localPackedSize = 0,
                 .after = QByteArray("PK\7\10", 4) + ZipBuilder::u32(1)
                     + ZipBuilder::u32(static_cast<quint64>(data.size())) + ZipBuilder::u32(7000) });

        // Without the invalid part, the length and the checksum are right.
        const auto matches = [&](const char *what, int count) {
            DeflateStream stream;
            stream.beginFixed();
            stream.literals("abc");
            for (int match = 0; match < count; ++match)
                stream.match(4);
            stream.literals("def");
            stream.endBlock();
            stream.stored("ghi", true);
            packed(what, broken, { .content = "abcdefghi", .packed = stream.bytes() });
        };
        matches("a match from before the beginning", 1);
        matches("two matches from before the beginning", 2);
    }

    void damagedDataIsAProblem()
    {
        QFETCH(ZipEntry, entry);
        QFETCH(QString, how);
        // After a sound file, which must not stay either.
        QCOMPARE(unpack({ ZipEntry::file("game/first", "sound"), entry }),
                 problem(u"The archive is damaged: “a” %1."_s.arg(how)));
        QVERIFY(m_unpacker->leftNothing());
    }

    void aCheckSaysNothingOfASoundArchiveAndWritesNothing()
    {
        QCOMPARE(m_unpacker->check({ ZipEntry::folder("game/"), ZipEntry::file("game/a", "content"),
                                     ZipEntry::link("game/b", "a") }),
                 success);
        QCOMPARE(m_unpacker->home().tree(), QStringList(u"archive.zip"_s));
    }

    void aCheckRefusesWhatUnpackingRefuses()
    {
        const ZipEntry damaged { .name = "a", .content = "content", .crc = 1 };
        for (const ZipEntry &entry :
             { ZipEntry::file("../evil", "content"), ZipEntry::link("a", "/etc"), damaged }) {
            const Unpacked checked = m_unpacker->check({ entry });
            QCOMPARE(checked, unpack({ entry }));
            QCOMPARE(checked.status, 1);
            QCOMPARE(checked.problems.count(u'\n'), 1);
        }
    }

    void namesAreUtf8WhateverTheEnvironmentSays()
    {
        const QByteArray before = qgetenv("LC_ALL");
        const auto restore
            = qScopeGuard([&before] { before.isNull() ? qunsetenv("LC_ALL") : qputenv("LC_ALL", before); });
        for (const char *locale : { "C", "xx_XX.ISO-8859-15", "C.UTF-8" }) {
            init();
            qputenv("LC_ALL", locale);
            QCOMPARE(unpack({ ZipEntry::file("Ünï/🎮", "content") }), success);
            QVERIFY2(content(u"Ünï/🎮"_s) == "content", locale);
        }
    }

    void aRequestToEndIsFollowedAtOnce_data()
    {
        const auto row = table<bool, bool>("unpacks", "wasIgnored");
        row("while it unpacks", true, false);
        row("while it checks", false, false);
        row("where requests were ignored before", true, true);
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
        m_unpacker->write(ZipBuilder { sound }.bytes());
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
