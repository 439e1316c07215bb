#include "ArchiveCheck.h"
#include "DeflateStream.h"
#include "Strain.h"
#include "Table.h"
#include "Unpacker.h"

#include <QTemporaryFile>

#ifdef __linux__
#include <seccomp.h>
#include <sys/ptrace.h>
#endif
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 megabyte = 1024 * 1024;

/// How a run of the unpack program ended, and what resources it used.
struct Run {
    int status = 0; // as wait4() returns it
    QString problems;
    double processorSeconds = 0;
    qint64 peakMemory = 0; // bytes; 0 where the system does not say
};

using Prepare = std::function<void()>;

/// Runs the program, and calls `prepare` in the child before execve().
Run run(const QStringList &arguments, const Prepare &prepare)
{
    QTemporaryFile problems;
    if (!problems.open())
        qFatal("There is no place for what the program prints.");
    const QByteArray path = QFile::encodeName(problems.fileName());
    QByteArrayList words { Unpacker::program().toLocal8Bit() };
    for (const QString &argument : arguments)
        words.append(argument.toLocal8Bit());
    std::vector<char *> pointers;
    for (QByteArray &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);

    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(::open(path.constData(), O_WRONLY | O_CLOEXEC), STDERR_FILENO);
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
    // wait4() reports a peak that covers the time before execve(), too: as much as the test itself uses.
    result.peakMemory = Strain::memory("VmHWM:", QString::number(child));
    ::ptrace(PTRACE_CONT, child, nullptr, nullptr);
#endif
    rusage usage = {};
    ::wait4(child, &result.status, 0, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    result.processorSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    result.problems = QString::fromUtf8(problems.readAll());
    return result;
}

#ifdef __linux__
/// From here on, write() returns 0 in this process, except on the standard streams.
void letWritesTakeNothing()
{
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    const scmp_arg_cmp beyondStreams { .arg = 0, .op = SCMP_CMP_GT, .datum_a = STDERR_FILENO, .datum_b = 0 };
    if (seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(0), SCMP_SYS(write), 1, &beyondStreams) != 0
        || seccomp_load(filter) != 0)
        ::_exit(126);
}
#endif

/// Limits a resource of this process for good.
void limit(decltype(RLIMIT_AS) resource, rlim_t most)
{
    const rlimit both { most, most };
    ::setrlimit(resource, &both);
}

ZipEntry file(const QByteArray &name) { return ZipEntry::file(name, "x"); }

using Blocks = std::function<void(DeflateStream &, bool isLast)>;
void stored(DeflateStream &stream, bool isLast) { stream.stored(QByteArray(), isLast); }
void dynamic(DeflateStream &stream, bool isLast) { stream.emptyDynamic(isLast); }

using Make = std::function<QByteArray()>;

/// Archives of one member that consists of `count` blocks.
Make ofBlocks(int count, const Blocks &add, quint32 mode = 0100644)
{
    return [count, add, mode] {
        DeflateStream stream;
        for (int block = 1; block <= count; ++block)
            add(stream, block == count);
        const ZipEntry entry {
            .name = "a", .method = ZipEntry::deflated, .mode = mode, .packed = stream.bytes()
        };
        return ZipBuilder { entry }.bytes();
    };
}

/// An archive of about a megabyte that unpacks to 150 MB, not far below what its size allows.
QByteArray growing()
{
    static const QByteArray archive = [] {
        const ZipEntry zeros { .name = "a",
                               .content = QByteArray(150 * megabyte, '\0'),
                               .method = ZipEntry::deflated };
        return ZipBuilder { zeros, ZipEntry::file("b", QByteArray(megabyte * 3 / 4, 'x')) }.bytes();
    }();
    return archive;
}

/// Archives of `count` members, each made by `make` from its number.
Make numbered(int count, const std::function<ZipEntry(const QByteArray &number)> &make)
{
    return [count, make] {
        ZipBuilder builder;
        for (int index = 0; index < count; ++index)
            builder.entries.append(make(QByteArray::number(index)));
        builder.isLarge = count > 0xffff;
        return builder.bytes();
    };
}

/// A chain of links, each target starting with the link before it, and many that start with the last one.
QByteArray linksAlongLongWays()
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
    return links.bytes();
}

}

/// What an archive may cost, and what happens when the system refuses more.
class UnpackLimitsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_unpacker.emplace(); }

    void memoryGrowsWithTheNumberOfMembersOnly_data()
    {
        const auto archive = table<int, Make>("members", "make");
        using Number = const QByteArray &;
        const auto row = [archive](const char *name, int count, const std::function<ZipEntry(Number)> &make) {
            archive(name, count, numbered(count, make));
        };
        row("one", 1, file);
        row("as many as there may be", 199'000, file);
        row("with long names", 25'000,
            [](Number number) { return file(QByteArray("abcdefghi/").repeated(99) + number); });
        row("with names that are too long", 1'000,
            [](Number number) { return file(QByteArray(65'000, 'a') + number); });
        row("of folders in folders", 380,
            [](Number number) { return file(number + QByteArray("/a").repeated(509)); });
        row("of links with long targets", 5'000,
            [](Number number) { return ZipEntry::link(number, QByteArray("abcdefg/").repeated(128)); });
        row("with two names each", 90'000, [](Number number) {
            const QByteArray other = ZipBuilder::unicodeName(number, "u" + number);
            return ZipEntry { .name = number, .content = "x", .extra = other, .localExtra = other };
        });
        archive("that grows as far as it may", 2, growing);
    }

    void memoryGrowsWithTheNumberOfMembersOnly()
    {
        if (programsTakeMoreHere())
            QSKIP("A sanitizer's own memory is not ours to judge.");
        QFETCH(int, members);
        QFETCH(Make, make);
        const qint64 peak = check(make()).peakMemory;
        const qint64 most = 24 * megabyte + 200 * members;
        QVERIFY2(peak <= most, qPrintable(u"%1 of %2 bytes"_s.arg(peak).arg(most)));
    }

    void anArchiveOfAMegabyteIsJudgedWithinASecond_data()
    {
        const auto row = table<Make>("make");
        row("links along long ways", linksAlongLongWays);
        row("blocks that hold nothing", ofBlocks(200'000, stored));
        row("blocks that hold nothing but their codes", ofBlocks(90'000, dynamic));
        row("blocks that hold nothing, of a link", ofBlocks(90'000, dynamic, 0120777));
        row("as much growth as there may be", growing);
        const auto empty = [](const QByteArray &name) { return ZipEntry::file(name, {}); };
        row("many members", numbered(9'000, empty));
        row("names of many parts", numbered(380, [empty](const QByteArray &number) {
                return empty(number + QByteArray("/a").repeated(509));
            }));
        row("names of rare letters", numbered(450, [empty](const QByteArray &number) {
                return empty(number + QByteArray("/\xe1\xbe\x82\xef\xad\x8f").repeated(140));
            }));
    }

    void anArchiveOfAMegabyteIsJudgedWithinASecond()
    {
        QFETCH(Make, make);
        const QByteArray archive = make();
        QVERIFY2(archive.size() <= megabyte && archive.size() > megabyte / 2, "It is not about a megabyte.");
        const Run checked = check(archive);
        QVERIFY(WIFEXITED(checked.status));
        const double most = programsTakeMoreHere() ? 20 : 1;
        QVERIFY2(checked.processorSeconds < most, qPrintable(QString::number(checked.processorSeconds)));
    }

    void aFileThatGrowsBeyondTheSystemsLimitIsAProblem()
    {
        QCOMPARE(
            problemsUnpacking({ file("game/first"), ZipEntry::file("game/a", QByteArray(2 * megabyte, 'x')) },
                              [] { limit(RLIMIT_FSIZE, megabyte); }),
            u"“game/a” could not be written: File too large.\n"_s);
        QVERIFY(m_unpacker->leftNothing());
    }

    void aWriteThatTakesNothingIsAProblem()
    {
#ifndef __linux__
        QSKIP("No other system lets a test decide what a call returns.");
#else
        if (programsTakeMoreHere())
            QSKIP("A sanitizer writes into pipes of its own.");
        QCOMPARE(problemsUnpacking({ file("game/a") }, letWritesTakeNothing),
                 u"“game/a” could not be written: the disk took nothing of it.\n"_s);
        QVERIFY(m_unpacker->leftNothing());
#endif
    }

    void refusedMemoryIsAProblem()
    {
        if (programsTakeMoreHere())
            QSKIP("A sanitizer reserves more memory than any limit leaves.");
        const QByteArray archive = ZipBuilder { file("game/a") }.bytes();
        bool isSeen = false;
        // Between what the loader needs and what is enough, the program runs out of it by itself.
        for (rlim_t most = 32 * megabyte; most < 256 * megabyte; most += megabyte / 8) {
            const Run checked = check(archive, [most] { limit(RLIMIT_AS, most); });
            if (WIFEXITED(checked.status) && WEXITSTATUS(checked.status) == 0)
                break;
            QVERIFY2(!checked.problems.contains(u"bad_alloc"_s), qPrintable(checked.problems));
            isSeen = isSeen || checked.problems == u"There is not enough memory to read the archive.\n"_s;
        }
        if (!isSeen)
            QSKIP("No limit here lies between what the loader needs and what is enough.");
    }

    void aFolderThatCannotBeListedDoesNotCountAsEmpty()
    {
        if (programsTakeMoreHere())
            QSKIP("A sanitizer opens pipes of its own.");
        m_unpacker->home().write(u"folder/kept"_s, "before");
        // Enough for the standard streams, the archive and the folder, but not for listing it.
        QCOMPARE(problemsUnpacking({ file("game/a") }, [] { limit(RLIMIT_NOFILE, 5); }),
                 u"“%1” could not be listed: Too many open files.\n"_s.arg(m_unpacker->folder()));
        QCOMPARE(m_unpacker->home().list(u"folder"_s), QStringList(u"kept"_s));
    }

    void anArchiveThatIsShortenedWhileItIsReadIsAProblem()
    {
        const QByteArray whole = numbered(1'000, file)();
        const QString zip = m_unpacker->archive();
        for (qsizetype size = 0; size < whole.size(); size += 997) {
            m_unpacker->write(whole);
            const ArchiveFile file(zip.toStdString());
            QCOMPARE(::truncate(qPrintable(zip), static_cast<off_t>(size)), 0);
            std::string problem;
            try {
                checkArchive(file);
            } catch (const UnpackError &error) {
                problem = error.what();
            }
            QCOMPARE(problem, "The archive is damaged: it has become shorter.");
        }
    }

private:
    static bool programsTakeMoreHere() { return !Strain::isMeasurable(); }

    Run check(
        const QByteArray &archive, const Prepare &prepare = [] {}) const
    {
        m_unpacker->write(archive);
        return run(m_unpacker->checking(), prepare);
    }

    QString problemsUnpacking(const ZipBuilder &archive, const Prepare &prepare) const
    {
        m_unpacker->write(archive.bytes());
        const Run unpacked = run(m_unpacker->unpacking(), prepare);
        [&] { QVERIFY(WIFEXITED(unpacked.status)); }();
        return unpacked.problems;
    }

    std::optional<Unpacker> m_unpacker;
};

QTEST_GUILESS_MAIN(UnpackLimitsTest)
#include "UnpackLimitsTest.moc"
