#pragma once

#include <QColor>
#include <QPalette>

/// Colours that are worked out from the desktop's palette whenever something is painted, so that they are
/// right in light, in dark and in whatever a player made of the desktop. Pure functions.
namespace Shades {

/// How far text must stand out from what it is written on, and how far a mere sign must.
constexpr double textContrast = 4.5;
constexpr double signContrast = 3.0;

/// From 1 (the same) to 21 (black on white), by relative luminance. Transparency is not looked at.
double contrast(const QColor &one, const QColor &other);

/// What a translucent `top` gives on an opaque `bottom`.
QColor over(const QColor &top, const QColor &bottom);

/// `ink`, made darker or lighter until it stands out from `paper` by `ratio`.
QColor readable(const QColor &ink, const QColor &paper, double ratio);

/// Less important text on the window's background.
QColor secondary(const QPalette &palette);

/// A failure's text: red, on the window or on the failure panel.
QColor failure(const QPalette &palette);
/// The background of the failure panel, to be laid over the window's.
QColor failurePanel();
/// The background of a box with lines of a log, to be laid over what is below it.
QColor well();

/// The desktop's accent colour as the filling of a control, and what is written on it.
QColor accent(const QPalette &palette);
QColor onAccent(const QPalette &palette);

/// An address that can be pressed, on the window's background.
QColor link(const QPalette &palette);

}
