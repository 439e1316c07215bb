#pragma once

#include "ProjectInfo.h"

#include <QString>

#include <optional>

class LogStore;

/// Reads the unpacked game project. Nothing here fails: whatever is missing or unreadable has a fallback.
/// Touches the file system only; any thread.
namespace ProjectInspector {

/// The shallowest folder in `folder`, at most four levels down, that holds "project.godot", or none. Hidden
/// folders and what symbolic links lead to are not looked at; of several at one depth the first in listing
/// order.
std::optional<QString> findProjectRoot(const QString &folder);

/// The facts of the project in `root`.
ProjectInfo inspect(const QString &root);

/// Those of them that say which engine the project wants, without reading any other file than the project's:
/// quick enough for the launcher's start. The rest is as if nothing could be read.
ProjectInfo inspectForEngine(const QString &root);

/// Lets mouse clicks count as touches in the downloaded copy of a 3.x game whose on-screen buttons know only
/// touches. Says in `log` what it did; does nothing, without a word, when the project file decides the
/// setting itself or cannot be read. The file is replaced atomically.
void enableMouseAsTouch(const QString &root, LogStore &log);

}
