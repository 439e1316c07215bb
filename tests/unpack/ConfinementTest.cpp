#include "TestHome.h"

#include <QCoreApplication>
#include <QProcess>

#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>

/// What a confined process can still do, tried by a program that confines itself.
class ConfinementTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TestHome>();
        m_home->write(QStringLiteral("archive"), "content");
        m_home->write(QStringLiteral("destination/own"), "of the destination");
        QVERIFY(QDir().mkdir(m_home->filePath(QStringLiteral("empty"))));
        QVERIFY(QFile::link(QStringLiteral(".."), m_home->filePath(QStringLiteral("destination/out"))));
    }
    void cleanup() { m_home.reset(); }

    void whatUnpackingDoesNotTakeIsRefused_data()
    {
        QTest::addColumn<int>("means");
        const auto row = [](const char *what, Means means) { QTest::newRow(what) << int(means); };
        row("read a file", FilesOnly);
        row("read about the process", FilesOnly);
        row("list a folder", FilesOnly);
        row("write beside", FilesOnly);
        row("write above", FilesOnly);
        row("write through a link", FilesOnly);
        row("open what is open for writing", FilesOnly);
        row("make a folder beside", FilesOnly);
        row("make a link beside", FilesOnly);
        row("remove beside", FilesOnly);
        row("remove a folder beside", FilesOnly);
        row("move out", Either);
        row("move in", Either);
        row("hard link out", Either);
        row("hard link in", Either);
        row("make a pipe", Either);
        row("make a device", Either);
        row("cut off a file", CallsOnly);
        row("change a mode", CallsOnly);
        row("change times", CallsOnly);
        row("connect by IP", CallsOnly);
        row("connect by IPv6", CallsOnly);
        row("connect on this machine", CallsOnly);
        row("signal", CallsOnly);
        row("signal a thread", CallsOnly);
        row("trace", Either);
        row("read memory", Either);
        row("run a program", Either);
        row("run an open program", Either);
        row("run a program from memory", CallsOnly);
        row("fork", CallsOnly);
        row("fork with clone", CallsOnly);
        row("fork with clone3", CallsOnly);
        row("start a thread with another network", CallsOnly);
        row("vfork", CallsOnly);
        row("make memory that runs", CallsOnly);
        row("let memory run", CallsOnly);
        row("load into the kernel", CallsOnly);
        row("prepare a ring", CallsOnly);
        row("leave the namespace", CallsOnly);
    }

    void whatUnpackingDoesNotTakeIsRefused()
    {
        QFETCH(int, means);
        const QString what = QString::fromLatin1(QTest::currentDataTag());
        if (!hasLandlock() && means == FilesOnly)
            QSKIP("This kernel has no Landlock.");
        QCOMPARE(attempt(what, "all").status, refused);
        // Each mechanism that should refuse it also does so alone.
        if (hasLandlock() && means != CallsOnly)
            QCOMPARE(attempt(what, "files").status, refused);
        if (means != FilesOnly)
            QCOMPARE(attempt(what, "calls").status, refused);
        // Nothing else refuses it: unconfined, it works.
        if (attempt(what, "nothing").status != done)
            QSKIP("This system refuses it anyway, or refuses it to this user.");
    }

    void whatUnpackingTakesGoesOn_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<QByteArray>("with");
        for (const char *with : { "all", "files", "calls", "neither" }) {
            for (const char *what : { "fill a file", "fill a folder", "clear up", "read on",
                                      "work in threads", "catch an exception", "know the time" })
                QTest::addRow("%s, with %s", what, with) << QString::fromLatin1(what) << QByteArray(with);
        }
    }

    void whatUnpackingTakesGoesOn()
    {
        QFETCH(QString, what);
        QFETCH(QByteArray, with);
        const Result result = attempt(what, with);
        QCOMPARE(result.problems, QByteArray());
        QCOMPARE(result.status, done);
    }

    void whatTheKernelLacksLeavesTheRestInForce_data()
    {
        QTest::addColumn<QByteArray>("with");
        QTest::addColumn<bool>("files");
        QTest::addColumn<bool>("calls");
        QTest::newRow("nothing is missing") << QByteArray("all") << true << true;
        QTest::newRow("no seccomp") << QByteArray("files") << true << false;
        QTest::newRow("no Landlock") << QByteArray("calls") << false << true;
        QTest::newRow("neither") << QByteArray("neither") << false << false;
    }

    void whatTheKernelLacksLeavesTheRestInForce()
    {
        QFETCH(QByteArray, with);
        QFETCH(bool, files);
        QFETCH(bool, calls);
        const Result result = attempt(QStringLiteral("read on"), with);
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
        process.start(program(), { QStringLiteral("all"), QStringLiteral("wait"), m_home->path() });
        QVERIFY(process.waitForReadyRead());
        const QString folder = QStringLiteral("/proc/%1/").arg(process.processId());
        const QByteArray status = contentOf(folder + QStringLiteral("status"));
        QVERIFY(status.contains("NoNewPrivs:\t1\n"));
        QVERIFY(status.contains("Seccomp:\t2\n"));
        QVERIFY(contentOf(folder + QStringLiteral("limits")).simplified().contains("core file size 0 0 "));
        process.closeWriteChannel();
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), done);
    }

    void aCrashSaysWhy_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("abort") << QByteArray("It aborts.");
        QTest::newRow("let an exception go") << QByteArray("nobody catches it");
    }

    void aCrashSaysWhy()
    {
        QFETCH(QByteArray, message);
        const Result result = attempt(QString::fromLatin1(QTest::currentDataTag()), "all");
        QCOMPARE(result.status, -SIGABRT);
        QVERIFY2(result.problems.contains(message), result.problems.constData());
    }

    /// There, the numbers that the filter allows mean other calls.
    void aCallOfAnotherArchitectureEndsTheProcess()
    {
        const QString what = QStringLiteral("call like a 32-bit program");
        if (attempt(what, "nothing").status != done)
            QSKIP("This system knows no such calls.");
        QCOMPARE(attempt(what, "all").status, -SIGSYS);
    }

private:
    /// What is expected to refuse an attempt: Landlock, the seccomp filter, or each of them alone.
    enum Means { FilesOnly, CallsOnly, Either };

    static constexpr int done = 0;
    static constexpr int refused = 1;

    struct Result {
        int status = 0; ///< exit status, or the negated number of the signal that ended it
        QByteArray means; ///< in force
        QByteArray problems;
    };

    static QString program()
    {
        return QCoreApplication::applicationDirPath() + QStringLiteral("/try-confined");
    }

    static QByteArray contentOf(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    Result attempt(const QString &what, const QByteArray &with) const
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TZ"), QStringLiteral("America/New_York"));
        process.setProcessEnvironment(environment);
        process.start(program(), { QString::fromLatin1(with), what, m_home->path() });
        if (!process.waitForFinished())
            qFatal("The program did not end: %s", qPrintable(process.errorString()));
        Result result;
        result.status
            = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -process.exitCode();
        result.means = process.readAllStandardOutput();
        result.problems = process.readAllStandardError();
        return result;
    }

    static bool hasLandlock()
    {
        return syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) > 0;
    }

    std::unique_ptr<TestHome> m_home;
};

QTEST_GUILESS_MAIN(ConfinementTest)
#include "ConfinementTest.moc"
