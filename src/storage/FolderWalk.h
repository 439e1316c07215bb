#pragma once

#include <QByteArray>
#include <QList>

#include <sys/stat.h>

#include <vector>

/// A way through a folder tree that never leaves it: it stands in one folder at a time and steps into
/// sub-folders and back by descriptor, not by path, so no symbolic link leads it elsewhere, no depth is too
/// great and names are the bytes that they are. Results are errno values, 0 for success. Any thread, one at a
/// time.
class FolderWalk final {
public:
    /// Whether what cannot be entered for want of permissions is first given them.
    enum class Permissions { AsTheyAre, Claimed };
    /// Whether the folder that the walk begins in may be named by a symbolic link.
    enum class Start { NotThroughLink, ThroughLink };

    explicit FolderWalk(Permissions permissions)
        : m_permissions(permissions)
    {
    }
    ~FolderWalk();
    FolderWalk(const FolderWalk &) = delete;
    FolderWalk &operator=(const FolderWalk &) = delete;

    /// Steps into the folder at `path`, as the first step.
    int begin(const QByteArray &path, Start start);
    /// Steps into the sub-folder `name`. Fails, and stays, when it cannot be listed or searched.
    int enter(const QByteArray &name);
    /// Steps back to the folder above; out of the tree after the first folder. Fails when the folder was
    /// moved meanwhile: then the walk is over.
    int leave();

    /// Adds the names of all entries here to `names`.
    int list(QList<QByteArray> &names) const;
    /// What is known about the entry `name`, links not followed.
    int inspect(const QByteArray &name, struct stat &status) const;
    /// Removes the entry `name` that is not a folder.
    int removeFile(const QByteArray &name) const;
    /// Removes the empty folder `name`.
    int removeFolder(const QByteArray &name) const;

private:
    struct Identity {
        dev_t device;
        ino_t inode;
        bool operator==(const Identity &) const = default;
    };

    int open(const char *name, int flags, int &descriptor) const;
    int stand(int descriptor);

    const Permissions m_permissions;
    int m_folder = -1; // the folder that the walk stands in, or -1
    std::vector<Identity> m_way; // from the first folder to m_folder
};
