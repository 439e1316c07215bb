#include "ArchiveCheck.h"
#include "DeflateStream.h"
#include "Strain.h"
#include "TestHome.h"
#include "Unpacker.h"
#include "ZipBuilder.h"

#ifdef __linux__
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#endif
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

namespace {

constexpr qint64 megabyte = 1024 * 1024;

/// How a run of the unpack program ended, and what resources it used.
struct Run {
    int status = 0; // as wait4() returns it
    QString problems;
    double processorSeconds = 0;
    qint64 peakMemory = 0; // bytes; 0 where the system does not say
};

/// Peak memory of the process since its execve(), in bytes; 0 if unknown. The peak that wait4() reports also
/// covers the time before: as much as the test itself uses.
qint64 peakMemoryOf(pid_t process)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    const QByteArray name = "VmHWM:";
    return text.mid(text.indexOf(name) + name.size()).trimmed().split(' ').first().toLongLong() * 1024;
}

/// Runs the program with its standard error going to `file`; calls `prepare` in the child before execve().
Run run(
    const QStringList &arguments, const QString &file, const std::function<void()> &prepare = [] {})
{
    QList<QByteArray> words { Unpacker::program().toLocal8Bit() };
    for (const QString &argument : arguments)
        words.append(argument.toLocal8Bit());
    std::vector<char *> pointers;
    for (QByteArray &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const QByteArray path = file.toLocal8Bit();

    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), STDERR_FILENO);
#ifdef __linux__
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
#endif
        // Whatever runs the tests may have left descriptors open; they count towards the limit on open files.
        for (int inherited = STDERR_FILENO + 1; inherited < 1024; ++inherited)
            ::close(inherited);
        prepare();
        ::execv(pointers[0], pointers.data());
        ::_exit(127);
    }
    Run result;
#ifdef __linux__
    // The child stops after its execve(), and again just before it exits.
    ::waitpid(child, &result.status, 0);
    ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACEEXIT);
    ::ptrace(PTRACE_CONT, child, nullptr, nullptr);
    // In between it stops for every signal, even one that it ignores.
    while (::waitpid(child, &result.status, 0) == child && WIFSTOPPED(result.status)
           && result.status >> 8 != (SIGTRAP | PTRACE_EVENT_EXIT << 8))
        ::ptrace(PTRACE_CONT, child, nullptr, WSTOPSIG(result.status));
    result.peakMemory = peakMemoryOf(child);
    ::ptrace(PTRACE_CONT, child, nullptr, nullptr);
#endif
    rusage usage = {};
    ::wait4(child, &result.status, 0, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    result.processorSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    QFile problems(file);
    if (!problems.open(QIODevice::ReadOnly))
        qFatal("What the program printed cannot be read.");
    result.problems = QString::fromUtf8(problems.readAll());
    return result;
}

#ifdef __linux__
/// From here on, write() returns 0 in this process, except on the standard streams.
void letWritesTakeNothing()
{
    const auto jump = [](unsigned code, unsigned value, unsigned char whenTrue, unsigned char whenFalse) {
        return sock_filter { static_cast<unsigned short>(code), whenTrue, whenFalse, value };
    };
    sock_filter rules[] = {
        jump(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr), 0, 0),
        jump(BPF_JMP | BPF_JEQ | BPF_K, __NR_write, 0, 3),
        jump(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0]), 0, 0),
        jump(BPF_JMP | BPF_JGT | BPF_K, STDERR_FILENO, 0, 1),
        jump(BPF_RET | BPF_K, SECCOMP_RET_ERRNO, 0, 0), // without an error: zero
        jump(BPF_RET | BPF_K, SECCOMP_RET_ALLOW, 0, 0),
    };
    const sock_fprog program { static_cast<unsigned short>(std::size(rules)), rules };
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0
        || ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        ::_exit(126);
}
#endif

void letFilesGrowTo(qint64 bytes)
{
    const rlimit limit { static_cast<rlim_t>(bytes), static_cast<rlim_t>(bytes) };
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

ZipEntry packed(const QByteArray &name, const QByteArray &content, const QByteArray &stream)
{
    ZipEntry entry = ZipEntry::file(name, content);
    entry.method = ZipEntry::deflated;
    entry.packed = stream;
    return entry;
}

QByteArray blocks(int count, const std::function<void(DeflateStream &, bool isLast)> &add)
{
    DeflateStream stream;
    for (int block = 1; block <= count; ++block)
        add(stream, block == count);
    return stream.bytes();
}

/// An archive of about a megabyte that unpacks to 150 MB, not far below what its size allows.
ZipBuilder growing()
{
    static const ZipBuilder builder = [] {
        const QByteArray noughts(150 * megabyte, '\0');
        ZipEntry entry = packed("a", {}, ZipBuilder::deflate(noughts));
        entry.size = static_cast<quint32>(noughts.size());
        entry.crc = ZipBuilder::crc32(noughts);
        return ZipBuilder { entry, ZipEntry::file("b", QByteArray(megabyte * 3 / 4, 'x')) };
    }();
    return builder;
}

using Make = std::function<ZipBuilder()>;

/// Archives of `count` members, each made by `make` from its number.
Make numbered(int count, const std::function<ZipEntry(const QByteArray &number)> &make)
{
    return [count, make] {
        ZipBuilder builder;
        for (int index = 0; index < count; ++index)
            builder.entries.append(make(QByteArray::number(index)));
        return builder;
    };
}

/// A chain of links, each target starting with the link before it, and many that start with the last one.
ZipBuilder linksAlongLongWays()
{
    ZipBuilder links;
    QByteArray target = QByteArray("a/").repeated(12) + "a";
    const auto add = [&](const QByteArray &name) { links.entries.append(ZipEntry::link(name, target)); };
    for (int link = 0; link < 38; ++link) {
        const QByteArray name = "l" + QByteArray::number(link);
        add(name);
        target = name + QByteArray("/./").repeated(320) + "/a/a/a";
    }
    for (int link = 0; link < 900; ++link)
        add("z" + QByteArray::number(link));
    return links;
}

}

/// What an archive may cost, and what happens when the system refuses more.
class UnpackLimitsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home = std::make_unique<TestHome>(); }
    void cleanup() { m_home.reset(); }

    void memoryGrowsWithTheNumberOfMembersOnly_data()
    {
        QTest::addColumn<Make>("make");
        const auto row = [](const char *name, const Make &make) { QTest::newRow(name) << make; };
        row("one", [] { return ZipBuilder { ZipEntry::file("a", "content") }; });
        row("as many as there may be",
            numbered(199'000, [](const QByteArray &number) { return ZipEntry::file(number, "x"); }));
        row("with long names", numbered(50'000, [](const QByteArray &number) {
                return ZipEntry::file(QByteArray("abcdefghi/").repeated(99) + number, "x");
            }));
        row("with names that are too long", numbered(2'000, [](const QByteArray &number) {
                return ZipEntry::file(QByteArray(65'000, 'a') + number, "x");
            }));
        row("of folders in folders", numbered(380, [](const QByteArray &number) {
                return ZipEntry::file(number + QByteArray("/a").repeated(509), "x");
            }));
        row("of links with long targets", numbered(5'000, [](const QByteArray &number) {
                return ZipEntry::link(number, QByteArray("abcdefg/").repeated(128));
            }));
        row("with two names each", numbered(90'000, [](const QByteArray &number) {
                ZipEntry entry = ZipEntry::file(number, "x");
                entry.extra = entry.localExtra = ZipBuilder::field(
                    0x7075, QByteArray(1, 1) + ZipBuilder::u32(ZipBuilder::crc32(number)) + "u" + number);
                return entry;
            }));
        row("that grows as far as it may", growing);
    }

    void memoryGrowsWithTheNumberOfMembersOnly()
    {
        if (programsTakeMoreHere())
            QSKIP("A sanitizer's own memory is not ours to judge.");
        QFETCH(Make, make);
        ZipBuilder builder = make();
        builder.isLarge = builder.entries.size() > 0xffff;
        const Run checked = runUnpacker({ QStringLiteral("--check"), write(builder.bytes()) });
        const qint64 most = 24 * megabyte + 200 * builder.entries.size();
        QVERIFY2(checked.peakMemory <= most,
                 qPrintable(QStringLiteral("%1 of %2 bytes").arg(checked.peakMemory).arg(most)));
    }

    void anArchiveOfAMegabyteIsJudgedWithinASecond_data()
    {
        QTest::addColumn<Make>("make");
        const auto row = [](const char *name, const Make &make) { QTest::newRow(name) << make; };
        row("links along long ways", linksAlongLongWays);
        const auto stored = [](DeflateStream &stream, bool isLast) { stream.stored(QByteArray(), isLast); };
        const auto dynamic = [](DeflateStream &stream, bool isLast) { stream.emptyDynamic(isLast); };
        row("blocks that hold nothing",
            [stored] { return ZipBuilder { packed("a", {}, blocks(200'000, stored)) }; });
        row("blocks that hold nothing but their codes",
            [dynamic] { return ZipBuilder { packed("a", {}, blocks(90'000, dynamic)) }; });
        row("blocks that hold nothing, of a link", [dynamic] {
            ZipEntry link = packed("a", {}, blocks(90'000, dynamic));
            link.mode = 0120777;
            return ZipBuilder { link };
        });
        row("as much growth as there may be", growing);
        row("many members",
            numbered(9'000, [](const QByteArray &number) { return ZipEntry::file(number, {}); }));
        row("names of many parts", numbered(380, [](const QByteArray &number) {
                return ZipEntry::file(number + QByteArray("/a").repeated(509), {});
            }));
        row("names of rare letters", numbered(450, [](const QByteArray &number) {
                return ZipEntry::file(number + QByteArray("/\xe1\xbe\x82\xef\xad\x8f").repeated(140), {});
            }));
    }

    void anArchiveOfAMegabyteIsJudgedWithinASecond()
    {
        QFETCH(Make, make);
        const QByteArray archive = make().bytes();
        QVERIFY2(archive.size() <= megabyte && archive.size() > megabyte / 2, "It is not about a megabyte.");
        const Run checked = runUnpacker({ QStringLiteral("--check"), write(archive) });
        QVERIFY(WIFEXITED(checked.status));
        const double most = programsTakeMoreHere() ? 20 : 1;
        QVERIFY2(checked.processorSeconds < most, qPrintable(QString::number(checked.processorSeconds)));
    }

    void aFileThatGrowsBeyondTheSystemsLimitIsAProblem()
    {
        const QString zip = write(ZipBuilder { ZipEntry::file("game/first", "sound"),
                                               ZipEntry::file("game/a", QByteArray(2 * megabyte, 'x')) }
                                      .bytes());
        const Run unpacked = runUnpacker(unpacking(zip), [] { letFilesGrowTo(megabyte); });
        QVERIFY(WIFEXITED(unpacked.status));
        QCOMPARE(unpacked.problems, QStringLiteral("“game/a” could not be written: File too large.\n"));
        QVERIFY(isEmpty(folder()));
    }

    void aWriteThatTakesNothingIsAProblem()
    {
#ifndef __linux__
        QSKIP("No other system lets a test decide what a call returns.");
#else
        if (programsTakeMoreHere())
            QSKIP("A sanitizer writes into pipes of its own.");
        const QString zip = write(ZipBuilder { ZipEntry::file("game/a", "content") }.bytes());
        const Run unpacked = runUnpacker(unpacking(zip), letWritesTakeNothing);
        QVERIFY(WIFEXITED(unpacked.status));
        QCOMPARE(unpacked.problems,
                 QStringLiteral("“game/a” could not be written: the disk took nothing of it.\n"));
        QVERIFY(isEmpty(folder()));
#endif
    }

    void refusedMemoryIsAProblem()
    {
        if (programsTakeMoreHere())
            QSKIP("A sanitizer reserves more memory than any limit leaves.");
        const QString zip = write(ZipBuilder { ZipEntry::file("game/a", "content") }.bytes());
        const auto sentence = QStringLiteral("There is not enough memory to read the archive.\n");
        bool isSeen = false;
        // Between what the loader needs and what is enough, the program runs out of it by itself.
        for (rlim_t limit = 32 * megabyte; limit < 256 * megabyte; limit += megabyte / 8) {
            const Run checked = runUnpacker({ QStringLiteral("--check"), zip }, [limit] {
                const rlimit memory { limit, limit };
                ::setrlimit(RLIMIT_AS, &memory);
            });
            if (WIFEXITED(checked.status) && WEXITSTATUS(checked.status) == 0)
                break;
            QVERIFY2(!checked.problems.contains(QStringLiteral("bad_alloc")), qPrintable(checked.problems));
            isSeen = isSeen || checked.problems == sentence;
        }
        if (!isSeen)
            QSKIP("No limit here lies between what the loader needs and what is enough.");
    }

    void aFolderThatCannotBeListedDoesNotCountAsEmpty()
    {
        if (programsTakeMoreHere())
            QSKIP("A sanitizer opens pipes of its own.");
        const QString zip = write(ZipBuilder { ZipEntry::file("game/a", "content") }.bytes());
        const QString kept = m_home->write(QStringLiteral("folder/kept"), "before");
        const Run unpacked = runUnpacker(unpacking(zip), [] {
            // Enough for the standard streams, the archive and the folder, but not for listing it.
            const rlimit files { 5, 5 };
            ::setrlimit(RLIMIT_NOFILE, &files);
        });
        QVERIFY(WIFEXITED(unpacked.status));
        QCOMPARE(unpacked.problems,
                 QStringLiteral("“%1” could not be listed: Too many open files.\n").arg(folder()));
        QVERIFY(QFileInfo::exists(kept));
        QVERIFY(!QFileInfo::exists(folder() + QStringLiteral("/game")));
    }

    void anArchiveThatIsShortenedWhileItIsReadIsAProblem()
    {
        const QByteArray whole
            = numbered(1'000, [](const QByteArray &number) { return ZipEntry::file(number, "x"); })().bytes();
        for (qsizetype size = 0; size < whole.size(); size += 997) {
            const QString zip = write(whole);
            const ArchiveFile file(zip.toStdString());
            QCOMPARE(::truncate(qPrintable(zip), static_cast<off_t>(size)), 0);
            std::string problem;
            try {
                checkArchive(file);
            } catch (const UnpackError &error) {
                problem = error.what();
            }
            QCOMPARE(problem, std::string("The archive is damaged: it has become shorter."));
        }
    }

private:
    static bool programsTakeMoreHere() { return !Strain::isMeasurable(); }

    static bool isEmpty(const QString &folder)
    {
        return QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    QString folder() const { return m_home->filePath(QStringLiteral("folder")); }
    QString write(const QByteArray &archive) const { return m_home->write(QStringLiteral("a.zip"), archive); }
    Run runUnpacker(
        const QStringList &arguments, const std::function<void()> &prepare = [] {}) const
    {
        return run(arguments, m_home->filePath(QStringLiteral("problems")), prepare);
    }
    QStringList unpacking(const QString &zip) const
    {
        return { QStringLiteral("-x"), QStringLiteral("-k"), zip, folder() };
    }

    std::unique_ptr<TestHome> m_home;
};

QTEST_GUILESS_MAIN(UnpackLimitsTest)
#include "UnpackLimitsTest.moc"
