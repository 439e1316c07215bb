#pragma once

#include "GameExit.h"
#include "LogStore.h"
#include "ProcessController.h"

#include <QStringList>

#include <functional>
#include <memory>

/// Runs the game, one at a time, its output into the log. It starts and stops and tells how a run ended; it
/// never judges, restarts or kills. Main thread only.
class GameRunner final : public Observable {
    Q_OBJECT

public:
    /// Starts the game and returns at once. `onExit` is called later, once, when `isRunning` is false again
    /// and the whole output is in the log; it may launch again. Ignored while a game runs; never called when
    /// the runner goes first.
    void launch(const QString &executable, const QStringList &arguments, LogStore &log,
                std::function<void(GameExit)> onExit);

    /// Asks the running game to end. A game that ignores the request runs on.
    void stop();

    /// From the accepted launch until the end of the run has been handled.
    Published<bool> isRunning { this, false };

    /// The controller of the current run, or none.
    const std::shared_ptr<ProcessController> &controller() const { return m_controller; }

private:
    QCoro::Task<> runToEnd(QString executable, QStringList arguments,
                           std::function<void(const QString &)> log, std::function<void(GameExit)> onExit);

    std::shared_ptr<ProcessController> m_controller;
};
