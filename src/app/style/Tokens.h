#pragma once

#include "Appearance.h"

#include <QColor>

class QWidget;

/// The colours that the window is painted with, for one appearance. Translucent ones may be painted over the
/// window and over a sheet. On both, and on the failure panel, every text has a contrast of 4.5 with what is
/// behind it, every mark of 3 and every edge of 1.3; of 7, 3 and 3 if the player wants high contrast.
struct Tokens {
    Appearance appearance;

    QColor window;
    QColor sheet;
    /// Painted over the window under a sheet.
    QColor veil;
    QColor shadow;

    QColor ink;
    QColor secondary;
    QColor link;
    QColor failure;
    /// Text on a control that cannot be used. Exempt from the contrasts above.
    QColor disabled;

    /// Fills what is pressed by default. `onAccent` is readable on it, and on the two darker shades.
    QColor accent;
    QColor accentHover;
    QColor accentPressed;
    QColor onAccent;
    /// The accent colour for marks on the ground: the bar's filling, on its track in the window, and the
    /// focus ring.
    QColor mark;

    QColor control;
    QColor controlHover;
    QColor controlPressed;
    /// Painted over `control`.
    QColor controlEdge;
    /// Behind the segments of a segmented choice.
    QColor segmentTrack;
    /// Painted over `segmentTrack`.
    QColor segmentEdge;
    /// The unfilled part of a progress bar.
    QColor barTrack;

    QColor failurePanel;
    QColor failureEdge;
    QColor well;
    /// Painted over `well`.
    QColor wellEdge;
    QColor divider;
    QColor scrollThumb;
    QColor scrollThumbHover;

    QColor greyDot;
    QColor orangeDot;
    QColor greenDot;
    QColor redDot;

    static Tokens of(const Appearance &appearance);

    /// Those of the launcher's style, or, if the widget has another style, of the appearance that its palette
    /// tells. Valid until the event loop runs again. Main thread.
    static const Tokens &of(const QWidget &widget);
};
