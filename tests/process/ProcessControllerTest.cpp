#include "Children.h"
#include "OrdinaryUser.h"
#include "OutputReader.h"
#include "Pipe.h"
#include "TestHome.h"
#include "ThreadLimit.h"

#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

class ProcessControllerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theExitCodeIsTheResult_data();
    void theExitCodeIsTheResult();
    void theNumberOfTheSignalIsTheResult_data();
    void theNumberOfTheSignalIsTheResult();
    void aProgramThatCannotStartGivesOneLine_data();
    void aProgramThatCannotStartGivesOneLine();
    void aLaunchWithoutDescriptorsLeftCannotStart();
    void aRunWithoutAThreadLeftCannotStart();
    void aRunWithoutAThreadLeftEndsOnALaterTurnAndCanBeCancelledUntilThen();
    void aChildThatIsStoppedHasNotEnded();
    void whetherASignalEndedTheChildIsTold_data();
    void whetherASignalEndedTheChildIsTold();
    void theRunEndsOnTheMainThread();
    void linesComeOnOtherThreads();
    void linesComeWhileTheChildRuns();
    void argumentsArriveAsTheyAre();
    void theProgramIsTheFirstArgumentOnlyOnce();
    void environmentAndFolderAreInherited();
    void theRightToTakeTheFocusIsNotInherited();
    void aRunTakesTheEnvironmentAsItIsWhenItBegins();
    void aChildThatWaitsForInputGetsEndOfFileAtOnce();
    void aChildInheritsTheStandardStreamsAndNothingElse();
    void filesThatOtherThreadsOpenMeanwhileAreNotInherited();
    void aLauncherWithoutStandardStreamsRunsChildrenToo();
    void aChildsSignalsAreAsUsual();
    void ignoredChildSignalsDoNotHideTheStatus();
    void aChildThatClosesItsOutputAndRunsOnIsWaitedFor();
    void aGrandchildThatHoldsThePipeDoesNotHoldTheRun();
    void aGrandchildThatFloodsThePipeDoesNotHoldTheRun();
    void severalRunsAtOnceKeepTheirOutputApart();
    void noDescriptorIsLeftOpen();
    void noZombieIsLeft();
    void noRunLeavesItsCallbackBehind();
};

void ProcessControllerTest::theExitCodeIsTheResult_data()
{
    QTest::addColumn<qint32>("code");
    for (const qint32 code : { 0, 1, 42, 127, 255 })
        QTest::addRow("%d", code) << code;
}

void ProcessControllerTest::theExitCodeIsTheResult()
{
    QFETCH(qint32, code);
    const auto run = Children::shell(QStringLiteral("exit %1").arg(code));
    QCOMPARE(run.status, code);
    QVERIFY(run.lines.isEmpty());
}

void ProcessControllerTest::theNumberOfTheSignalIsTheResult_data()
{
    QTest::addColumn<int>("signal");
    for (const int signal : { SIGTERM, SIGKILL, SIGSEGV, SIGABRT })
        QTest::addRow("%d", signal) << signal;
}

void ProcessControllerTest::theNumberOfTheSignalIsTheResult()
{
    QFETCH(int, signal);
    const auto run = Children::shell(QStringLiteral("ulimit -c 0; kill -%1 $$").arg(signal));
    QCOMPARE(run.status, signal);
}

void ProcessControllerTest::aProgramThatCannotStartGivesOneLine_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("line");
    const QString start = QStringLiteral("Could not start ");
    QTest::newRow("missing") << QStringLiteral("no such game") << QByteArray() << 0
                             << start + QStringLiteral("no such game: No such file or directory");
    QTest::newRow("not executable") << QStringLiteral("game") << QByteArray("#!/bin/sh\n") << 0644
                                    << start + QStringLiteral("game: Permission denied");
    QTest::newRow("no program") << QStringLiteral("game") << QByteArray("just text\n") << 0755
                                << start + QStringLiteral("game: Exec format error");
    QTest::newRow("empty file") << QStringLiteral("game") << QByteArray() << 0755
                                << start + QStringLiteral("game: Exec format error");
    QTest::newRow("missing interpreter") << QStringLiteral("game") << QByteArray("#!/no/such/shell\n") << 0755
                                         << start + QStringLiteral("game: No such file or directory");
    QTest::newRow("folder") << QStringLiteral("Größe.app") << QByteArray() << -1
                            << start + QStringLiteral("Größe.app: Permission denied");
    QTest::newRow("below a file") << QStringLiteral("file/game") << QByteArray() << 0
                                  << start + QStringLiteral("game: Not a directory");
    QTest::newRow("placeholders") << QStringLiteral("%2 %1") << QByteArray() << 0
                                  << start + QStringLiteral("%2 %1: No such file or directory");
}

void ProcessControllerTest::aProgramThatCannotStartGivesOneLine()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    QFETCH(int, mode);
    QFETCH(QString, line);
    const TestHome home;
    home.write(QStringLiteral("file"), "1");
    if (mode > 0)
        QCOMPARE(::chmod(QFile::encodeName(home.write(name, content)).constData(), static_cast<mode_t>(mode)),
                 0);
    else if (mode < 0)
        QVERIFY(QDir().mkpath(home.filePath(name)));
    const auto run = Children::run(home.filePath(name));
    QCOMPARE(run.status, ProcessController::couldNotStart);
    QCOMPARE(run.lines, QStringList(line));
    QVERIFY(Children::noneLeft());
}

void ProcessControllerTest::aLaunchWithoutDescriptorsLeftCannotStart()
{
    const int before = Children::openDescriptors();
    std::vector<FileDescriptor> taken;
    for (;;) {
        FileDescriptor next(::fcntl(0, F_DUPFD_CLOEXEC, 0));
        if (next.get() < 0)
            break;
        taken.push_back(std::move(next));
    }
    const auto none = Children::shell(QStringLiteral("echo ran"));
    taken.resize(taken.size() - 3);
    const auto tooFew = Children::shell(QStringLiteral("echo ran"));
    taken.clear();
    const QStringList line(QStringLiteral("Could not start sh: Too many open files"));
    QCOMPARE(none.status, ProcessController::couldNotStart);
    QCOMPARE(none.lines, line);
    QCOMPARE(tooFew.status, ProcessController::couldNotStart);
    QCOMPARE(tooFew.lines, line);
    QCOMPARE(Children::openDescriptors(), before);
}

void ProcessControllerTest::aRunWithoutAThreadLeftCannotStart()
{
    QVERIFY(OrdinaryUser::run([] {
        const ThreadLimit none;
        OutputReader reader([](const QString &) {});
        if (reader.start() != EAGAIN)
            return false;
        const auto run = Children::shell(QStringLiteral("echo ran"));
        return run.status == ProcessController::couldNotStart
            && run.lines
            == QStringList(QStringLiteral("Could not start sh: Resource temporarily unavailable"));
    }));
}

void ProcessControllerTest::aRunWithoutAThreadLeftEndsOnALaterTurnAndCanBeCancelledUntilThen()
{
    QVERIFY(OrdinaryUser::run([] {
        const ThreadLimit none;
        Children::Lines lines;
        const auto controller = ProcessController::create();
        auto task = controller->run(QStringLiteral("/bin/true"), {}, lines.adder());
        const bool isLater = !task.isReady() && lines.all().isEmpty();
        controller->cancel();
        return isLater && Tasks::finish(std::move(task)) == ProcessController::cancelledBeforeLaunch
            && lines.all().isEmpty();
    }));
}

void ProcessControllerTest::aChildThatIsStoppedHasNotEnded()
{
    Children::Lines lines;
    auto task = ProcessController::create()->run(
        QStringLiteral("/bin/sh"),
        { QStringLiteral("-c"), QStringLiteral("echo $$; kill -STOP $$; echo on; exit 3") }, lines.adder());
    QTRY_COMPARE(lines.all().size(), 1);
    const QByteArray child = lines.all().first().toLatin1();
    QTRY_VERIFY([&child] {
        QFile state(QStringLiteral("/proc/%1/stat").arg(QLatin1StringView(child)));
        return state.open(QIODevice::ReadOnly) && state.readAll().contains(") T ");
    }());
    QTest::qWait(50); // long enough for a stop mistaken for an end to arrive
    QVERIFY(!task.isReady());
    QCOMPARE(::kill(child.toInt(), SIGCONT), 0);
    QCOMPARE(Tasks::finish(std::move(task)), 3);
    QCOMPARE(lines.all().last(), QStringLiteral("on"));
}

void ProcessControllerTest::whetherASignalEndedTheChildIsTold_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<bool>("bySignal");
    QTest::newRow("exit code 9") << QStringLiteral("exit 9") << false;
    QTest::newRow("signal 9") << QStringLiteral("kill -KILL $$") << true;
    QTest::newRow("signal 11") << QStringLiteral("ulimit -c 0; kill -SEGV $$") << true;
}

void ProcessControllerTest::whetherASignalEndedTheChildIsTold()
{
    QFETCH(QString, script);
    QFETCH(bool, bySignal);
    const auto controller = ProcessController::create();
    Tasks::finish(
        controller->run(QStringLiteral("/bin/sh"), { QStringLiteral("-c"), script }, [](const QString &) {}));
    QCOMPARE(controller->wasEndedBySignal(), bySignal);
}

void ProcessControllerTest::theRunEndsOnTheMainThread()
{
    const auto resumedOn = [](std::shared_ptr<ProcessController> controller) -> QCoro::Task<QThread *> {
        const QString program = QStringLiteral("/bin/true");
        const QStringList none;
        const std::function<void(const QString &)> ignore = [](const QString &) {};
        co_await controller->run(program, none, ignore);
        co_return QThread::currentThread();
    };
    QCOMPARE(Tasks::finish(resumedOn(ProcessController::create())), QThread::currentThread());
}

void ProcessControllerTest::linesComeOnOtherThreads()
{
    std::atomic<bool> isOther = false;
    const auto main = std::this_thread::get_id();
    Tasks::finish(ProcessController::create()->run(
        QStringLiteral("/bin/echo"), { QStringLiteral("x") },
        [&](const QString &) { isOther = std::this_thread::get_id() != main; }));
    QVERIFY(isOther);
}

void ProcessControllerTest::linesComeWhileTheChildRuns()
{
    const TestHome home;
    const QString go = home.filePath(QStringLiteral("go"));
    Children::Lines lines;
    auto task = ProcessController::create()->run(
        QStringLiteral("/bin/sh"),
        { QStringLiteral("-c"),
          QStringLiteral("echo early; while [ ! -e \"$0\" ]; do sleep 0.01; done; echo late"), go },
        lines.adder());
    QTRY_COMPARE(lines.all(), QStringList(QStringLiteral("early")));
    home.write(QStringLiteral("go"), {});
    QCOMPARE(Tasks::finish(std::move(task)), 0);
    QCOMPARE(lines.all(), QStringList({ QStringLiteral("early"), QStringLiteral("late") }));
}

void ProcessControllerTest::argumentsArriveAsTheyAre()
{
    const QStringList arguments { QStringLiteral("--path"), QStringLiteral("a b"), QString(),
                                  QStringLiteral("\"'$HOME*\\"), QStringLiteral("Größe 😀") };
    QStringList expected;
    for (const QString &argument : arguments)
        expected.append(QStringLiteral("argument: <%1>").arg(argument));
    const auto run = Children::run(Children::program(QStringLiteral("child-report")), arguments);
    QCOMPARE(run.lines.filter(QStringLiteral("argument: ")), expected);
}

void ProcessControllerTest::theProgramIsTheFirstArgumentOnlyOnce()
{
    const QString program = Children::program(QStringLiteral("child-report"));
    const auto run = Children::run(program);
    QVERIFY(run.lines.contains(QStringLiteral("program: ") + program));
    QVERIFY(run.lines.filter(QStringLiteral("argument: ")).isEmpty());
}

void ProcessControllerTest::environmentAndFolderAreInherited()
{
    qputenv("CHILD_REPORT_VARIABLE", "Größe");
    const auto run = Children::run(Children::program(QStringLiteral("child-report")));
    qunsetenv("CHILD_REPORT_VARIABLE");
    QVERIFY(run.lines.contains(QStringLiteral("variable: Größe")));
    QVERIFY(run.lines.contains(QStringLiteral("folder: ") + QDir::currentPath()));
}

void ProcessControllerTest::theRightToTakeTheFocusIsNotInherited()
{
    qputenv("XDG_ACTIVATION_TOKEN", "token");
    qputenv("DESKTOP_STARTUP_ID", "identifier");
    const auto run = Children::run(QStringLiteral("/usr/bin/env"));
    qunsetenv("XDG_ACTIVATION_TOKEN");
    qunsetenv("DESKTOP_STARTUP_ID");
    QVERIFY(!run.lines.isEmpty());
    QVERIFY(
        run.lines.filter(QRegularExpression(QStringLiteral("^(XDG_ACTIVATION|DESKTOP_STARTUP)"))).isEmpty());
}

void ProcessControllerTest::aRunTakesTheEnvironmentAsItIsWhenItBegins()
{
    qputenv("CHILD_REPORT_VARIABLE", "before");
    Children::Lines lines;
    auto task = ProcessController::create()->run(Children::program(QStringLiteral("child-report")), {},
                                                 lines.adder());
    qputenv("CHILD_REPORT_VARIABLE", "after");
    Tasks::finish(std::move(task));
    qunsetenv("CHILD_REPORT_VARIABLE");
    QVERIFY(lines.all().contains(QStringLiteral("variable: before")));
}

void ProcessControllerTest::aChildThatWaitsForInputGetsEndOfFileAtOnce()
{
    const auto run = Children::shell(QStringLiteral("read line; echo \"$? <$line>\"; cat; echo end"));
    QCOMPARE(run.lines, QStringList({ QStringLiteral("1 <>"), QStringLiteral("end") }));
}

void ProcessControllerTest::aChildInheritsTheStandardStreamsAndNothingElse()
{
    // Without O_CLOEXEC, so that an ordinary launch would pass it on.
    const FileDescriptor secret(::open("/dev/null", O_RDONLY));
    QVERIFY(secret.get() > 2);
    const auto run = Children::run(Children::program(QStringLiteral("child-report")));
    QVERIFY2(run.lines.contains(QStringLiteral("descriptors: 0 1 2")), qPrintable(run.lines.join(u'\n')));
    QVERIFY(run.lines.contains(QStringLiteral("input: 0")));
}

void ProcessControllerTest::filesThatOtherThreadsOpenMeanwhileAreNotInherited()
{
    std::atomic<bool> goesOn = true;
    std::vector<std::thread> openers;
    for (int i = 0; i < 4; ++i) {
        openers.emplace_back([&goesOn] {
            while (goesOn)
                const FileDescriptor inheritable(::open("/dev/null", O_RDONLY));
        });
    }
    int runs = 0;
    int clean = 0;
    for (; runs < 50; ++runs) {
        const auto run = Children::run(Children::program(QStringLiteral("child-report")));
        clean += run.lines.contains(QStringLiteral("descriptors: 0 1 2")) ? 1 : 0;
    }
    goesOn = false;
    for (std::thread &opener : openers)
        opener.join();
    QCOMPARE(clean, runs);
}

void ProcessControllerTest::aLauncherWithoutStandardStreamsRunsChildrenToo()
{
    std::vector<FileDescriptor> kept;
    for (int stream = 0; stream < 3; ++stream) {
        kept.emplace_back(::fcntl(stream, F_DUPFD_CLOEXEC, 100));
        ::close(stream);
    }
    const auto report = Children::run(Children::program(QStringLiteral("child-report")));
    const auto both = Children::shell(QStringLiteral("echo out; echo error >&2; exit 3"));
    for (int stream = 0; stream < 3; ++stream) {
        if (kept[static_cast<size_t>(stream)].get() >= 0)
            ::dup2(kept[static_cast<size_t>(stream)].get(), stream);
    }
    QVERIFY2(report.lines.contains(QStringLiteral("descriptors: 0 1 2")),
             qPrintable(report.lines.join(u'\n')));
    QVERIFY(report.lines.contains(QStringLiteral("input: 0")));
    QCOMPARE(both.status, 3);
    QCOMPARE(both.lines, QStringList({ QStringLiteral("out"), QStringLiteral("error") }));
}

void ProcessControllerTest::aChildsSignalsAreAsUsual()
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
    const auto run = Children::run(Children::program(QStringLiteral("child-report")));
    std::signal(SIGXFSZ, sizeBefore);
    std::signal(SIGTERM, termBefore);
    std::signal(SIGPIPE, pipeBefore);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    QVERIFY2(run.lines.contains(QStringLiteral("signals:")), qPrintable(run.lines.join(u'\n')));
}

void ProcessControllerTest::ignoredChildSignalsDoNotHideTheStatus()
{
    std::signal(SIGCHLD, SIG_IGN);
    const auto run = Children::shell(QStringLiteral("exit 7"));
    struct sigaction forgetting = {};
    forgetting.sa_handler = SIG_DFL;
    forgetting.sa_flags = SA_NOCLDWAIT;
    ::sigaction(SIGCHLD, &forgetting, nullptr);
    const auto other = Children::shell(QStringLiteral("exit 8"));
    std::signal(SIGCHLD, SIG_DFL);
    QCOMPARE(run.status, 7);
    QCOMPARE(other.status, 8);
    QVERIFY(Children::noneLeft());
}

void ProcessControllerTest::aChildThatClosesItsOutputAndRunsOnIsWaitedFor()
{
    const TestHome home;
    const QString done = home.filePath(QStringLiteral("done"));
    const auto run
        = Children::run(QStringLiteral("/bin/sh"),
                        { QStringLiteral("-c"),
                          QStringLiteral("echo x; exec >&- 2>&-; sleep 0.3; : > \"$0\"; exit 5"), done });
    QCOMPARE(run.status, 5);
    QCOMPARE(run.lines, QStringList(QStringLiteral("x")));
    QVERIFY(QFile::exists(done));
}

void ProcessControllerTest::aGrandchildThatHoldsThePipeDoesNotHoldTheRun()
{
    const auto run = Children::shell(QStringLiteral("sleep 1000 & echo $!; printf last; exit 4"));
    QCOMPARE(run.status, 4);
    QCOMPARE(run.lines.size(), 2);
    QCOMPARE(run.lines.last(), QStringLiteral("last"));
    const pid_t grandchild = run.lines.first().toInt();
    QVERIFY(grandchild > 0);
    QCOMPARE(::kill(grandchild, SIGKILL), 0); // it was alive
}

void ProcessControllerTest::aGrandchildThatFloodsThePipeDoesNotHoldTheRun()
{
    // The flood ends by itself once the pipe is closed.
    const auto run = Children::shell(QStringLiteral("yes & sleep 0.1; exit 6"));
    QCOMPARE(run.status, 6);
}

void ProcessControllerTest::severalRunsAtOnceKeepTheirOutputApart()
{
    constexpr int count = 8;
    std::vector<Children::Lines> lines(count);
    std::vector<QCoro::Task<qint32>> tasks;
    for (int i = 0; i < count; ++i) {
        const QString script
            = QStringLiteral("i=0; while [ $i -lt 200 ]; do echo %1; i=$((i + 1)); done; exit %1").arg(i);
        tasks.push_back(ProcessController::create()->run(QStringLiteral("/bin/sh"),
                                                         { QStringLiteral("-c"), script },
                                                         lines[static_cast<size_t>(i)].adder()));
    }
    for (int i = 0; i < count; ++i) {
        QCOMPARE(Tasks::finish(std::move(tasks[static_cast<size_t>(i)])), i);
        QCOMPARE(lines[static_cast<size_t>(i)].all(), QStringList(200, QString::number(i)));
    }
}

void ProcessControllerTest::noDescriptorIsLeftOpen()
{
    Children::shell(QStringLiteral("echo x"));
    QCoreApplication::processEvents();
    const int before = Children::openDescriptors();
    for (int i = 0; i < 50; ++i) {
        Children::shell(QStringLiteral("echo x"));
        Children::run(QStringLiteral("/no/such/program"));
        const auto cancelled = ProcessController::create();
        cancelled->cancel();
        Tasks::finish(cancelled->run(QStringLiteral("/bin/true"), {}, [](const QString &) {}));
    }
    QTRY_COMPARE(Children::openDescriptors(), before);
}

void ProcessControllerTest::noZombieIsLeft()
{
    const auto controller = ProcessController::create();
    QCOMPARE(Tasks::finish(controller->run(QStringLiteral("/bin/true"), {}, [](const QString &) {})), 0);
    QVERIFY(Children::noneLeft());
}

void ProcessControllerTest::noRunLeavesItsCallbackBehind()
{
    const auto held = std::make_shared<int>(0);
    for (const QString &program : { QStringLiteral("/bin/true"), QStringLiteral("/no/such/program") })
        Tasks::finish(ProcessController::create()->run(program, {}, [held](const QString &) {}));
    QCOMPARE(held.use_count(), 1);
}

QTEST_GUILESS_MAIN(ProcessControllerTest)
#include "ProcessControllerTest.moc"
