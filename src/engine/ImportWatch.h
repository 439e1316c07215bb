#pragma once

#include "ImportPatience.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QString>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

class LogStore;
class ProcessController;

/// Watches the engine for as long as one import pass takes, and ends it when it has imported everything but
/// does not end by itself: some engines wait for a window that is not there. An engine with files still to
/// import is never ended, however long it takes.
///
/// Nothing is looked at while the engine prints. Once it has been silent for a while, the project is looked
/// at every few seconds, in the background. Owned by the pass. Main thread.
class ImportWatch final : public QObject {
public:
    /// Watches the run of `controller` that is about to begin. `log` outlives this object.
    ImportWatch(QString project, std::shared_ptr<ProcessController> controller, LogStore *log,
                ImportPatience patience);
    ~ImportWatch() override;

    /// Returns `onLine`, extended so that this object knows of every line. It may outlive this object, and
    /// may be called on any thread.
    std::function<void(const QString &)> watching(std::function<void(const QString &)> onLine) const;

private:
    using Clock = std::chrono::steady_clock;

    void tick();
    QCoro::Task<> look();
    void endEngine();
    bool isSilentFor(std::chrono::milliseconds time) const;

    const QString m_project;
    const std::shared_ptr<ProcessController> m_controller;
    LogStore *const m_log;
    const ImportPatience m_patience;
    const std::shared_ptr<std::atomic<Clock::duration>> m_latestLine; // its time; shared with the run
    QTimer m_ticks;
    std::stop_source m_stop; // of a look in progress

    bool m_isLooking = false;
    std::optional<quint64> m_fingerprint; // of the project when it was last looked at
    Clock::time_point m_unchangedSince; // when that was first seen
    bool m_isIncomplete = false; // whether it was read for what is missing
};
