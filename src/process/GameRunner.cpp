#include "GameRunner.h"

#include <QFileInfo>
#include <QPointer>

#include <chrono>

void GameRunner::launch(const QString &executable, const QStringList &arguments, LogStore &log,
                        std::function<void(GameExit)> onExit)
{
    if (isRunning)
        return;
    m_controller = ProcessController::create();
    isRunning = true;
    runToEnd(executable, arguments, log.appender(), std::move(onExit));
}

void GameRunner::stop()
{
    if (m_controller)
        m_controller->cancel();
}

QCoro::Task<> GameRunner::runToEnd(QString executable, QStringList arguments,
                                   std::function<void(const QString &)> log,
                                   std::function<void(GameExit)> onExit)
{
    // Monotonic: the wall clock may be set while the game runs.
    using Clock = std::chrono::steady_clock;

    const QPointer<GameRunner> self(this);
    const std::shared_ptr<ProcessController> controller = m_controller;
    const Clock::time_point start = Clock::now();
    log(QStringLiteral("Starting the game: %1 %2")
            .arg(QFileInfo(executable).fileName(), arguments.join(u' ')));

    const qint32 status = co_await controller->run(executable, arguments, log);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const bool stoppedByUser = controller->isCancelled();
    if (!self)
        co_return;
    isRunning = false;
    m_controller.reset();
    onExit(GameExit { status, seconds, stoppedByUser });
}
