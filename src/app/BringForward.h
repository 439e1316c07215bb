#pragma once

class QWidget;

/// Shows `window` in front of all others, also one that was minimised. The keyboard goes to the topmost of
/// the dialogs that cover it.
void bringForward(QWidget &window);
