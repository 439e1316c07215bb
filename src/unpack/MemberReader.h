#pragma once

#include "ArchiveFile.h"
#include "Inflater.h"
#include "ZipDirectory.h"

#include <string>
#include <vector>

/// The best size for a read, in bytes: small enough to stay in the processor's cache until it is written.
constexpr std::size_t blockSize = 256 * 1024;

/// Reads members' data. Throws UnpackError, at the latest with the last byte, unless its length and checksum
/// are the ones that the directory declares. Not thread-safe.
class MemberReader final {
public:
    /// `file` must outlive it.
    explicit MemberReader(const ArchiveFile &file);

    /// Starts reading `member`, which error messages call `name`.
    void begin(const ZipMember &member, const std::string &name);

    /// Fills `buffer` with the next bytes and returns how many: 0 when all are read and match the directory.
    /// Read until then, even for an empty member. Throws UnpackError.
    std::size_t read(std::span<unsigned char> buffer);

private:
    [[noreturn]] void refuse(const std::string &how) const;
    void readDeflated(std::span<unsigned char> buffer);
    void finish();

    const ArchiveFile &m_file;
    Inflater m_inflater;
    std::vector<unsigned char> m_packed; // compressed bytes on their way to the inflater
    ZipMember m_member;
    std::string m_name;
    ArchivePart m_ahead; // the data not yet read
    std::uint64_t m_taken = 0; // bytes returned so far
    std::uint32_t m_checksum = 0; // of these
    bool m_isFinished = false;
};
