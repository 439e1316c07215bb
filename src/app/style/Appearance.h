#pragma once

#include <QColor>

/// How the player wants programs to look, as far as the desktop tells. Plain data.
struct Appearance {
    enum class Scheme { Light, Dark };
    enum class Contrast { Normal, High };
    enum class Motion { Full, Reduced };

    Scheme scheme = Scheme::Light;
    Contrast contrast = Contrast::Normal;
    Motion motion = Motion::Full;
    /// Invalid if the desktop has none; the launcher's own accent colour is used then.
    QColor accent = {};

    bool operator==(const Appearance &) const = default;
};
