#pragma once

#include <QColor>
#include <QList>

/// The contrast between colours, as the accessibility guidelines for the web (WCAG) define it, and how to
/// reach it. Pure functions.
namespace Contrast {

/// From 0 (black) to 1 (white). Ignores transparency.
double luminance(const QColor &colour);

/// From 1 (the same) to 21 (black on white). Ignores transparency.
double between(const QColor &one, const QColor &other);

/// The opaque colour of a translucent `top` painted over an opaque `bottom`.
QColor over(const QColor &top, const QColor &bottom);

/// `ink`, made darker or lighter until its contrast with each of the opaque `grounds` is at least `ratio`;
/// black or white if nothing closer is.
QColor readable(const QColor &ink, const QList<QColor> &grounds, double ratio);

/// `tint`, made less translucent until its contrast with each of the `grounds` is at least `ratio`, when
/// painted over a `fill` on that ground.
QColor visible(const QColor &tint, const QColor &fill, const QList<QColor> &grounds, double ratio);

}
