#pragma once

#include "FileDescriptor.h"
#include "ProcessController.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTest>
#include <QTimer>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <mutex>
#include <optional>
#include <vector>

/// Runs real child processes.
namespace Children {

using namespace Qt::StringLiterals;

inline const QString shellProgram = u"/bin/sh"_s;
inline const QString trueProgram = u"/bin/true"_s;
inline const QString missingProgram = u"/no/such/program"_s;

/// Scripts that print a line once they run. The first then runs until SIGTERM, the second until SIGKILL.
inline const QString endless = u"echo ready; exec sleep 1000"_s;
inline const QString stubborn = u"trap '' TERM; echo ready; while :; do sleep 0.01; done"_s;

/// What makes the shell run `text`, with `parameter` as its $0.
inline QStringList script(const QString &text, const QString &parameter = u"sh"_s)
{
    return { u"-c"_s, text, parameter };
}

/// Runs the event loop until `task` has ended and returns its result. Not Tasks::finish: it sleeps between
/// two turns, which would hold up a flood.
inline qint32 finish(QCoro::Task<qint32> task)
{
    QEventLoop loop;
    std::optional<qint32> status;
    const auto waiting
        = [](QCoro::Task<qint32> run, QEventLoop *toQuit, std::optional<qint32> *into) -> QCoro::Task<> {
        *into = co_await run;
        toQuit->quit();
    };
    const auto waitingForIt = waiting(std::move(task), &loop, &status);
    QTimer::singleShot(std::chrono::seconds(20), &loop, [] { qFatal("A run did not end."); });
    if (!status)
        loop.exec();
    return *status;
}

/// A run that has begun. It may outlive this object.
struct Child {
    explicit Child(const QString &program, const QStringList &arguments = {},
                   std::shared_ptr<ProcessController> runner = ProcessController::create())
        : controller(std::move(runner))
        , task(controller->run(program, arguments, [to = kept](const QString &line) {
            const std::lock_guard lock(to->lock);
            to->lines.append(line);
        }))
    {
    }

    QStringList lines() const
    {
        const std::lock_guard lock(kept->lock);
        return kept->lines;
    }

    /// Waits until the run is over and returns its result.
    qint32 status() { return finish(std::move(task)); }

    struct Kept {
        std::mutex lock;
        QStringList lines; // guarded by lock
    };
    std::shared_ptr<Kept> kept = std::make_shared<Kept>();
    std::shared_ptr<ProcessController> controller;
    QCoro::Task<qint32> task;
};

/// Begins to run `text` in the shell, with `parameter` as its $0.
inline Child startShell(const QString &text, const QString &parameter = u"sh"_s)
{
    return Child(shellProgram, script(text, parameter));
}

/// The same, once it has printed its first line.
inline Child startedShell(const QString &text, const QString &parameter = u"sh"_s)
{
    Child child = startShell(text, parameter);
    if (!QTest::qWaitFor([&child] { return !child.lines().isEmpty(); }, 20'000))
        qFatal("A script printed nothing.");
    return child;
}

/// A run that is over.
struct Run {
    qint32 status = 0;
    QStringList lines;

    bool operator==(const Run &) const = default;
};

/// Describes `run` in a failed comparison.
inline char *toString(const Run &run)
{
    return qstrdup(qPrintable(u"%1 after “%2”"_s.arg(run.status).arg(run.lines.join(u'|'))));
}

inline Run run(const QString &program, const QStringList &arguments = {})
{
    Child child(program, arguments);
    const qint32 status = child.status();
    return { status, child.lines() };
}

inline Run shell(const QString &text, const QString &parameter = u"sh"_s)
{
    return run(shellProgram, script(text, parameter));
}

/// The path of a program that is built beside the tests.
inline QString program(const QString &name) { return QCoreApplication::applicationDirPath() + u'/' + name; }

/// The lines of a child that prints what it was started with.
inline QStringList report(const QStringList &arguments = {})
{
    return run(program(u"child-report"_s), arguments).lines;
}

/// Whether this process has no child, not even a zombie.
inline bool noneLeft()
{
    siginfo_t info = {};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == -1 && errno == ECHILD;
}

/// Whether no child of this process is a zombie; children may still run.
inline bool noZombie()
{
    siginfo_t info = {};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == -1 || info.si_pid == 0;
}

/// Closes the standard streams from `first` on for as long as this object lives.
class WithoutStandardStreams final {
public:
    explicit WithoutStandardStreams(int first = 0)
        : m_first(first)
    {
        for (int stream = m_first; stream < 3; ++stream) {
            m_kept.emplace_back(::fcntl(stream, F_DUPFD_CLOEXEC, 100));
            ::close(stream);
        }
    }
    ~WithoutStandardStreams()
    {
        for (int stream = m_first; const FileDescriptor &kept : m_kept) {
            if (kept.isOpen())
                ::dup2(kept.get(), stream);
            ++stream;
        }
    }
    Q_DISABLE_COPY_MOVE(WithoutStandardStreams)

private:
    const int m_first;
    std::vector<FileDescriptor> m_kept;
};

/// The target of every open descriptor, sorted. Omits the eventfds that wake Qt's pool threads: each thread
/// creates one on first use and keeps it.
inline QStringList openFiles()
{
    QStringList files;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        char target[256] = {};
        const QByteArray name = "/proc/self/fd/" + QByteArray::number(descriptor);
        if (readlink(name.constData(), target, sizeof target - 1) > 0)
            files << QString::fromLocal8Bit(target);
    }
    files.removeAll(u"anon_inode:[eventfd]"_s);
    files.sort();
    return files;
}

}
