#include "FileOperations.h"

#include "DiskNames.h"
#include "FileDescriptor.h"
#include "FileError.h"
#include "FolderWalk.h"
#include "TreeRemoval.h"

#include <QFile>
#include <QUuid>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <utility>

namespace {

/// For this user only, whatever the umask: anybody else with write access could swap an engine between its
/// check and its start.
constexpr mode_t newFolderMode = S_IRWXU;

/// Creates the folder and its missing parents. Returns an errno value, 0 for success.
int makeFolder(const QByteArray &path)
{
    if (::mkdir(path.constData(), newFolderMode) == 0)
        return 0;
    int error = errno;
    const qsizetype slash = path.lastIndexOf('/');
    if (error == ENOENT && slash > 0) {
        error = makeFolder(path.left(slash));
        if (error != 0 || ::mkdir(path.constData(), newFolderMode) == 0)
            return error;
        error = errno;
    }
    // Systems report an existing folder ("/" or a mount point) by different errors, and another thread may
    // have created it first.
    struct stat status = {};
    return ::stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode) ? 0 : error;
}

/// The path without trailing slashes, which would make the system follow a symbolic link.
QByteArray encoded(const QString &path)
{
    QByteArray bytes = QFile::encodeName(path);
    while (bytes.size() > 1 && bytes.endsWith('/'))
        bytes.chop(1);
    return bytes;
}

/// `path` or its nearest existing ancestor; empty when there is none.
QByteArray nearestThatExists(QByteArray path)
{
    struct stat status = {};
    while (!path.isEmpty() && ::lstat(path.constData(), &status) != 0) {
        const qsizetype slash = path.lastIndexOf('/');
        path.truncate(slash == 0 && path.size() > 1 ? 1 : std::max<qsizetype>(slash, 0));
    }
    return path;
}

/// The beginning of the name of a temporary file that replaces another.
const QByteArray temporaryName(DiskNames::writtenPrefix.data(), DiskNames::writtenPrefix.size());

int writeAll(int descriptor, const QByteArray &content)
{
    qsizetype written = 0;
    while (written < content.size()) {
        const ssize_t count = ::write(descriptor, content.constData() + written,
                                      static_cast<size_t>(content.size() - written));
        if (count >= 0)
            written += count;
        else if (errno != EINTR)
            return errno;
    }
    return ::fsync(descriptor) == 0 ? 0 : errno;
}

/// Returns 0 when `path` may be overwritten, otherwise an errno value. Sets `mode` to the permissions of an
/// existing file.
int checkWritable(const QByteArray &path, std::optional<mode_t> &mode)
{
    struct stat status = {};
    if (::stat(path.constData(), &status) != 0)
        return errno == ENOENT ? 0 : errno;
    if (S_ISDIR(status.st_mode))
        return EISDIR;
    if (!S_ISREG(status.st_mode))
        return EINVAL;
    // A file that its owner made read-only stays unchanged, even though access() allows the superuser
    // everything.
    if ((status.st_mode & S_IWUSR) == 0)
        return EACCES;
    if (::access(path.constData(), W_OK) != 0)
        return errno;
    mode = status.st_mode & 0777;
    return 0;
}

int replaceFile(const QByteArray &path, const QByteArray &content)
{
    std::optional<mode_t> mode;
    if (const int error = checkWritable(path, mode); error != 0)
        return error;

    const QByteArray folder = path.left(path.lastIndexOf('/') + 1);
    const QByteArray temporary
        = folder + temporaryName + QUuid::createUuid().toByteArray(QUuid::WithoutBraces);
    FileDescriptor file(
        ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
    if (!file.isOpen())
        return errno;
    int error = writeAll(file.get(), content);
    if (error == 0 && mode && ::fchmod(file.get(), *mode) != 0)
        error = errno;
    if (!file.close() && error == 0)
        error = errno;
    if (error == 0 && ::rename(temporary.constData(), path.constData()) != 0)
        error = errno;
    if (error != 0)
        ::unlink(temporary.constData());
    return error;
}

/// Renames `from` to `to` in one step that fails when `to` exists.
int renameToFreeName(const QByteArray &from, const QByteArray &to)
{
#if defined(Q_OS_DARWIN)
    const int result = ::renamex_np(from.constData(), to.constData(), RENAME_EXCL);
#else
    const int result = ::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE);
#endif
    if (result == 0)
        return 0;
    if (errno != EINVAL && errno != ENOTSUP && errno != ENOSYS)
        return errno;
    // This file system has no exclusive rename: check first, and accept the race.
    struct stat status = {};
    if (::lstat(to.constData(), &status) == 0)
        return EEXIST;
    return ::rename(from.constData(), to.constData()) == 0 ? 0 : errno;
}

}

bool FileOperations::exists(const QString &path)
{
    struct stat status = {};
    return ::lstat(encoded(path).constData(), &status) == 0;
}

bool FileOperations::isReachable(const QString &path)
{
    struct stat status = {};
    return ::stat(encoded(path).constData(), &status) == 0;
}

bool FileOperations::isFolder(const QString &path)
{
    struct stat status = {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

void FileOperations::createFolder(const QString &folder)
{
    const QByteArray path = encoded(folder);
    const int error = makeFolder(path);
    if (error == 0)
        return;
    const QByteArray place = nearestThatExists(path);
    if (place.isEmpty() || place == path)
        throw FileError(folder, QStringLiteral("created"), error);
    throw FileError::noNewFolderIn(QFile::decodeName(place), error);
}

void FileOperations::removeTree(const QString &path)
{
    const QString action = QStringLiteral("removed");
    const QByteArray bytes = encoded(path);
    const QByteArray name = bytes.mid(bytes.lastIndexOf('/') + 1);
    if (name.isEmpty() || name == "." || name == "..")
        throw FileError(path, action, EINVAL);

    if (const RemovalFailure failure = removeTreeAt(bytes); failure.code != 0)
        throw FileError(QFile::decodeName(failure.name), action, failure.code);
}

bool FileOperations::removeTreeIfPossible(const QString &path) noexcept
{
    try {
        removeTree(path);
        return true;
    } catch (const std::exception &) {
        return false; // the caller chose to ignore failures
    }
}

void FileOperations::move(const QString &from, const QString &to)
{
    if (const int error = renameToFreeName(encoded(from), encoded(to)); error != 0)
        throw FileError(from, QStringLiteral("moved"), error);
}

void FileOperations::writeAtomically(const QString &path, const QByteArray &content)
{
    if (const int error = replaceFile(encoded(path), content); error != 0)
        throw FileError(path, QStringLiteral("written"), error);
}

void FileOperations::removeHalfWritten(const QString &folder) noexcept
{
    FolderWalk walk(FolderWalk::Permissions::AsTheyAre);
    QList<QByteArray> names;
    if (walk.begin(encoded(folder), FolderWalk::Start::NotThroughLink) != 0 || walk.list(names) != 0)
        return;
    for (const QByteArray &name : std::as_const(names)) {
        const bool isOurs = name.startsWith(temporaryName)
            && !QUuid::fromString(QString::fromUtf8(name.sliced(temporaryName.size()))).isNull();
        if (isOurs)
            static_cast<void>(walk.removeFile(name)); // the next start retries
    }
}
