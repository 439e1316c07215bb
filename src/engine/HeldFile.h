#pragma once

#include "FileDescriptor.h"

#include <QString>

#include <sys/stat.h>

#include <chrono>

/// A file held open, so that the file that was checked is the one that is used afterwards, whatever happens
/// to its name or its parent folders meanwhile.
class HeldFile final {
public:
    /// Opens `path`, which must be a regular file and not a symlink. Throws FileError.
    explicit HeldFile(const QString &path);

    /// A path by which any program of this user opens this very file. Where the system offers none (macOS),
    /// the path given to the constructor.
    QString path() const;

    /// How long to wait before reading, so that `isUntouched` notices every later change: file timestamps
    /// advance only every few milliseconds.
    std::chrono::nanoseconds timeUntilChangesShow() const;

    /// Whether the file has not been written to, moved, linked or replaced since it was opened: each of these
    /// changes its inode number or its ctime, which no program can set.
    bool isUntouched() const;

private:
    const QString m_path;
    const FileDescriptor m_file;
    struct stat m_info = {};
};
