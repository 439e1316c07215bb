#pragma once

#include <QSettings>
#include <QString>

#include <memory>

/// The player's settings, in the desktop's own store: user defaults on macOS, QSettings' file elsewhere.
/// Nothing is cached: a value written by the settings sheet is what the next start reads. A saved report
/// names each of them. Main thread.
class Preferences final {
public:
    /// The store of the user who runs the launcher.
    Preferences();
    /// A store in `file` (INI), for tests.
    explicit Preferences(const QString &file);

    /// "fullscreen": start the game in full screen. False when missing.
    bool fullscreen() const;
    void setFullscreen(bool fullscreen);

    /// "resolution": the game's window size as "1280x720", or "default" (also when missing). Not validated.
    QString resolution() const;
    void setResolution(const QString &resolution);

private:
    std::unique_ptr<QSettings> m_store;
};
