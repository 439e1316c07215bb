#pragma once

#include "ChildEnd.h"

#include <QByteArrayList>
#include <QString>
#include <QStringList>

#include <sys/types.h>

#include <atomic>

/// One child process. Its number stays its own, even after its end, until the last holder of this object lets
/// go: only then is the child reaped, so that a late `terminate` can never reach a stranger. Whoever launches
/// it waits for its end before letting go. Any thread, but one to launch and wait.
///
/// Not QProcess: its buffers grow as fast as a game prints, and it belongs to one thread's event loop.
class ChildProcess final {
public:
    ChildProcess() = default;
    /// Reaps the child, which has ended.
    ~ChildProcess();
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    /// Starts `executable`: nothing to read on standard input, both output streams to `output`, no other
    /// descriptor, no signal blocked, the working directory as it is. An errno value, 0 for success.
    int launch(const QString &executable, const QStringList &arguments, const QByteArrayList &environment,
               int output);

    /// Blocks until the child has ended; a child that is only stopped has not. Status 255 when the system
    /// does not say how.
    ChildEnd waitForEnd();

    /// Sends SIGTERM. Nothing happens before the launch and after the end.
    void terminate() const;
    /// Sends SIGKILL, likewise.
    void kill() const;

private:
    void send(int signal) const;

    std::atomic<pid_t> m_pid = 0;
};
