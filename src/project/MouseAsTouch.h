#pragma once

#include <QString>

#include <optional>

/// The text of a project.godot with the setting that turns mouse clicks into touches, or none when `text`
/// names that setting already, whatever its value: then the game has decided.
std::optional<QString> withMouseAsTouch(const QString &text);
