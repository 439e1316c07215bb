#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>
#include <optional>

class BusLink;
class QDBusMessage;

/// The progress on the launcher's entry in the dock or task bar, through the signal
/// com.canonical.Unity.LauncherEntry.Update, which GNOME's docks and KDE's task bar read. They forget it when
/// the launcher's process ends. Main thread.
class LauncherEntry final : public QObject {
    Q_OBJECT

public:
    /// `applicationId` is the name of the launcher's menu entry.
    LauncherEntry(std::shared_ptr<BusLink> bus, const QString &applicationId);
    ~LauncherEntry() override;

    /// Shows `fraction`, from 0 to 1, or nothing. Sends whole percents only, when they change, a few times a
    /// second at most.
    void showProgress(std::optional<double> fraction);

private:
    void advance();
    /// What tells the docks what is wanted.
    QDBusMessage update() const;

    const std::shared_ptr<BusLink> m_bus;
    const QString m_entry;
    std::optional<int> m_wanted;
    std::optional<int> m_shown;
    bool m_isWaitingForBus = false;
    QTimer m_pause;
};
