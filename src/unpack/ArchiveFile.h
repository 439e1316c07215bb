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

/// The archive file, open for as long as this lives: what is checked is what is unpacked, whatever happens to
/// its name. It is only ever read, never mapped: somebody may shorten it meanwhile. Thread-safe.
class ArchiveFile final {
public:
    /// Throws UnpackError when the file cannot be read or is not a regular file.
    explicit ArchiveFile(const std::string &path);

    /// In bytes, when it was opened.
    std::uint64_t size() const { return m_size; }

    /// Reads the first bytes of `part` into `buffer`, as many as both hold, and returns them. Throws
    /// UnpackError.
    Bytes read(ArchivePart part, std::span<unsigned char> buffer) const;

private:
    FileDescriptor m_file;
    std::uint64_t m_size = 0;
};

/// Small parts of an archive, read through one buffer: neighbours cost one call of the system. Not
/// thread-safe.
class ArchiveWindow final {
public:
    /// `file` outlives it.
    explicit ArchiveWindow(const ArchiveFile &file);

    /// All bytes of `part`, which lies within the file; valid until the next call. Takes as much memory as
    /// the largest part that was asked for. Throws UnpackError.
    Bytes bytes(ArchivePart part);

private:
    const ArchiveFile &m_file;
    std::vector<unsigned char> m_buffer;
    ArchivePart m_held; // what the buffer begins with
};
