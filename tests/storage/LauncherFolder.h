#pragma once

#include "FileOperations.h"
#include "Paths.h"

#include "TestHome.h"

/// The launcher's folder in a test's home. A `name` is relative to it.
namespace LauncherFolder {

inline QString path(const QString &name) { return Paths::root() + u'/' + name; }
inline bool has(const QString &name) { return FileOperations::exists(path(name)); }

/// Writes a file, creates the folders above it, and returns its path.
inline QString write(const TestHome &home, const QString &name, const QByteArray &content = "content")
{
    return home.write(path(name), content);
}

}
