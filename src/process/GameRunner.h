#pragma once

#include "GameExit.h"
#include "LogStore.h"
#include "ProcessController.h"

#include <QStringList>

#include <functional>
#include <memory>

/// Runs one game at a time and sends its output to the log. Starts and stops the game and reports how a run
/// ended; never judges, restarts or kills it. Main thread only.
class GameRunner final : public Observable {
    Q_OBJECT

public:
    /// Starts the game and returns at once. Ignored while a game runs. `onExit` is called once, later, when
    /// `isRunning` is false again and the whole output is in the log; it may launch again. It is never called
    /// if the runner is destroyed first.
    void launch(const QString &executable, const QStringList &arguments, LogStore &log,
                std::function<void(GameExit)> onExit);

    /// Asks the running game to end. A game that ignores the request runs on.
    void stop();

    /// True from the accepted launch until just before `onExit` is called.
    Published<bool> isRunning { this, false };

    /// The controller of the current run, or null.
    const std::shared_ptr<ProcessController> &controller() const { return m_controller; }

private:
    QCoro::Task<> runToEnd(QString executable, QStringList arguments,
                           std::function<void(const QString &)> log, std::function<void(GameExit)> onExit);

    std::shared_ptr<ProcessController> m_controller;
};
