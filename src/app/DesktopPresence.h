#pragma once

#include "RefreshOnce.h"

#include <QObject>
#include <QString>

#include <optional>

class AppModel;
class DesktopShell;
class QWidget;

/// Keeps the desktop informed of what the model does: the computer stays awake while something is installed,
/// the launcher's entry in the dock shows the progress, and a player who is not looking is called back when
/// something has failed or an update has finished. Main thread. The model, the window and the shell outlive
/// it.
class DesktopPresence final : public QObject {
    Q_OBJECT

public:
    DesktopPresence(AppModel &model, QWidget &window, DesktopShell &shell);

    /// The launcher quits: takes everything back.
    void leave();

private:
    void refresh();
    std::optional<QString> news() const;

    AppModel &m_model;
    QWidget &m_window;
    DesktopShell &m_shell;
    /// What the player was last called for, or would have been.
    std::optional<QString> m_news;
    bool m_hasLeft = false;
    RefreshOnce m_refresh;
};
