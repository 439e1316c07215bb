#include "ProcessController.h"

#include "ChildEnvironment.h"
#include "ChildProcess.h"
#include "Completion.h"
#include "ErrnoText.h"
#include "MainThread.h"
#include "OutputReader.h"

#include <QFileInfo>

#include <system_error>
#include <thread>

namespace {

QString couldNotStartLine(const QString &executable, int error)
{
    return QStringLiteral("Could not start %1: %2")
        .arg(QFileInfo(executable).fileName(), QString::fromStdString(errnoText(error)));
}

/// Returns an errno value, 0 on success.
///
/// Not a pool thread: a run occupies its thread for the game's whole life. The pool's other tasks would have
/// to wait for it, and so would the program's exit if the game never ended.
template <typename Work> int startOwnThread(Work work)
{
    try {
        std::thread(std::move(work)).detach();
    } catch (const std::system_error &noThread) {
        return noThread.code().value();
    }
    return 0;
}

}

std::shared_ptr<ProcessController> ProcessController::create()
{
    return std::shared_ptr<ProcessController>(new ProcessController);
}

ProcessController::ProcessController() = default;
ProcessController::~ProcessController() = default;

QCoro::Task<qint32> ProcessController::run(QString executable, QStringList arguments,
                                           std::function<void(const QString &)> onLine)
{
    const auto kept = shared_from_this();
    const Completion<qint32> completion;
    const QByteArrayList environment = childEnvironment();
    const int error
        = startOwnThread([self = kept, executable, arguments, environment, onLine, completion]() mutable {
              const qint32 status = self->runToEnd(executable, arguments, environment, std::move(onLine));
              self.reset();
              postToMainThread([completion, status] { completion.settle(status); });
          });
    if (error != 0) {
        // This run, too, must not end before its caller has returned, and it can be cancelled in between.
        co_await nextTurn();
        if (isCancelled())
            co_return cancelledBeforeLaunch;
        onLine(couldNotStartLine(executable, error));
        co_return couldNotStart;
    }
    const qint32 status = co_await completion;
    co_return status;
}

void ProcessController::cancel()
{
    std::shared_ptr<ChildProcess> process;
    {
        const std::lock_guard lock(m_lock);
        m_cancelled = true;
        process = m_process;
    }
    if (process)
        process->terminate();
}

bool ProcessController::terminate()
{
    const auto process = admitted();
    if (process)
        process->terminate();
    return process != nullptr;
}

void ProcessController::kill()
{
    if (const auto process = admitted())
        process->kill();
}

bool ProcessController::isCancelled() const
{
    const std::lock_guard lock(m_lock);
    return m_cancelled;
}

bool ProcessController::wasEndedBySignal() const
{
    const std::lock_guard lock(m_lock);
    return m_endedBySignal;
}

/// The whole life of the child, on the run's own thread.
qint32 ProcessController::runToEnd(const QString &executable, const QStringList &arguments,
                                   const QByteArrayList &environment,
                                   std::function<void(const QString &)> onLine)
{
    OutputReader reader(onLine);
    int error = reader.start();

    const auto process = std::make_shared<ChildProcess>();
    if (!admit(process))
        return cancelledBeforeLaunch;
    if (error == 0)
        error = process->launch(executable, arguments, environment, reader.childEnd());
    reader.closeChildEnd();
    if (error != 0) {
        release(false);
        onLine(couldNotStartLine(executable, error));
        return couldNotStart;
    }
    const ChildEnd end = process->waitForEnd();
    reader.finish();
    release(end.bySignal);
    return end.status;
}

/// Makes `process` the one that `cancel` and `kill` reach. Returns false when the run is already cancelled.
bool ProcessController::admit(std::shared_ptr<ChildProcess> process)
{
    const std::lock_guard lock(m_lock);
    m_endedBySignal = false; // whatever became of an earlier run
    if (m_cancelled)
        return false;
    m_process = std::move(process);
    return true;
}

/// The child that `admit` accepted, until its end; otherwise null.
std::shared_ptr<ChildProcess> ProcessController::admitted() const
{
    const std::lock_guard lock(m_lock);
    return m_process;
}

/// After this, `cancel` and `kill` reach no child.
void ProcessController::release(bool endedBySignal)
{
    std::shared_ptr<ChildProcess> ended; // destroyed after the lock is released
    const std::lock_guard lock(m_lock);
    m_endedBySignal = endedBySignal;
    ended.swap(m_process);
}
