#pragma once

#include "ProjectInfo.h"

#include <QString>

#include <optional>

/// Reads the unpacked game project, and makes the one edit to it. Nothing here fails: whatever is missing or
/// unreadable has a fallback. Touches the file system only; any thread.
namespace ProjectInspector {

/// The shallowest folder that holds "project.godot": `folder` itself or one at most three levels below it; no
/// value when there is none. Hidden folders and symbolic links to folders are skipped; of several at one
/// depth the first in listing order is returned.
std::optional<QString> findProjectRoot(const QString &folder);

/// The facts of the project in `root`.
ProjectInfo inspect(const QString &root);

/// Only the facts that say which engine the project wants. Reads no file but project.godot, so it is quick
/// enough for the launcher's start. All other fields keep their defaults.
ProjectInfo inspectForEngine(const QString &root);

/// Makes mouse clicks count as touches in the downloaded copy of a 3.x game whose on-screen buttons only
/// react to touches. Replaces the file atomically. Returns the line for the log; nothing when the project
/// file already names the setting or cannot be read, and so stays as it is.
std::optional<QString> enableMouseAsTouch(const QString &root);

}
