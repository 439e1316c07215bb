#pragma once

#include "ByteReader.h"
#include "FileDescriptor.h"

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

    int descriptor() const { return m_file.get(); }
    Bytes bytes() const { return { static_cast<const unsigned char *>(m_memory), m_size }; }

private:
    FileDescriptor m_file;
    void *m_memory = nullptr;
    std::size_t m_size = 0;
};
