#include "Children.h"
#include "OrdinaryUser.h"
#include "OutputReader.h"
#include "Tasks.h"
#include "TestHome.h"
#include "ThreadLimit.h"

#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

using namespace Children;
using namespace Qt::StringLiterals;

namespace {

/// What a child reports that has inherited nothing.
const QStringList ownStreams = { u"descriptors: 0 1 2"_s, u"input: 0"_s };

/// What a run that could not start returns and prints.
Run failure(const QString &program, const QString &reason)
{
    return { ProcessController::couldNotStart, { u"Could not start %1: %2"_s.arg(program, reason) } };
}

}

class ProcessControllerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { qunsetenv("CHILD_REPORT_VARIABLE"); }

    void theExitStatusOrTheNumberOfTheSignalIsTheResult()
    {
        const auto expectEnd = [](const QString &text, qint32 status, bool bySignal) {
            Child child = startShell(text);
            QCOMPARE(child.status(), status);
            QCOMPARE(child.controller->wasEndedBySignal(), bySignal);
            QVERIFY(child.lines().isEmpty());
            QVERIFY(noneLeft());
        };
        for (const int status : { 0, 1, 9, 42, 127, 255 })
            expectEnd(u"exit %1"_s.arg(status), status, false);
        for (const int signal : { SIGTERM, SIGKILL, SIGSEGV, SIGABRT })
            expectEnd(u"ulimit -c 0; kill -%1 $$"_s.arg(signal), signal, true);
    }

    void aProgramThatCannotStartPrintsOneLine()
    {
        const TestHome home;
        home.write(u"not executable"_s, "#!/bin/sh\n");
        home.write(u"no program"_s, "just text\n");
        home.write(u"empty"_s, {});
        home.write(u"no interpreter"_s, "#!/no/such/shell\n");
        for (const QString &name : { u"no program"_s, u"empty"_s, u"no interpreter"_s })
            home.setMode(name, 0755);
        QVERIFY(QDir().mkpath(home.filePath(u"Größe.app"_s)));
        const auto cannotStart = [&home](const QString &name, const QString &reason) {
            QCOMPARE(run(home.filePath(name)), failure(QFileInfo(name).fileName(), reason));
            QVERIFY(noneLeft());
        };
        cannotStart(u"missing"_s, u"No such file or directory"_s);
        cannotStart(u"not executable"_s, u"Permission denied"_s);
        cannotStart(u"no program"_s, u"Exec format error"_s);
        cannotStart(u"empty"_s, u"Exec format error"_s);
        cannotStart(u"no interpreter"_s, u"No such file or directory"_s);
        cannotStart(u"Größe.app"_s, u"Permission denied"_s);
        cannotStart(u"empty/below a file"_s, u"Not a directory"_s);
        cannotStart(u"%2 %1"_s, u"No such file or directory"_s); // placeholders
    }

    void aLaunchWithoutDescriptorsLeftCannotStart()
    {
        const QStringList before = openFiles();
        std::vector<FileDescriptor> taken;
        do {
            taken.emplace_back(::fcntl(0, F_DUPFD_CLOEXEC, 0));
        } while (taken.back().isOpen());
        const Run none = shell(u"echo ran"_s);
        taken.resize(taken.size() - 4); // three, and the one that could not be had
        const Run tooFew = shell(u"echo ran"_s);
        taken.clear();
        const Run expected = failure(u"sh"_s, u"Too many open files"_s);
        QCOMPARE(none, expected);
        QCOMPARE(tooFew, expected);
        QCOMPARE(openFiles(), before);
    }

    void aRunWithoutAThreadLeftCannotStart()
    {
        QVERIFY(OrdinaryUser::run([] {
            const ThreadLimit none;
            return OutputReader([](const QString &) {}).start() == EAGAIN
                && shell(u"echo ran"_s) == failure(u"sh"_s, u"Resource temporarily unavailable"_s);
        }));
    }

    void aRunWithoutAThreadLeftEndsOnALaterTurnAndCanBeCancelledUntilThen()
    {
        QVERIFY(OrdinaryUser::run([] {
            const ThreadLimit none;
            Child child(trueProgram);
            const bool isLater = !child.task.isReady() && child.lines().isEmpty();
            child.controller->cancel();
            return isLater && child.status() == ProcessController::cancelledBeforeLaunch
                && child.lines().isEmpty();
        }));
    }

    void aChildThatIsStoppedHasNotEnded()
    {
        Child child = startedShell(u"echo $$; kill -STOP $$; echo on; exit 3"_s);
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
        const auto resumedOn = [](QCoro::Task<qint32> run) -> QCoro::Task<QThread *> {
            co_await run;
            co_return QThread::currentThread();
        };
        auto run = ProcessController::create()->run(u"/bin/echo"_s, { u"x"_s }, noteThread);
        QCOMPARE(Tasks::finish(resumedOn(std::move(run))), QThread::currentThread());
        QVERIFY(isOther);
    }

    void linesArriveWhileTheChildRuns()
    {
        const TestHome home;
        Child child = startedShell(u"echo early; while [ ! -e \"$0\" ]; do sleep 0.01; done; echo late"_s,
                                   home.filePath(u"go"_s));
        QCOMPARE(child.lines(), QStringList(u"early"_s));
        home.write(u"go"_s, {});
        QCOMPARE(child.status(), 0);
        QCOMPARE(child.lines(), QStringList({ u"early"_s, u"late"_s }));
    }

    void argumentsArriveAsTheyAre()
    {
        QVERIFY(report().filter(u"argument: "_s).isEmpty());
        const QStringList lines
            = report({ u"--path"_s, u"a b"_s, QString(), u"\"'$HOME*\\"_s, u"Größe 😀"_s });
        QCOMPARE(lines.filter(u"argument: "_s),
                 QStringList({ u"argument: <--path>"_s, u"argument: <a b>"_s, u"argument: <>"_s,
                               u"argument: <\"'$HOME*\\>"_s, u"argument: <Größe 😀>"_s }));
        QVERIFY(lines.contains(u"program: "_s + program(u"child-report"_s)));
    }

    void environmentAndFolderAreInheritedAsTheyAreWhenTheRunBegins()
    {
        qputenv("CHILD_REPORT_VARIABLE", "Größe");
        Child child(program(u"child-report"_s));
        qputenv("CHILD_REPORT_VARIABLE", "after");
        child.status();
        QVERIFY(child.lines().contains(u"variable: Größe"_s));
        QVERIFY(child.lines().contains(u"folder: "_s + QDir::currentPath()));
    }

    void theRightToTakeTheFocusIsNotInherited()
    {
        qputenv("XDG_ACTIVATION_TOKEN", "token");
        qputenv("DESKTOP_STARTUP_ID", "identifier");
        const QStringList variables = run(u"/usr/bin/env"_s).lines;
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
        QCOMPARE(report().mid(0, 2), ownStreams);
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
            QCOMPARE(report().mid(0, 2), ownStreams);
    }

    void aLauncherWithoutStandardStreamsRunsChildrenToo()
    {
        QStringList lines;
        Run both;
        {
            const WithoutStandardStreams closed;
            lines = report();
            both = shell(u"echo out; echo error >&2; exit 3"_s);
        }
        QCOMPARE(lines.mid(0, 2), ownStreams);
        QCOMPARE(both, Run({ 3, { u"out"_s, u"error"_s } }));
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
        const QStringList lines = report();
        std::signal(SIGXFSZ, sizeBefore);
        std::signal(SIGTERM, termBefore);
        std::signal(SIGPIPE, pipeBefore);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        QVERIFY2(lines.contains(u"signals:"_s), qPrintable(lines.join(u'\n')));
    }

    void ignoredChildSignalsDoNotHideTheStatus()
    {
        std::signal(SIGCHLD, SIG_IGN);
        const qint32 ignored = shell(u"exit 7"_s).status;
        struct sigaction forgetting = {};
        forgetting.sa_handler = SIG_DFL;
        forgetting.sa_flags = SA_NOCLDWAIT;
        ::sigaction(SIGCHLD, &forgetting, nullptr);
        const qint32 notKept = shell(u"exit 8"_s).status;
        std::signal(SIGCHLD, SIG_DFL);
        QCOMPARE(ignored, 7);
        QCOMPARE(notKept, 8);
        QVERIFY(noneLeft());
    }

    void aChildThatClosesItsOutputAndRunsOnIsWaitedFor()
    {
        const TestHome home;
        const QString done = home.filePath(u"done"_s);
        const auto run = shell(u"echo x; exec >&- 2>&-; sleep 0.3; : > \"$0\"; exit 5"_s, done);
        QCOMPARE(run, Run({ 5, { u"x"_s } }));
        QVERIFY(QFile::exists(done));
    }

    void aGrandchildThatHoldsThePipeDoesNotHoldTheRun()
    {
        const auto run = shell(u"sleep 1000 & echo $!; printf last; exit 4"_s);
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
        QCOMPARE(shell(u"yes & sleep 0.1; exit 6"_s).status, 6);
    }

    void severalRunsAtOnceKeepTheirOutputApart()
    {
        std::vector<Child> children;
        for (int i = 0; i < 8; ++i)
            children.push_back(
                startShell(u"i=0; while [ $i -lt 200 ]; do echo %1; i=$((i + 1)); done; exit %1"_s.arg(i)));
        for (int i = 0; auto &child : children) {
            QCOMPARE(child.status(), i);
            QCOMPARE(child.lines(), QStringList(200, QString::number(i)));
            ++i;
        }
    }

    void noDescriptorIsLeftOpen()
    {
        shell(u"echo x"_s);
        QCoreApplication::processEvents();
        const QStringList before = openFiles();
        const auto cancelled = ProcessController::create();
        cancelled->cancel();
        for (int i = 0; i < 50; ++i) {
            shell(u"echo x"_s);
            run(missingProgram);
            Child(trueProgram, {}, cancelled).status();
        }
        QTRY_COMPARE(openFiles(), before);
    }

    void noRunLeavesItsCallbackBehind()
    {
        const auto held = std::make_shared<int>(0);
        for (const QString &program : { trueProgram, missingProgram })
            Tasks::finish(ProcessController::create()->run(program, {}, [held](const QString &) {}));
        QCOMPARE(held.use_count(), 1);
    }
};

QTEST_GUILESS_MAIN(ProcessControllerTest)
#include "ProcessControllerTest.moc"
