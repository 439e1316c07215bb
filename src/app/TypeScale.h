#pragma once

#include <QFont>

/// The sizes of the launcher's texts, each a factor of the size that the player chose for the desktop's own
/// font.
enum class TextStyle { LargeTitle, Title, Title2, Headline, Body, Callout, Caption };

namespace TypeScale {

/// The desktop's font in the size and weight of `style`, as the desktop has it now. Main thread.
QFont font(TextStyle style);

/// The fixed-width font of logs and reports: 11 points, whatever the desktop's size. Where the desktop's own
/// is not fixed in width it is another one that is, if there is any. Main thread.
QFont fixedWidth();

}
