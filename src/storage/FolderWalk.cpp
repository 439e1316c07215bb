#include "FolderWalk.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr mode_t ownerAll = S_IRUSR | S_IWUSR | S_IXUSR;
constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;

int resultOf(int returned) { return returned == 0 ? 0 : errno; }

}

FolderWalk::~FolderWalk()
{
    if (m_folder >= 0)
        ::close(m_folder);
}

int FolderWalk::begin(const QByteArray &path, Start start)
{
    int descriptor = -1;
    const int error = open(path.constData(), start == Start::ThroughLink ? 0 : O_NOFOLLOW, descriptor);
    return error != 0 ? error : stand(descriptor);
}

int FolderWalk::enter(const QByteArray &name)
{
    int descriptor = -1;
    const int error = open(name.constData(), O_NOFOLLOW, descriptor);
    return error != 0 ? error : stand(descriptor);
}

int FolderWalk::leave()
{
    m_way.pop_back();
    int above = -1;
    int error = 0;
    if (!m_way.empty()) {
        above = ::openat(m_folder, "..", folderFlags);
        struct stat status = {};
        if (above < 0 || ::fstat(above, &status) != 0)
            error = errno;
        // The folder may have been moved meanwhile; its new parent is not part of this walk.
        else if (Identity { status.st_dev, status.st_ino } != m_way.back())
            error = ENOENT;
    }
    ::close(m_folder);
    m_folder = above;
    return error;
}

int FolderWalk::list(QList<QByteArray> &names) const
{
    const int copy = ::fcntl(m_folder, F_DUPFD_CLOEXEC, 0);
    DIR *folder = copy < 0 ? nullptr : ::fdopendir(copy);
    if (!folder) {
        const int error = errno;
        if (copy >= 0)
            ::close(copy);
        return error;
    }
    errno = 0;
    while (const dirent *entry = ::readdir(folder)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..")
            names.append(name);
        errno = 0;
    }
    const int error = errno;
    ::closedir(folder);
    return error;
}

int FolderWalk::inspect(const QByteArray &name, struct stat &status) const
{
    return resultOf(::fstatat(m_folder, name.constData(), &status, AT_SYMLINK_NOFOLLOW));
}

int FolderWalk::removeFile(const QByteArray &name) const
{
    return resultOf(::unlinkat(m_folder, name.constData(), 0));
}

int FolderWalk::removeFolder(const QByteArray &name) const
{
    return resultOf(::unlinkat(m_folder, name.constData(), AT_REMOVEDIR));
}

int FolderWalk::open(const char *name, int flags, int &descriptor) const
{
    const int here = m_folder < 0 ? AT_FDCWD : m_folder;
    descriptor = ::openat(here, name, folderFlags | flags);
    if (descriptor < 0 && errno == EACCES && m_permissions == Permissions::Claimed) {
        if (::fchmodat(here, name, ownerAll, AT_SYMLINK_NOFOLLOW) != 0)
            return EACCES;
        descriptor = ::openat(here, name, folderFlags | flags);
    }
    return descriptor < 0 ? errno : 0;
}

int FolderWalk::stand(int descriptor)
{
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0) {
        const int error = errno;
        ::close(descriptor);
        return error;
    }
    // The folder could be read, but changing it may not be allowed. A failure here shows when an entry cannot
    // be removed.
    if (m_permissions == Permissions::Claimed && (status.st_mode & ownerAll) != ownerAll)
        static_cast<void>(::fchmod(descriptor, (status.st_mode & 07777) | ownerAll));
    // In a folder that can be listed but not searched, entries cannot be inspected and ".." cannot be opened:
    // do not enter it.
    struct stat searched = {};
    if (::fstatat(descriptor, ".", &searched, 0) != 0) {
        const int error = errno;
        ::close(descriptor);
        return error;
    }
    if (m_folder >= 0)
        ::close(m_folder);
    m_folder = descriptor;
    m_way.push_back({ status.st_dev, status.st_ino });
    return 0;
}
