#pragma once

#include <QByteArrayList>
#include <QCoro/QCoroTask>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <mutex>

class ChildProcess;

/// One run of one child process, its standard output and standard error merged and handed on line by line as
/// they come. A controller serves one run; a cancelled one is spent. Shared, because the run outlives the
/// call.
class ProcessController final : public std::enable_shared_from_this<ProcessController> {
public:
    /// The results of `run` that are not a termination status.
    static constexpr qint32 couldNotStart = -1;
    static constexpr qint32 cancelledBeforeLaunch = -2;

    static std::shared_ptr<ProcessController> create();
    ~ProcessController();
    ProcessController(const ProcessController &) = delete;
    ProcessController &operator=(const ProcessController &) = delete;

    /// Runs `executable` with `arguments` to its end, in childEnvironment() and the launcher's own working
    /// directory, with nothing to read on standard input, and gives its exit status (the signal's number for
    /// a child that a signal ended), `couldNotStart` or `cancelledBeforeLaunch`. Never throws. A child that
    /// could not be started gives one line that says why. Call it on the main thread, which it also resumes
    /// on, always on a later turn. `onLine` is called on background threads, or on the main thread where the
    /// system refused the run a thread, and never again once the run is over.
    QCoro::Task<qint32> run(QString executable, QStringList arguments,
                            std::function<void(const QString &)> onLine);

    /// Asks the child to end (SIGTERM), now or before its launch. Never waits. Any thread.
    void cancel();

    /// Ends a child that was asked to end and does not (SIGKILL). Does nothing before the launch and after
    /// the end. Never waits. Any thread.
    void kill();

    /// Whether `cancel` was called. Any thread.
    bool isCancelled() const;

    /// Whether the run is over and it was a signal that ended the child: its status is then the signal's
    /// number. Any thread.
    bool wasEndedBySignal() const;

private:
    ProcessController();

    qint32 runToEnd(const QString &executable, const QStringList &arguments,
                    const QByteArrayList &environment, std::function<void(const QString &)> onLine);
    bool admit(std::shared_ptr<ChildProcess> process);
    std::shared_ptr<ChildProcess> admitted() const;
    void release(bool endedBySignal);

    mutable std::mutex m_lock;
    std::shared_ptr<ChildProcess> m_process; // guarded by m_lock; none until the run is about to launch it
    bool m_cancelled = false; // guarded by m_lock
    bool m_endedBySignal = false; // guarded by m_lock
};
