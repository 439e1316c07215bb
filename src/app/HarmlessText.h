#pragma once

#include <QString>

/// `text` as it can be shown: every control character, direction mark, broken character and text-layout mark
/// of Qt's own becomes a visible sign of the same length. Line feeds and tabs stay.
QString harmlessText(const QString &text);
