#pragma once

#include <QByteArray>

#include <optional>

/// The text of a project.godot, in UTF-8, with the setting that turns mouse clicks into touches, or none when
/// `text` names that setting already, whatever its value: then the game has decided.
std::optional<QByteArray> withMouseAsTouch(QByteArray text);
