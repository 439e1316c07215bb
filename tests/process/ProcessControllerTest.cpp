#include "Children.h"
#include "OrdinaryUser.h"
#include "OutputReader.h"
#include "Table.h"
#include "Tasks.h"
#include "TestHome.h"
#include "ThreadLimit.h"

#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <sys/stat.h>

#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

const QString ownDescriptors = u"descriptors: 0 1 2"_s;
const QString trueProgram = u"/bin/true"_s;

/// What a run that could not start returns and prints.
Children::Run failure(const QString &program, const QString &reason)
{
    return { ProcessController::couldNotStart, { u"Could not start %1: %2"_s.arg(program, reason) } };
}

}

class ProcessControllerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { qunsetenv("CHILD_REPORT_VARIABLE"); }

    void theExitStatusOrTheNumberOfTheSignalIsTheResult_data()
    {
        const auto row = table<QString, qint32, bool>("script", "status", "bySignal");
        for (const int status : { 0, 1, 9, 42, 127, 255 })
            row(qPrintable(u"exit status %1"_s.arg(status)), u"exit %1"_s.arg(status), status, false);
        for (const int signal : { SIGTERM, SIGKILL, SIGSEGV, SIGABRT })
            row(qPrintable(u"signal %1"_s.arg(signal)), u"ulimit -c 0; kill -%1 $$"_s.arg(signal), signal,
                true);
    }

    void theExitStatusOrTheNumberOfTheSignalIsTheResult()
    {
        QFETCH(QString, script);
        QFETCH(qint32, status);
        QFETCH(bool, bySignal);
        auto child = Children::startShell(script);
        QCOMPARE(child.status(), status);
        QCOMPARE(child.controller->wasEndedBySignal(), bySignal);
        QVERIFY(child.lines().isEmpty());
        QVERIFY(Children::noneLeft());
    }

    void aProgramThatCannotStartPrintsOneLine_data()
    {
        const auto row = table<QString, QByteArray, int, QString>("name", "content", "mode", "reason");
        const QString missing = u"No such file or directory"_s;
        const QString refused = u"Permission denied"_s;
        const QString noProgram = u"Exec format error"_s;
        constexpr int isMissing = 0;
        constexpr int isFolder = -1;
        row("missing", u"no such game"_s, {}, isMissing, missing);
        row("not executable", u"game"_s, "#!/bin/sh\n", 0644, refused);
        row("no program", u"game"_s, "just text\n", 0755, noProgram);
        row("empty file", u"game"_s, {}, 0755, noProgram);
        row("missing interpreter", u"game"_s, "#!/no/such/shell\n", 0755, missing);
        row("folder", u"Größe.app"_s, {}, isFolder, refused);
        row("below a file", u"file/game"_s, {}, isMissing, u"Not a directory"_s);
        row("placeholders", u"%2 %1"_s, {}, isMissing, missing);
    }

    void aProgramThatCannotStartPrintsOneLine()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(int, mode);
        QFETCH(QString, reason);
        const TestHome home;
        home.write(u"file"_s, "1");
        const QString path = home.filePath(name);
        if (mode < 0)
            QVERIFY(QDir().mkpath(path));
        else if (mode > 0)
            QCOMPARE(::chmod(qPrintable(home.write(name, content)), static_cast<mode_t>(mode)), 0);
        QCOMPARE(Children::run(path), failure(QFileInfo(name).fileName(), reason));
        QVERIFY(Children::noneLeft());
    }

    void aLaunchWithoutDescriptorsLeftCannotStart()
    {
        const int before = Children::openDescriptors();
        std::vector<FileDescriptor> taken;
        for (;;) {
            FileDescriptor next(::fcntl(0, F_DUPFD_CLOEXEC, 0));
            if (next.get() < 0)
                break;
            taken.push_back(std::move(next));
        }
        const auto none = Children::shell(u"echo ran"_s);
        taken.resize(taken.size() - 3);
        const auto tooFew = Children::shell(u"echo ran"_s);
        taken.clear();
        const auto expected = failure(u"sh"_s, u"Too many open files"_s);
        QCOMPARE(none, expected);
        QCOMPARE(tooFew, expected);
        QCOMPARE(Children::openDescriptors(), before);
    }

    void aRunWithoutAThreadLeftCannotStart()
    {
        QVERIFY(OrdinaryUser::run([] {
            const ThreadLimit none;
            return OutputReader([](const QString &) {}).start() == EAGAIN
                && Children::shell(u"echo ran"_s) == failure(u"sh"_s, u"Resource temporarily unavailable"_s);
        }));
    }

    void aRunWithoutAThreadLeftEndsOnALaterTurnAndCanBeCancelledUntilThen()
    {
        QVERIFY(OrdinaryUser::run([] {
            const ThreadLimit none;
            Children::Child child(trueProgram);
            const bool isLater = !child.task.isReady() && child.lines().isEmpty();
            child.controller->cancel();
            return isLater && child.status() == ProcessController::cancelledBeforeLaunch
                && child.lines().isEmpty();
        }));
    }

    void aChildThatIsStoppedHasNotEnded()
    {
        auto child = Children::startShell(u"echo $$; kill -STOP $$; echo on; exit 3"_s);
        QTRY_COMPARE(child.lines().size(), 1);
        const QString pid = child.lines().first();
        QTRY_VERIFY([&pid] {
            QFile state(u"/proc/%1/stat"_s.arg(pid));
            return state.open(QIODevice::ReadOnly) && state.readAll().contains(") T ");
        }());
        QTest::qWait(50); // long enough for a stop mistaken for an end to arrive
        QVERIFY(!child.task.isReady());
        QCOMPARE(::kill(pid.toInt(), SIGCONT), 0);
        QCOMPARE(child.status(), 3);
        QCOMPARE(child.lines().last(), u"on"_s);
    }

    void linesArriveOnAnotherThreadAndTheRunEndsOnTheMainThread()
    {
        std::atomic<bool> isOther = false;
        const auto noteThread = [&isOther, main = std::this_thread::get_id()](const QString &) {
            isOther = std::this_thread::get_id() != main;
        };
        const auto resumedOn = [](std::shared_ptr<ProcessController> controller,
                                  std::function<void(const QString &)> onLine) -> QCoro::Task<QThread *> {
            const QString program = u"/bin/echo"_s;
            const QStringList arguments = { u"x"_s };
            co_await controller->run(program, arguments, onLine);
            co_return QThread::currentThread();
        };
        QCOMPARE(Tasks::finish(resumedOn(ProcessController::create(), noteThread)), QThread::currentThread());
        QVERIFY(isOther);
    }

    void linesArriveWhileTheChildRuns()
    {
        const TestHome home;
        auto child = Children::startShell(
            u"echo early; while [ ! -e \"$0\" ]; do sleep 0.01; done; echo late"_s, home.filePath(u"go"_s));
        QTRY_COMPARE(child.lines(), QStringList(u"early"_s));
        home.write(u"go"_s, {});
        QCOMPARE(child.status(), 0);
        QCOMPARE(child.lines(), QStringList({ u"early"_s, u"late"_s }));
    }

    void argumentsArriveAsTheyAre_data()
    {
        const auto row = table<QStringList>("arguments");
        row("none", {});
        row("several", { u"--path"_s, u"a b"_s, QString(), u"\"'$HOME*\\"_s, u"Größe 😀"_s });
    }

    void argumentsArriveAsTheyAre()
    {
        QFETCH(QStringList, arguments);
        QStringList expected;
        for (const QString &argument : arguments)
            expected.append(u"argument: <%1>"_s.arg(argument));
        const QStringList report = Children::report(arguments);
        QCOMPARE(report.filter(u"argument: "_s), expected);
        QVERIFY(report.contains(u"program: "_s + Children::program(u"child-report"_s)));
    }

    void environmentAndFolderAreInheritedAsTheyAreWhenTheRunBegins()
    {
        qputenv("CHILD_REPORT_VARIABLE", "Größe");
        Children::Child child(Children::program(u"child-report"_s));
        qputenv("CHILD_REPORT_VARIABLE", "after");
        child.status();
        QVERIFY(child.lines().contains(u"variable: Größe"_s));
        QVERIFY(child.lines().contains(u"folder: "_s + QDir::currentPath()));
    }

    void theRightToTakeTheFocusIsNotInherited()
    {
        qputenv("XDG_ACTIVATION_TOKEN", "token");
        qputenv("DESKTOP_STARTUP_ID", "identifier");
        const QStringList variables = Children::run(u"/usr/bin/env"_s).lines;
        qunsetenv("XDG_ACTIVATION_TOKEN");
        qunsetenv("DESKTOP_STARTUP_ID");
        QVERIFY(!variables.isEmpty());
        QVERIFY(variables.filter(QRegularExpression(u"^(XDG_ACTIVATION|DESKTOP_STARTUP)"_s)).isEmpty());
    }

    void aChildInheritsTheStandardStreamsAndNothingElse()
    {
        // Without O_CLOEXEC, so that an ordinary launch would pass it on.
        const FileDescriptor secret(::open("/dev/null", O_RDONLY));
        QVERIFY(secret.get() > 2);
        const QStringList report = Children::report();
        QVERIFY2(report.contains(ownDescriptors), qPrintable(report.join(u'\n')));
        QVERIFY(report.contains(u"input: 0"_s));
    }

    void filesThatOtherThreadsOpenMeanwhileAreNotInherited()
    {
        std::vector<std::jthread> openers;
        for (int i = 0; i < 4; ++i) {
            openers.emplace_back([](const std::stop_token &stop) {
                while (!stop.stop_requested())
                    const FileDescriptor inheritable(::open("/dev/null", O_RDONLY));
            });
        }
        for (int runs = 0; runs < 50; ++runs)
            QVERIFY(Children::report().contains(ownDescriptors));
    }

    void aLauncherWithoutStandardStreamsRunsChildrenToo()
    {
        QStringList report;
        Children::Run both;
        {
            const Children::WithoutStandardStreams closed;
            report = Children::report();
            both = Children::shell(u"echo out; echo error >&2; exit 3"_s);
        }
        QVERIFY2(report.contains(ownDescriptors), qPrintable(report.join(u'\n')));
        QVERIFY(report.contains(u"input: 0"_s));
        QCOMPARE(both, Children::Run({ 3, { u"out"_s, u"error"_s } }));
    }

    void aChildsSignalsAreAsUsual()
    {
        sigset_t blocked;
        sigset_t before;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGTERM);
        sigaddset(&blocked, SIGCHLD);
        pthread_sigmask(SIG_BLOCK, &blocked, &before);
        const auto pipeBefore = std::signal(SIGPIPE, SIG_IGN);
        const auto termBefore = std::signal(SIGTERM, SIG_IGN);
        const auto sizeBefore = std::signal(SIGXFSZ, SIG_IGN);
        const QStringList report = Children::report();
        std::signal(SIGXFSZ, sizeBefore);
        std::signal(SIGTERM, termBefore);
        std::signal(SIGPIPE, pipeBefore);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        QVERIFY2(report.contains(u"signals:"_s), qPrintable(report.join(u'\n')));
    }

    void ignoredChildSignalsDoNotHideTheStatus()
    {
        std::signal(SIGCHLD, SIG_IGN);
        const auto run = Children::shell(u"exit 7"_s);
        struct sigaction forgetting = {};
        forgetting.sa_handler = SIG_DFL;
        forgetting.sa_flags = SA_NOCLDWAIT;
        ::sigaction(SIGCHLD, &forgetting, nullptr);
        const auto other = Children::shell(u"exit 8"_s);
        std::signal(SIGCHLD, SIG_DFL);
        QCOMPARE(run.status, 7);
        QCOMPARE(other.status, 8);
        QVERIFY(Children::noneLeft());
    }

    void aChildThatClosesItsOutputAndRunsOnIsWaitedFor()
    {
        const TestHome home;
        const QString done = home.filePath(u"done"_s);
        const auto run = Children::shell(u"echo x; exec >&- 2>&-; sleep 0.3; : > \"$0\"; exit 5"_s, done);
        QCOMPARE(run, Children::Run({ 5, { u"x"_s } }));
        QVERIFY(QFile::exists(done));
    }

    void aGrandchildThatHoldsThePipeDoesNotHoldTheRun()
    {
        const auto run = Children::shell(u"sleep 1000 & echo $!; printf last; exit 4"_s);
        QCOMPARE(run.status, 4);
        QCOMPARE(run.lines.size(), 2);
        QCOMPARE(run.lines.last(), u"last"_s);
        const pid_t grandchild = run.lines.first().toInt();
        QVERIFY(grandchild > 0);
        QCOMPARE(::kill(grandchild, SIGKILL), 0); // it was alive
    }

    void aGrandchildThatFloodsThePipeDoesNotHoldTheRun()
    {
        // The flood ends by itself once the pipe is closed.
        QCOMPARE(Children::shell(u"yes & sleep 0.1; exit 6"_s).status, 6);
    }

    void severalRunsAtOnceKeepTheirOutputApart()
    {
        std::vector<Children::Child> children;
        for (int i = 0; i < 8; ++i)
            children.push_back(Children::startShell(
                u"i=0; while [ $i -lt 200 ]; do echo %1; i=$((i + 1)); done; exit %1"_s.arg(i)));
        int i = 0;
        for (Children::Child &child : children) {
            QCOMPARE(child.status(), i);
            QCOMPARE(child.lines(), QStringList(200, QString::number(i)));
            ++i;
        }
    }

    void noDescriptorIsLeftOpen()
    {
        Children::shell(u"echo x"_s);
        QCoreApplication::processEvents();
        const int before = Children::openDescriptors();
        const auto cancelled = ProcessController::create();
        cancelled->cancel();
        for (int i = 0; i < 50; ++i) {
            Children::shell(u"echo x"_s);
            Children::run(u"/no/such/program"_s);
            Children::Child(trueProgram, {}, cancelled).status();
        }
        QTRY_COMPARE(Children::openDescriptors(), before);
    }

    void noRunLeavesItsCallbackBehind()
    {
        const auto held = std::make_shared<int>(0);
        for (const QString &program : { trueProgram, u"/no/such/program"_s })
            Tasks::finish(ProcessController::create()->run(program, {}, [held](const QString &) {}));
        QCOMPARE(held.use_count(), 1);
    }
};

QTEST_GUILESS_MAIN(ProcessControllerTest)
#include "ProcessControllerTest.moc"
