#pragma once

#include <QString>

#include <memory>
#include <optional>

/// What the desktop can do for a player who is not looking at the window, as an interface that tests
/// implement too. Main thread.
///
/// Each operation returns at once and reports nothing: a desktop that lacks something goes without it.
class DesktopShell {
public:
    enum class Activity {
        None,
        Installing, ///< the computer must not fall asleep; the screen may go dark
        GameRunning, ///< the launcher must not be slowed down; whether the computer sleeps is up to the game
    };

    virtual ~DesktopShell() = default;

    /// What the launcher is doing from now on.
    virtual void setActivity(Activity activity) = 0;
    /// Shows `sentence` as a notification, in place of the last one.
    virtual void notify(const QString &sentence) = 0;
    /// Removes the notification, if there is one.
    virtual void withdrawNotification() = 0;
    /// Shows `fraction`, from 0 to 1, on the launcher's entry in the dock or task bar; nothing without a
    /// value.
    virtual void showProgress(std::optional<double> fraction) = 0;
};

/// The real one: on macOS an activity of NSProcessInfo and the Dock's badge, and no notification, because the
/// Dock's bounce calls the player; elsewhere D-Bus, which is connected to when first needed.
class NativeDesktopShell final : public DesktopShell {
public:
    /// `applicationId` is the name of the menu entry, and `title` what the player knows the launcher by.
    NativeDesktopShell(const QString &applicationId, const QString &title);
    /// Ends the activity and removes the progress and the notification.
    ~NativeDesktopShell() override;

    void setActivity(Activity activity) override;
    void notify(const QString &sentence) override;
    void withdrawNotification() override;
    void showProgress(std::optional<double> fraction) override;

    /// Whether a thread is still waiting for a bus. A normal exit would wait for that thread too.
    bool isWaitingForBus() const;

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};
