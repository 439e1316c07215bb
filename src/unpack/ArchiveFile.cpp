#include "ArchiveFile.h"

#include "ErrnoText.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

/// In bytes: enough for a few dozen headers with their names, yet little to read where headers are far apart.
constexpr std::size_t windowSize = 4096;

}

ArchiveFile::ArchiveFile(const std::string &path)
    // Non-blocking: opening a named pipe would wait for a writer.
    : m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
{
    struct stat info = {};
    if (!m_file.isOpen() || fstat(m_file.get(), &info) != 0)
        throw UnpackError("The archive could not be opened: " + errnoText(errno) + ".");
    if (!S_ISREG(info.st_mode) || info.st_size == 0)
        throw UnpackError("The file is not a zip archive.");
    m_size = static_cast<std::uint64_t>(info.st_size);
}

Bytes ArchiveFile::read(ArchivePart part, std::span<unsigned char> buffer) const
{
    const std::size_t size = std::min<std::uint64_t>(part.size, buffer.size());
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count
            = pread(m_file.get(), buffer.data() + done, size - done, static_cast<off_t>(part.offset + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw UnpackError("The archive could not be read: " + errnoText(errno) + ".");
        if (count == 0)
            throw UnpackError("The archive is damaged: it has become shorter.");
        done += static_cast<std::size_t>(count);
    }
    return buffer.first(size);
}

ArchiveWindow::ArchiveWindow(const ArchiveFile &file)
    : m_file(file)
    , m_buffer(windowSize)
{
}

Bytes ArchiveWindow::bytes(ArchivePart part)
{
    const bool isHeld = part.offset >= m_held.offset && part.size <= m_held.size
        && part.offset - m_held.offset <= m_held.size - part.size;
    if (!isHeld) {
        if (m_buffer.size() < part.size)
            m_buffer.resize(part.size);
        m_held = {}; // in case reading throws
        const ArchivePart behind { part.offset, m_file.size() - part.offset };
        m_held = { part.offset, m_file.read(behind, m_buffer).size() };
    }
    return Bytes(m_buffer).subspan(part.offset - m_held.offset, part.size);
}
