#pragma once

#include "ProcessController.h"
#include "Tasks.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>

/// Runs real child processes to their ends.
namespace Children {

/// Collects lines. Thread-safe.
class Lines final {
public:
    std::function<void(const QString &)> adder()
    {
        return [this](const QString &line) {
            const std::lock_guard lock(m_lock);
            m_lines.append(line);
        };
    }

    QStringList all() const
    {
        const std::lock_guard lock(m_lock);
        return m_lines;
    }

private:
    mutable std::mutex m_lock;
    QStringList m_lines;
};

/// Runs a real event loop until `task` has ended. Tasks::finish sleeps between two turns, which would hold up
/// a flood of output.
inline qint32 finishQuickly(QCoro::Task<qint32> task)
{
    QEventLoop loop;
    constexpr qint32 notEnded = -3;
    qint32 status = notEnded;
    const auto waiting = [](QCoro::Task<qint32> run, QEventLoop *toQuit, qint32 *into) -> QCoro::Task<> {
        *into = co_await run;
        toQuit->quit();
    };
    const auto waitingForIt = waiting(std::move(task), &loop, &status);
    if (status == notEnded)
        loop.exec();
    return status;
}

struct Run {
    qint32 status = 0;
    QStringList lines;
};

inline Run run(const QString &executable, const QStringList &arguments = {})
{
    Lines lines;
    const qint32 status
        = Tasks::finish(ProcessController::create()->run(executable, arguments, lines.adder()));
    return { status, lines.all() };
}

/// Runs `script` in the shell.
inline Run shell(const QString &script)
{
    return run(QStringLiteral("/bin/sh"), { QStringLiteral("-c"), script });
}

/// The path of a program that is built beside the tests.
inline QString program(const QString &name) { return QCoreApplication::applicationDirPath() + u'/' + name; }

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
    files.removeAll(QStringLiteral("anon_inode:[eventfd]"));
    files.sort();
    return files;
}

inline int openDescriptors()
{
    int count = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor)
        count += fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
    return count;
}

}
