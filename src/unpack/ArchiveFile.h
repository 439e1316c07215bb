#pragma once

#include "ByteReader.h"
#include "FileDescriptor.h"

#include <string>
#include <vector>

/// A range of an archive's bytes.
struct ArchivePart {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

/// The archive file, kept open for the lifetime of this object: what was checked is what is unpacked,
/// whatever happens at its path. It is read, never mapped: another process may truncate it meanwhile.
/// Thread-safe.
class ArchiveFile final {
public:
    /// Throws UnpackError when the file cannot be read or is not a regular file.
    explicit ArchiveFile(const std::string &path);

    /// In bytes, when the file was opened.
    std::uint64_t size() const { return m_size; }

    /// Reads `part`, or as much of it as fits, into `buffer` and returns the bytes read. Throws UnpackError.
    Bytes read(ArchivePart part, std::span<unsigned char> buffer) const;

private:
    FileDescriptor m_file;
    std::uint64_t m_size = 0;
};

/// Reads small parts of an archive through one buffer: neighbours share one system call. Not thread-safe.
class ArchiveWindow final {
public:
    /// `file` must outlive it.
    explicit ArchiveWindow(const ArchiveFile &file);

    /// The bytes of `part`, which lies within the file; valid until the next call. The buffer grows to the
    /// largest part requested. Throws UnpackError.
    Bytes bytes(ArchivePart part);

private:
    const ArchiveFile &m_file;
    std::vector<unsigned char> m_buffer;
    ArchivePart m_held; // the range now in the buffer
};
