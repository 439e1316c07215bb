#pragma once

#include "FileDescriptor.h"

#include <QByteArray>
#include <QList>

#include <sys/stat.h>

#include <vector>

/// Walks through a folder tree without ever leaving it. It is in one folder at a time and moves into
/// sub-folders and back by descriptor, not by path, so that no symbolic link diverts it, no depth is too
/// great and names stay raw bytes. Functions return an errno value, 0 for success. Any thread, one at a time.
class FolderWalk final {
public:
    /// Whether the walk grants itself the permissions that it lacks on a folder.
    enum class Permissions { AsTheyAre, Claimed };
    /// Whether the path that the walk begins with may be a symbolic link.
    enum class Start { NotThroughLink, ThroughLink };

    explicit FolderWalk(Permissions permissions)
        : m_permissions(permissions)
    {
    }

    /// Enters the folder at `path`, as the first step.
    int begin(const QByteArray &path, Start start);
    /// Enters the sub-folder `name`. If it cannot be listed or searched, fails and stays here.
    int enter(const QByteArray &name);
    /// Returns to the parent folder, or ends the walk in the first folder. Fails when the folder was moved
    /// meanwhile: the walk is then over.
    int leave();

    /// Appends the names of all entries here to `names`.
    int list(QList<QByteArray> &names) const;
    /// Gets the status of the entry `name` without following a symbolic link.
    int inspect(const QByteArray &name, struct stat &status) const;
    /// Opens the entry `name` for reading into `file`, without following a symbolic link or waiting for the
    /// other end of a pipe.
    int openFile(const QByteArray &name, FileDescriptor &file) const;
    /// Removes the entry `name`, which is not a folder.
    int removeFile(const QByteArray &name) const;
    /// Removes the empty folder `name`.
    int removeFolder(const QByteArray &name) const;

private:
    struct Identity {
        dev_t device;
        ino_t inode;
        bool operator==(const Identity &) const = default;
    };

    int open(const char *name, int flags, FileDescriptor &folder) const;
    int stand(FileDescriptor folder);

    const Permissions m_permissions;
    FileDescriptor m_folder; // the current one; not open before the walk begins and after it ends
    std::vector<Identity> m_way; // from the first folder to m_folder
};
