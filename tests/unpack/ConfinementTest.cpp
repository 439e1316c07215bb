#include "Confinement.h"

#include "ConfinementAttempts.h"
#include "Table.h"
#include "TestHome.h"

#include <QCoreApplication>
#include <QProcess>

#include <linux/landlock.h>
#include <seccomp.h>

#include <algorithm>
#include <string>

using namespace Qt::StringLiterals;

namespace {

constexpr int done = 0;
constexpr int refused = 1;
constexpr int failed = 2;

/// Hides Landlock or seccomp from this process, as if the kernel lacked it. Returns whether that worked.
bool doWithout(bool landlock, bool seccomp)
{
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    const auto refuse = [filter](int call, std::uint32_t code, std::vector<scmp_arg_cmp> conditions = {}) {
        return seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(code), call,
                                      static_cast<unsigned>(conditions.size()), conditions.data())
            == 0;
    };
    bool isDone = filter != nullptr;
    if (landlock)
        isDone = isDone && refuse(SCMP_SYS(landlock_create_ruleset), ENOSYS);
    if (seccomp)
        isDone = isDone && refuse(SCMP_SYS(seccomp), ENOSYS)
            && refuse(SCMP_SYS(prctl), EINVAL, { { 0, SCMP_CMP_EQ, PR_SET_SECCOMP, 0 } });
    isDone = isDone && seccomp_load(filter) == 0;
    seccomp_release(filter);
    return isDone;
}

/// Confines this process as the unpacker does, prints which mechanisms are in force, and tries one thing.
/// `with` says what the kernel offers: "files" (Landlock), "calls" (seccomp), "all" or "neither"; with
/// "nothing", the process does not confine itself. `folder` contains the folder "destination", the only
/// writable one, with a file "own" and a link "out" to `folder`; an empty folder "empty"; and the file
/// "archive", which is open already.
int tryConfined(const std::string &with, const std::string &what, const std::string &folder)
{
    Attempts::Open open { .path = folder, .parent = getppid() };
    open.destination = ::open((folder + "/destination").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    open.archive = ::open((folder + "/archive").c_str(), O_RDONLY | O_CLOEXEC);
    open.program = ::open("/bin/true", O_PATH | O_CLOEXEC);
    const auto attempt = std::ranges::find(Attempts::all, what, &Attempts::Attempt::what);
    if (open.destination < 0 || open.archive < 0 || open.program < 0 || attempt == Attempts::all.end())
        return failed;
    tzset();

    if (with != "all" && with != "nothing" && !doWithout(with != "files", with != "calls"))
        return failed;
    const Confinement confinement = with == "nothing" ? Confinement() : confine(open.destination);
    std::printf("In force:%s%s%s%s\n", confinement.noCoreFiles ? "; no core files" : "",
                confinement.noNewPrivileges ? "; no new privileges" : "", confinement.files ? "; files" : "",
                confinement.systemCalls ? "; system calls" : "");
    std::fflush(stdout);
    return attempt->succeeds(open) ? done : refused;
}

}

/// What a confined process can still do. Confinement cannot be undone, so this program runs once more for
/// each attempt.
class ConfinementTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TestHome>();
        m_home->write(u"archive"_s, "content");
        m_home->write(u"destination/own"_s, "of the destination");
        QVERIFY(QDir().mkdir(m_home->filePath(u"empty"_s)));
        m_home->link(u"destination/out"_s, u".."_s);
    }

    void whatUnpackingDoesNotNeedIsRefused_data()
    {
        const auto row = table<Attempts::RefusedBy>("by");
        for (const Attempts::Attempt &attempt : Attempts::all) {
            if (attempt.refusedBy < Attempts::Needed)
                row(attempt.what, attempt.refusedBy);
        }
    }

    void whatUnpackingDoesNotNeedIsRefused()
    {
        QFETCH(Attempts::RefusedBy, by);
        const QString what = QString::fromLatin1(QTest::currentDataTag());
        if (!hasLandlock() && by == Attempts::Files)
            QSKIP("This kernel has no Landlock.");
        QCOMPARE(attempt(what, u"all"_s).status, refused);
        // Each mechanism that should refuse it also does so alone.
        if (hasLandlock() && by != Attempts::Calls)
            QCOMPARE(attempt(what, u"files"_s).status, refused);
        if (by != Attempts::Files)
            QCOMPARE(attempt(what, u"calls"_s).status, refused);
        // Nothing else refuses it: unconfined, it works.
        if (attempt(what, u"nothing"_s).status != done)
            QSKIP("This system refuses it anyway, or refuses it to this user.");
    }

    void whatUnpackingNeedsWorks_data()
    {
        table<QString, QString>("what", "with");
        for (const char *with : { "all", "files", "calls", "neither" }) {
            for (const Attempts::Attempt &attempt : Attempts::all) {
                if (attempt.refusedBy == Attempts::Needed)
                    QTest::addRow("%s, with %s", attempt.what, with)
                        << QString::fromLatin1(attempt.what) << QString::fromLatin1(with);
            }
        }
    }

    void whatUnpackingNeedsWorks()
    {
        QFETCH(QString, what);
        QFETCH(QString, with);
        const Result result = attempt(what, with);
        QCOMPARE(result.problems, QByteArray());
        QCOMPARE(result.status, done);
    }

    void whatTheKernelLacksLeavesTheRestInForce_data()
    {
        const auto row = table<QString, bool, bool>("with", "files", "calls");
        row("nothing is missing", u"all"_s, true, true);
        row("no seccomp", u"files"_s, true, false);
        row("no Landlock", u"calls"_s, false, true);
        row("neither", u"neither"_s, false, false);
    }

    void whatTheKernelLacksLeavesTheRestInForce()
    {
        QFETCH(QString, with);
        QFETCH(bool, files);
        QFETCH(bool, calls);
        const Result result = attempt(u"read on"_s, with);
        QVERIFY(result.means.contains("no core files"));
        QVERIFY(result.means.contains("no new privileges"));
        QCOMPARE(result.means.contains("system calls"), calls);
        if (files && !hasLandlock())
            QSKIP("This kernel has no Landlock.");
        QCOMPARE(result.means.contains("; files"), files);
    }

    void othersSeeIt()
    {
        QProcess process;
        start(process, u"wait"_s, u"all"_s);
        QVERIFY(process.waitForReadyRead());
        const QString folder = u"/proc/%1/"_s.arg(process.processId());
        const QByteArray status = m_home->read(folder + u"status"_s);
        QVERIFY(status.contains("NoNewPrivs:\t1\n"));
        QVERIFY(status.contains("Seccomp:\t2\n"));
        QVERIFY(m_home->read(folder + u"limits"_s).simplified().contains("core file size 0 0 "));
        process.closeWriteChannel();
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), done);
    }

    void aCrashSaysWhy()
    {
        const Result aborted = attempt(u"abort"_s, u"all"_s);
        const Result thrown = attempt(u"let an exception go"_s, u"all"_s);
        QCOMPARE(aborted.status, -SIGABRT);
        QCOMPARE(thrown.status, -SIGABRT);
        QVERIFY2(aborted.problems.contains("It aborts."), aborted.problems.constData());
        QVERIFY2(thrown.problems.contains("nobody catches it"), thrown.problems.constData());
    }

    /// There, the numbers that the filter allows mean other calls.
    void aCallOfAnotherArchitectureEndsTheProcess()
    {
        const QString what = u"call like a 32-bit program"_s;
        if (attempt(what, u"nothing"_s).status != done)
            QSKIP("This system knows no such calls.");
        QCOMPARE(attempt(what, u"all"_s).status, -SIGSYS);
    }

private:
    struct Result {
        int status = 0; ///< exit status, or the negated number of the signal that ended it
        QByteArray means; ///< in force
        QByteArray problems;
    };

    void start(QProcess &process, const QString &what, const QString &with) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"TZ"_s, u"America/New_York"_s);
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(), { u"try"_s, with, what, m_home->path() });
    }

    Result attempt(const QString &what, const QString &with) const
    {
        QProcess process;
        start(process, what, with);
        if (!process.waitForFinished())
            qFatal("The program did not end: %s", qPrintable(process.errorString()));
        const bool hasExited = process.exitStatus() == QProcess::NormalExit;
        return { hasExited ? process.exitCode() : -process.exitCode(), process.readAllStandardOutput(),
                 process.readAllStandardError() };
    }

    static bool hasLandlock()
    {
        return syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) > 0;
    }

    std::unique_ptr<TestHome> m_home;
};

int main(int argc, char **argv)
{
    if (argc == 5 && argv[1] == std::string_view("try"))
        return tryConfined(argv[2], argv[3], argv[4]);
    const QCoreApplication application(argc, argv);
    ConfinementTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ConfinementTest.moc"
