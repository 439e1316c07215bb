#pragma once

#include <QByteArrayList>
#include <QCoro/QCoroTask>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <mutex>

class ChildProcess;

/// Runs a child process, with its standard output and standard error merged and passed on line by line. One
/// run at a time; once cancelled, it launches nothing more. Shared, because a run outlives the call.
class ProcessController final : public std::enable_shared_from_this<ProcessController> {
public:
    /// The results of `run` that are not a termination status.
    static constexpr qint32 couldNotStart = -1;
    static constexpr qint32 cancelledBeforeLaunch = -2;

    static std::shared_ptr<ProcessController> create();
    ~ProcessController();
    ProcessController(const ProcessController &) = delete;
    ProcessController &operator=(const ProcessController &) = delete;

    /// Runs `executable` with `arguments` until it ends, in childEnvironment() and the launcher's working
    /// directory, with an empty standard input. Returns the exit status (the signal's number for a child
    /// ended by a signal), `couldNotStart` or `cancelledBeforeLaunch`. Never throws; a child that cannot be
    /// started produces one line that says why. Main thread only; always resumes on a later turn of its event
    /// loop. `onLine` is called on background threads, or on the main thread if the system refuses to create
    /// one, and never after the run is over.
    QCoro::Task<qint32> run(QString executable, QStringList arguments,
                            std::function<void(const QString &)> onLine);

    /// Asks the child to end (SIGTERM), or prevents its launch. Never blocks. Any thread.
    void cancel();

    /// Asks the child to end (SIGTERM) without cancelling: another run may follow. Returns whether there is a
    /// child. Never blocks. Any thread.
    bool terminate();

    /// Kills a child that was asked to end and does not (SIGKILL). Does nothing before the launch or after
    /// the end. Never blocks. Any thread.
    void kill();

    /// Whether `cancel` was called. Any thread.
    bool isCancelled() const;

    /// Whether the run is over and a signal ended the child; its status is then the signal's number. Any
    /// thread.
    bool wasEndedBySignal() const;

private:
    ProcessController();

    qint32 runToEnd(const QString &executable, const QStringList &arguments,
                    const QByteArrayList &environment, std::function<void(const QString &)> onLine);
    bool admit(std::shared_ptr<ChildProcess> process);
    std::shared_ptr<ChildProcess> admitted() const;
    void release(bool endedBySignal);

    mutable std::mutex m_lock;
    std::shared_ptr<ChildProcess> m_process; // guarded by m_lock; null until the run is about to launch it
    bool m_cancelled = false; // guarded by m_lock
    bool m_endedBySignal = false; // guarded by m_lock
};
