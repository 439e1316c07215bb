#pragma once

#include <QString>
#include <QStringList>

/// The folders that the launcher writes to, and the one where the engine keeps a game's saves. Computed on
/// every call, never cached. Any thread.
namespace Paths {

/// The launcher's own folder, "Vantor Platformer" in the user's application-support folder. Not created here.
QString root();

/// The engine's user-data folder, "Godot" in the same place. Not created here, never written by the launcher.
QString godotData();

/// The folder that contains the root. Not created here.
QString base();

/// "Game" under the root: the game project and its import marker.
QString gameFolder();

/// "Engine" under the root: one folder per engine build.
QString engineFolder();

/// "Temp" under the root: scratch folders.
QString tempFolder();

/// Creates an empty folder under "Temp", named after a new upper-case UUID, and returns it. Throws FileError,
/// and AppError when one of the launcher's folders is a symbolic link.
QString newTempDir();

/// The folder for application data: the first one that the platform `reported`, otherwise the fixed one in
/// `home`.
QString applicationSupportBase(const QStringList &reported, const QString &home);

}
