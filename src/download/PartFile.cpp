#include "PartFile.h"

#include "DiskNames.h"
#include "FileError.h"
#include "FileOperations.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

PartFile::PartFile(const QString &destination)
    : m_destination(destination)
    , m_path(destination + DiskNames::partSuffix)
{
}

PartFile::~PartFile() { discard(); }

void PartFile::open()
{
    m_file = FileDescriptor(
        ::open(QFile::encodeName(m_path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    // Errors name the file that the player knows.
    if (!m_file.isOpen())
        throw FileError(m_destination, QStringLiteral("created"), errno);
    m_exists = true;
}

void PartFile::write(QByteArrayView bytes)
{
    if (!m_file.isOpen())
        open();
    while (!bytes.isEmpty()) {
        const ssize_t count = ::write(m_file.get(), bytes.data(), static_cast<size_t>(bytes.size()));
        if (count >= 0)
            bytes = bytes.sliced(count);
        else if (errno != EINTR)
            throw FileError(m_destination, QStringLiteral("written"), errno);
    }
}

void PartFile::beginAgain()
{
    if (!m_file.isOpen())
        return;
    if (::ftruncate(m_file.get(), 0) != 0 || ::lseek(m_file.get(), 0, SEEK_SET) != 0)
        throw FileError(m_destination, QStringLiteral("written"), errno);
}

qint64 PartFile::size() const
{
    if (!m_file.isOpen())
        return 0;
    struct stat info = {};
    return ::fstat(m_file.get(), &info) == 0 ? static_cast<qint64>(info.st_size) : -1;
}

void PartFile::moveIntoPlace()
{
    write({}); // an empty body makes an empty file
    // A network file system may report a full disk only now.
    if (!m_file.close())
        throw FileError(m_destination, QStringLiteral("written"), errno);
    FileOperations::removeTree(m_destination);
    try {
        FileOperations::move(m_path, m_destination);
    } catch (const FileError &error) {
        throw FileError(m_destination, QStringLiteral("written"), error.code());
    }
    m_exists = false;
}

void PartFile::discard() noexcept
{
    m_file.close();
    if (std::exchange(m_exists, false))
        ::unlink(QFile::encodeName(m_path).constData());
}
