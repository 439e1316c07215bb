#pragma once

#include <QString>
#include <QStringList>

/// Where the launcher keeps what it writes, and where the engine keeps a game's saves. Every folder is
/// computed anew on each call; nothing is cached. Any thread.
namespace Paths {

/// The launcher's own folder, "Vantor Platformer" in the user's application-support folder. Not created here.
QString root();

/// The engine's user-data folder, "Godot" in the same place. Not created here, never written by the launcher.
QString godotData();

/// "Game" under the root: the game project and its import marker.
QString gameFolder();

/// "Engine" under the root: one folder per engine build.
QString engineFolder();

/// "Temp" under the root: scratch folders.
QString tempFolder();

/// Creates a new, empty folder named by a fresh upper-case UUID under "Temp" and returns it. Throws
/// FileError, and AppError where a symbolic link stands in the way.
QString newTempDir();

/// The folder that application data goes to: the first of those that the platform `reported`, else the fixed
/// place in `home`.
QString applicationSupportBase(const QStringList &reported, const QString &home);

}
