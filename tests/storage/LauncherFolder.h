#pragma once

#include "FileOperations.h"
#include "Paths.h"

#include "TestHome.h"

/// The launcher's folder in a test's home. A `name` is relative to it.
namespace LauncherFolder {

inline QString path(const QString &name) { return Paths::root() + u'/' + name; }
inline bool has(const QString &name) { return FileOperations::exists(path(name)); }

/// Writes these files, and creates the folders above them.
inline void fill(const TestHome &home, const QStringList &names)
{
    for (const QString &name : names)
        home.write(path(name), "content");
}

}
