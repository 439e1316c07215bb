#pragma once

#include "Appearance.h"
#include "DesktopAppearance.h"

#include <QObject>
#include <QPalette>

class LauncherStyle;

/// What the desktop tells as a look of the launcher: first its settings count, then the colours of its
/// palette. `plain` is the palette that Qt has where a desktop brings none; an accent colour from there is
/// nobody's choice.
Appearance appearanceOf(const DesktopSettings &settings, const QPalette &desktop, const QPalette &plain);

/// Keeps the launcher's style as the player has set up the desktop, whatever changes while the launcher is
/// open. Main thread. The style outlives it.
class AppearanceFollower final : public QObject {
    Q_OBJECT

public:
    /// `desktop` is the palette that Qt had before the style was installed. `style` has its looks at once.
    AppearanceFollower(LauncherStyle &style, const QPalette &desktop);

    /// Whether a thread is still waiting for the desktop.
    bool isWaitingForBus() const { return m_appearance.isWaitingForBus(); }

private:
    void follow();

    LauncherStyle &m_style;
    QPalette m_palette;
    DesktopSettings m_settings;
    DesktopAppearance m_appearance;
};
