// What only the system calls reveal: this program replaces some of the system's functions and checks the
// launcher whenever one of them is called.

#include "Children.h"
#include "GameRunner.h"

#include <QTest>

#include <dlfcn.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <ctime>
#include <future>
#include <thread>

using namespace Children;
using namespace Qt::StringLiterals;

namespace {

std::atomic<time_t> wallClockIsAhead = 0; // seconds

std::shared_ptr<ProcessController> watched;
std::atomic<int> callsSeen = 0;
std::atomic<int> callsUnderTheLock = 0;

/// Counts a call, and whether the watched controller's lock is held during it: isCancelled() then blocks.
void noteCall()
{
    if (!watched)
        return;
    ++callsSeen;
    std::promise<void> isAnswered;
    auto answer = isAnswered.get_future();
    std::thread([controller = watched, promise = std::move(isAnswered)]() mutable {
        controller->isCancelled();
        promise.set_value();
    }).detach();
    if (answer.wait_for(std::chrono::seconds(5)) != std::future_status::ready)
        ++callsUnderTheLock;
}

}

extern "C" int clock_gettime(clockid_t clock, timespec *time) noexcept
{
    const long result = ::syscall(SYS_clock_gettime, clock, time);
    if (result == 0 && clock == CLOCK_REALTIME)
        time->tv_sec += wallClockIsAhead;
    return static_cast<int>(result);
}

extern "C" int kill(pid_t process, int signal) noexcept
{
    noteCall();
    return static_cast<int>(::syscall(SYS_kill, process, signal));
}

extern "C" int posix_spawn(pid_t *process, const char *path, const posix_spawn_file_actions_t *actions,
                           const posix_spawnattr_t *attributes, char *const arguments[],
                           char *const environment[])
{
    noteCall();
    const auto original = reinterpret_cast<decltype(&posix_spawn)>(::dlsym(RTLD_NEXT, "posix_spawn"));
    return original(process, path, actions, attributes, arguments, environment);
}

class SystemCallsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theDurationOfAGameIsItsOwnWhenTheWallClockIsSet()
    {
        const auto now
            = [] { return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()); };
        constexpr time_t day = 86'400;
        for (const time_t ahead : { -day, day }) {
            LogStore log;
            GameRunner runner;
            std::optional<GameExit> exit;
            runner.launch(u"/bin/sleep"_s, { u"0.3"_s }, log,
                          [&exit](const GameExit &reported) { exit = reported; });
            const time_t before = now();
            wallClockIsAhead = ahead;
            const time_t after = now();
            const bool hasEnded = QTest::qWaitFor([&exit] { return exit.has_value(); }, 20'000);
            wallClockIsAhead = 0;
            QVERIFY(std::abs(after - before - ahead) < 60); // the clock was set
            QVERIFY(hasEnded);
            QVERIFY2(exit->seconds >= 0.3 && exit->seconds < 20, qPrintable(QString::number(exit->seconds)));
        }
    }

    void theControllersLockIsNotHeldWhileAChildIsLaunchedOrSignalled()
    {
        watched = ProcessController::create();
        Child child(shellProgram, script(stubborn), watched);
        QTRY_COMPARE(child.lines().size(), 1);
        QCOMPARE(callsSeen, 1);
        // A cancel() during the launch has no effect, so it is repeated.
        const bool isAsked = QTest::qWaitFor([] {
            watched->cancel();
            return callsSeen > 1;
        });
        callsSeen = 0;
        watched->kill();
        const qint32 status = child.status();
        watched.reset();
        QVERIFY(isAsked);
        QCOMPARE(callsSeen, 1);
        QCOMPARE(status, SIGKILL);
        QCOMPARE(callsUnderTheLock, 0);
    }
};

QTEST_GUILESS_MAIN(SystemCallsTest)
#include "SystemCallsTest.moc"
