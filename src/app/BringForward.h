#pragma once

class QWidget;

/// Shows `window` in front of all others and restores it if it was minimised. The modal dialog that covers
/// it, if any, gets the focus.
void bringForward(QWidget &window);
