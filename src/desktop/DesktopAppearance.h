#pragma once

#include <functional>
#include <memory>
#include <optional>

/// How the player wants programs to look, as far as the desktop's settings tell: a value that is missing is
/// not set, or the desktop has no such setting. Plain data.
struct DesktopSettings {
    enum class Scheme { Light, Dark };
    /// Each from 0 to 1, in sRGB.
    struct Colour {
        double red = 0;
        double green = 0;
        double blue = 0;

        bool operator==(const Colour &) const = default;
    };

    std::optional<Scheme> scheme = {};
    std::optional<Colour> accent = {};
    std::optional<bool> highContrast = {};
    std::optional<bool> reducedMotion = {};

    bool operator==(const DesktopSettings &) const = default;
};

/// Reads the desktop's settings and follows their changes: on Linux through the desktop portal,
/// org.freedesktop.portal.Settings. On macOS, where the system draws the controls, it never reports anything.
/// Main thread.
class DesktopAppearance final {
public:
    /// Asks at once and waits for nothing. Calls `onChange` later, with the first settings that differ from
    /// none at all, and then with each change. A desktop without a portal, or whose portal does not answer,
    /// is never heard of.
    explicit DesktopAppearance(std::function<void(const DesktopSettings &)> onChange);
    ~DesktopAppearance();

    /// Whether a thread is still waiting for the bus. A normal exit would wait for that thread too.
    bool isWaitingForBus() const;

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};
