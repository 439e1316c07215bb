#pragma once

#include <QByteArray>

#include <optional>

/// Adds the setting that turns mouse clicks into touches to `text`, a project.godot in UTF-8. No value when
/// `text` already names that setting, whatever its value: then the game has decided.
std::optional<QByteArray> withMouseAsTouch(QByteArray text);
