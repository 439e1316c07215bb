#pragma once

#include <QString>

/// What the launcher runs on, in the system's own words. What the system does not say is empty. Plain data.
struct SystemFacts {
    QString qtVersion;
    /// "Debian GNU/Linux 12 (bookworm)"
    QString system;
    /// "linux 6.1.0-18-amd64"
    QString kernel;
    QString processor;
    /// "KDE", or several with colons between them.
    QString desktop;
    /// "wayland" or "x11"
    QString session;
    /// Qt's own name for what draws the windows: "xcb".
    QString windowSystem;

    /// Main thread.
    static SystemFacts current();
};
