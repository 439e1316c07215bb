#include "TreeRemoval.h"

#include "FolderWalk.h"

#include <QList>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

namespace {

class TreeRemover final {
public:
    RemovalFailure remove(const QByteArray &path)
    {
        struct stat status = {};
        if (::lstat(path.constData(), &status) != 0) {
            note(path, errno);
        } else if (S_ISDIR(status.st_mode)) {
            emptyFolder(path);
            note(path, ::rmdir(path.constData()) == 0 ? 0 : errno);
        } else {
            note(path, ::unlink(path.constData()) == 0 ? 0 : errno);
        }
        return m_failure;
    }

private:
    /// A folder on the current path, and its sub-folders still to remove.
    struct Level {
        QByteArray name;
        QList<QByteArray> folders;
    };

    void note(const QByteArray &name, int error)
    {
        // What is already gone need not be removed.
        if (m_failure.code == 0 && error != 0 && error != ENOENT)
            m_failure = { name, error };
    }

    void emptyFolder(const QByteArray &path)
    {
        if (const int error = m_walk.begin(path, FolderWalk::Start::NotThroughLink); error != 0) {
            note(path, error);
            return;
        }
        removeFilesHere(path);
        bool goesOn = true;
        while (goesOn)
            goesOn = m_way.back().folders.isEmpty() ? leave() : enterNextFolder();
    }

    void removeFilesHere(const QByteArray &here)
    {
        QList<QByteArray> names;
        Level level { here, {} };
        note(here, m_walk.list(names));
        for (const QByteArray &name : std::as_const(names)) {
            struct stat status = {};
            const int error = m_walk.inspect(name, status);
            if (error != 0)
                note(name, error);
            else if (S_ISDIR(status.st_mode))
                level.folders.append(name);
            else
                note(name, m_walk.removeFile(name));
        }
        m_way.push_back(std::move(level));
    }

    bool enterNextFolder()
    {
        const QByteArray name = m_way.back().folders.takeLast();
        const int error = m_walk.enter(name);
        if (error == 0)
            removeFilesHere(name);
        else if (m_walk.removeFolder(name) != 0) // an empty folder can be removed without entering it
            note(name, error);
        return true;
    }

    /// Leaves the current folder and removes it. Returns false when the walk is over.
    bool leave()
    {
        const QByteArray name = m_way.back().name;
        m_way.pop_back();
        if (const int error = m_walk.leave(); error != 0) {
            note(name, error);
            return false;
        }
        if (m_way.empty())
            return false;
        note(name, m_walk.removeFolder(name));
        return true;
    }

    RemovalFailure m_failure;
    FolderWalk m_walk { FolderWalk::Permissions::Claimed };
    std::vector<Level> m_way;
};

}

RemovalFailure removeTreeAt(const QByteArray &path) { return TreeRemover().remove(path); }
