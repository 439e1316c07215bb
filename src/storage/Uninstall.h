#pragma once

#include <QString>

/// Uninstalls what the launcher downloaded, without ever leaving something half-removed in its place: a
/// folder is moved aside in one step and then removed in the background. A symbolic link is removed, not
/// followed; nothing is removed through one. What cannot be removed stays. Any thread, but not while an
/// action uses the folder.
namespace Uninstall {

/// Removes the game and its import marker. Saves are elsewhere and stay.
void game() noexcept;

/// Removes all engine builds.
void engines() noexcept;

/// Removes one file below the root.
void file(const QString &path) noexcept;

/// Removes the launcher's whole folder.
void everything() noexcept;

}
