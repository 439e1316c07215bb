#include "FolderWalk.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <utility>

namespace {

constexpr mode_t ownerAll = S_IRUSR | S_IWUSR | S_IXUSR;
constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;

int resultOf(int returned) { return returned == 0 ? 0 : errno; }

}

int FolderWalk::begin(const QByteArray &path, Start start)
{
    FileDescriptor folder;
    const int error = open(path.constData(), start == Start::ThroughLink ? 0 : O_NOFOLLOW, folder);
    return error != 0 ? error : stand(std::move(folder));
}

int FolderWalk::enter(const QByteArray &name)
{
    FileDescriptor folder;
    const int error = open(name.constData(), O_NOFOLLOW, folder);
    return error != 0 ? error : stand(std::move(folder));
}

int FolderWalk::leave()
{
    m_way.pop_back();
    FileDescriptor above;
    int error = 0;
    if (!m_way.empty()) {
        above = FileDescriptor(::openat(m_folder.get(), "..", folderFlags));
        struct stat status = {};
        if (!above.isOpen() || ::fstat(above.get(), &status) != 0)
            error = errno;
        // The folder may have been moved meanwhile; its new parent is not part of this walk.
        else if (Identity { status.st_dev, status.st_ino } != m_way.back())
            error = ENOENT;
    }
    m_folder = std::move(above);
    return error;
}

int FolderWalk::list(QList<QByteArray> &names) const
{
    FileDescriptor copy(::fcntl(m_folder.get(), F_DUPFD_CLOEXEC, 0));
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(copy.isOpen() ? ::fdopendir(copy.get()) : nullptr,
                                                      ::closedir);
    if (!folder)
        return errno;
    copy.release(); // closed with `folder`
    errno = 0;
    while (const dirent *entry = ::readdir(folder.get())) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..")
            names.append(name);
        errno = 0;
    }
    return errno;
}

int FolderWalk::inspect(const QByteArray &name, struct stat &status) const
{
    return resultOf(::fstatat(m_folder.get(), name.constData(), &status, AT_SYMLINK_NOFOLLOW));
}

int FolderWalk::openFile(const QByteArray &name, FileDescriptor &file) const
{
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    file = FileDescriptor(::openat(m_folder.get(), name.constData(), flags));
    return file.isOpen() ? 0 : errno;
}

int FolderWalk::removeFile(const QByteArray &name) const
{
    return resultOf(::unlinkat(m_folder.get(), name.constData(), 0));
}

int FolderWalk::removeFolder(const QByteArray &name) const
{
    return resultOf(::unlinkat(m_folder.get(), name.constData(), AT_REMOVEDIR));
}

int FolderWalk::open(const char *name, int flags, FileDescriptor &folder) const
{
    const int here = m_folder.isOpen() ? m_folder.get() : AT_FDCWD;
    folder = FileDescriptor(::openat(here, name, folderFlags | flags));
    if (!folder.isOpen() && errno == EACCES && m_permissions == Permissions::Claimed) {
        if (::fchmodat(here, name, ownerAll, AT_SYMLINK_NOFOLLOW) != 0)
            return EACCES;
        folder = FileDescriptor(::openat(here, name, folderFlags | flags));
    }
    return folder.isOpen() ? 0 : errno;
}

int FolderWalk::stand(FileDescriptor folder)
{
    struct stat status = {};
    if (::fstat(folder.get(), &status) != 0)
        return errno;
    // The folder could be read, but changing it may not be allowed. A failure here shows when an entry cannot
    // be removed.
    if (m_permissions == Permissions::Claimed && (status.st_mode & ownerAll) != ownerAll)
        static_cast<void>(::fchmod(folder.get(), (status.st_mode & 07777) | ownerAll));
    // In a folder that can be listed but not searched, entries cannot be inspected and ".." cannot be opened:
    // do not enter it.
    struct stat searched = {};
    if (::fstatat(folder.get(), ".", &searched, 0) != 0)
        return errno;
    m_folder = std::move(folder);
    m_way.push_back({ status.st_dev, status.st_ino });
    return 0;
}
