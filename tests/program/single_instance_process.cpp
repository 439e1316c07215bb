// A process that tries to be the single instance for a folder, for SingleInstanceTest:
//
//     single_instance_process ROOT PATIENCE [silent] [with-child]
//
// prints the outcome. The one that holds the folder runs until its standard input ends, and prints a line
// whenever it is asked to come forward; if silent, it never answers. With a child, it first starts a process
// that outlives it and prints its process ID. If set, FOLDER_LOCK_ERROR is how locking a folder fails.

#include "SingleInstance.h"

#include <QCoreApplication>
#include <QMap>
#include <QProcess>
#include <QSocketNotifier>

#include <cstdio>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#if defined(Q_OS_LINUX)
/// Replaces the system's function to simulate a file system that cannot lock folders.
extern "C" int flock(int descriptor, int operation) noexcept
{
    struct stat status = {};
    const QByteArray name = qgetenv("FOLDER_LOCK_ERROR");
    if (!name.isEmpty() && ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        errno = name == "EBADF" ? EBADF : ENOLCK;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_flock, descriptor, operation));
}
#endif

namespace {

void say(const QByteArray &line)
{
    std::puts(line.constData());
    std::fflush(stdout);
}

}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    SingleInstance instance(arguments.at(1));
    QObject::connect(&instance, &SingleInstance::cameForward, &instance,
                     [](const QByteArray &token) { say("came forward [" + token + "]"); });
    using Outcome = SingleInstance::Outcome;
    const Outcome outcome = instance.begin(std::chrono::milliseconds(arguments.at(2).toInt()));
    if (outcome == Outcome::Holds && arguments.contains(QStringLiteral("with-child"))) {
        qint64 child = 0;
        QProcess::startDetached(QStringLiteral("sleep"), { QStringLiteral("60") }, QString(), &child);
        say(QByteArray::number(child));
    }
    static const QMap<Outcome, QByteArray> words { { Outcome::Holds, "holds" },
                                                   { Outcome::CannotHold, "cannot hold" },
                                                   { Outcome::OtherCameForward, "other came forward" },
                                                   { Outcome::OtherIsSilent, "other is silent" },
                                                   { Outcome::HeldByUnknown, "held by unknown" } };
    say(words.value(outcome));
    if (outcome != Outcome::Holds)
        return 0;
    if (arguments.contains(QStringLiteral("silent"))) {
        char byte = 0;
        while (::read(STDIN_FILENO, &byte, 1) > 0) { }
        return 0;
    }
    QSocketNotifier end(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&end, &QSocketNotifier::activated, &application, [] { QCoreApplication::quit(); });
    return QCoreApplication::exec();
}
