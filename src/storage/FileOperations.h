#pragma once

#include <QByteArray>
#include <QString>

/// The launcher's operations on files and folders, with the system's own errors. Any thread.
namespace FileOperations {

/// Whether anything, even a dangling symbolic link, exists at `path`.
bool exists(const QString &path);

/// Whether `path` exists once symbolic links are followed: a dangling one does not count.
bool isReachable(const QString &path);

/// Whether `path` is a folder and not a symbolic link to one.
bool isFolder(const QString &path);

/// Creates `folder` and its missing parents, for this user only. No error when the folder already exists.
/// Throws FileError.
void createFolder(const QString &folder);

/// Removes the file, symbolic link or folder tree at `path`. Never follows a symbolic link, and also removes
/// what is in folders without permissions. When something cannot be removed, removes the rest and then throws
/// FileError for the first failure. Not atomic. No error when nothing exists at `path`.
void removeTree(const QString &path);

/// As removeTree, but ignores failures. Returns whether nothing is left at `path`.
bool removeTreeIfPossible(const QString &path) noexcept;

/// Renames `from` to `to`: atomic, within one file system, and never over something that exists. Throws
/// FileError.
void move(const QString &from, const QString &to);

/// Replaces the content of `path` with `content` through a temporary file beside it. Atomic: a crash leaves
/// either the old file or the new one. Fails for a file without write permission, as writing in place would.
/// Throws FileError.
void writeAtomically(const QString &path, const QByteArray &content);

/// Removes the temporary files that an interrupted `writeAtomically` left directly in `folder`. Ignores
/// failures.
void removeHalfWritten(const QString &folder) noexcept;

}
