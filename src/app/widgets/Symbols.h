#pragma once

#include <QIcon>
#include <QPainterPath>
#include <QRectF>

/// The launcher's own drawings, as vector paths: sharp at every size and on every screen.
namespace Symbols {

/// A triangle that points to the right, and a square, both with rounded corners, inside `box`.
QPainterPath play(const QRectF &box);
QPainterPath stop(const QRectF &box);
/// A running figure inside `box`, which it fills from top to bottom when `box` is a square.
QPainterPath runner(const QRectF &box);

/// The stop symbol in the desktop's colour for button text.
QIcon stopIcon();

}
