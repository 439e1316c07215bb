#pragma once

#include "ChildEnd.h"

#include <QByteArrayList>
#include <QString>
#include <QStringList>

#include <sys/types.h>

#include <atomic>

/// One child process. Its pid stays reserved, even after its end, until the last owner releases this object:
/// only then is the child reaped, so that a late `terminate` can never signal an unrelated process. Wait for
/// the child's end before releasing it. Any thread, but only one may launch and wait.
///
/// Not QProcess: its buffers grow as fast as a game prints, and it belongs to one thread's event loop.
class ChildProcess final {
public:
    ChildProcess() = default;
    /// Reaps the child, which must have ended.
    ~ChildProcess();
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    /// Starts `executable` with an empty standard input, both output streams to `output`, no other
    /// descriptor, no blocked signals and the current working directory. Returns an errno value, 0 on
    /// success.
    int launch(const QString &executable, const QStringList &arguments, const QByteArrayList &environment,
               int output);

    /// Blocks until the child has ended; a stopped child has not. The status is 255 when the system does not
    /// report one.
    ChildEnd waitForEnd();

    /// Sends SIGTERM. Does nothing before the launch or after the end.
    void terminate() const;
    /// Sends SIGKILL. Does nothing before the launch or after the end.
    void kill() const;

private:
    void send(int signal) const;

    std::atomic<pid_t> m_pid = 0;
};
