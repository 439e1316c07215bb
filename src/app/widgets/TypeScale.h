#pragma once

#include <QFont>

/// The launcher's text styles, each sized in proportion to the font that the player chose for the desktop.
enum class TextStyle { LargeTitle, Title, Title2, Headline, Body, Callout, Caption };

/// Sizes are given in points of a desktop whose body text has 13 of them: one point is a thirteenth of the
/// desktop's own body text. Main thread.
namespace TypeScale {

/// One point, in device-independent pixels.
double point();

/// The desktop's current font in the size and weight of `style`.
QFont font(TextStyle style);
/// The desktop's current font in a size and weight of its own.
QFont font(double points, QFont::Weight weight);

/// The fixed-width font of logs and reports, a little smaller than the body text. If the desktop's own is not
/// really fixed-width, another installed font that is, if any.
QFont fixedWidth();
/// The distance between two lines of it, in device-independent pixels.
double fixedWidthLineHeight();

}
