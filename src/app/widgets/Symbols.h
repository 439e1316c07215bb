#pragma once

#include <QPainterPath>
#include <QRectF>

/// The launcher's own drawings, as vector paths: sharp at every size and on every screen.
namespace Symbols {

/// A triangle that points to the right, and a square, both with rounded corners. They fill `box`.
QPainterPath play(const QRectF &box);
QPainterPath stop(const QRectF &box);
/// A running figure in the middle of `box`, and as high as it.
QPainterPath runner(const QRectF &box);

}
