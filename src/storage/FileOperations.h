#pragma once

#include <QByteArray>
#include <QString>

/// What the launcher does to folders and files, with the platform's own errors. Any thread.
namespace FileOperations {

/// Whether anything, a dangling symbolic link included, exists at `path`.
bool exists(const QString &path);

/// Whether something exists where `path` leads: symbolic links are followed, and one that leads nowhere is
/// nothing.
bool isReachable(const QString &path);

/// Creates `folder` with all missing parents, for this user alone. No error when it exists as a folder.
/// Throws FileError.
void createFolder(const QString &folder);

/// Removes the file, link or folder tree at `path`. Never follows a symbolic link, removes what lies in
/// folders without permissions, and goes on with the rest when something cannot be removed: then throws
/// FileError for the first such thing. Not atomic. No error when nothing exists at `path`.
void removeTree(const QString &path);

/// As removeTree, but a failure is ignored. True when nothing is left at `path`.
bool removeTreeIfPossible(const QString &path) noexcept;

/// Moves `from` to `to` by renaming it: atomic, within one file system, and only onto a name that is free.
/// Throws FileError.
void move(const QString &from, const QString &to);

/// Replaces the content of `path` by `content` through a temporary file beside it: atomic, a crash leaves the
/// old file or the new one. A file without write permission is an error, as it would be for writing in place.
/// Throws FileError.
void writeAtomically(const QString &path, const QByteArray &content);

/// Removes the temporary files that a killed `writeAtomically` left directly in `folder`. A failure is
/// ignored.
void removeHalfWritten(const QString &folder) noexcept;

}
