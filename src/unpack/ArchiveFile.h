#pragma once

#include "ByteReader.h"
#include "FileDescriptor.h"
#include "ZipDirectory.h"

#include <string>

/// The archive file, open for as long as this lives: what is checked is what is unpacked, whatever happens to
/// its name.
class ArchiveFile final {
public:
    /// Throws UnpackError when the file cannot be read or is no file.
    explicit ArchiveFile(const std::string &path);
    ~ArchiveFile();
    ArchiveFile(const ArchiveFile &) = delete;
    ArchiveFile &operator=(const ArchiveFile &) = delete;

    /// The whole archive in memory, for reading here and there.
    Bytes bytes() const { return { static_cast<const unsigned char *>(m_memory), m_size }; }

    /// Reads the first bytes of `part` into `buffer`, as many as it holds, and gives them. For much data:
    /// unlike `bytes`, it fills no more memory than the buffer. Any thread. Throws UnpackError.
    Bytes read(ArchivePart part, std::span<unsigned char> buffer) const;

private:
    FileDescriptor m_file;
    void *m_memory = nullptr;
    std::size_t m_size = 0;
};
