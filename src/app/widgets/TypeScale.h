#pragma once

#include <QFont>

/// The launcher's text styles, each sized in proportion to the font that the player chose for the desktop.
enum class TextStyle { LargeTitle, Title, Title2, Headline, Body, Callout, Caption };

namespace TypeScale {

/// The desktop's current font in the size and weight of `style`. Main thread.
QFont font(TextStyle style);

/// The fixed-width font of logs and reports: 11 points, whatever the desktop's size. If the desktop's own is
/// not really fixed-width, another installed font that is, if any. Main thread.
QFont fixedWidth();

}
