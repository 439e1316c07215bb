#pragma once

#include <QColor>
#include <QPalette>

/// Colours that are worked out from the desktop's palette at paint time, so that they suit light, dark and
/// custom colour schemes. Pure functions.
namespace Colours {

/// The least contrast with the background that text needs, and that a symbol needs.
constexpr double textContrast = 4.5;
constexpr double signContrast = 3.0;

/// From 1 (the same) to 21 (black on white), by relative luminance. Ignores transparency.
double contrast(const QColor &one, const QColor &other);

/// The opaque colour of a translucent `top` painted over an opaque `bottom`.
QColor over(const QColor &top, const QColor &bottom);

/// `ink`, made darker or lighter until its contrast with `paper` is at least `ratio`.
QColor readable(const QColor &ink, const QColor &paper, double ratio);

/// Less important text on the window's background.
QColor secondary(const QPalette &palette);

/// The text of a failure: red, readable on the window and on the failure panel.
QColor failure(const QPalette &palette);
/// The translucent background of the failure panel, painted over the window's.
QColor failurePanel();
/// The translucent background of a box with log lines.
QColor well();

/// The desktop's accent colour for filling a control, and the colour of text on it.
QColor accent(const QPalette &palette);
QColor onAccent(const QPalette &palette);

/// A link on the window's background.
QColor link(const QPalette &palette);

}
