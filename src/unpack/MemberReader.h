#pragma once

#include "ArchiveFile.h"
#include "Inflater.h"
#include "ZipDirectory.h"

#include <string>
#include <vector>

/// How many bytes are best read at once: few enough to stay in the processor's cache until they are written.
constexpr std::size_t blockSize = 256 * 1024;

/// Reads members' data and compares it with what the directory announced: each must have that length and that
/// checksum, or an UnpackError is thrown, at the latest with its last byte. Not thread-safe.
class MemberReader final {
public:
    /// `file` outlives it.
    explicit MemberReader(const ArchiveFile &file);

    /// Starts with `member`; `name` is what a refusal calls it.
    void begin(const ZipMember &member, const std::string &name);

    /// Fills `buffer` with the next bytes and returns how many: zero when all have been read, and they are
    /// what was announced. Read until then, even where no bytes are expected. Throws UnpackError.
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
    ArchivePart m_ahead; // the data that was not read yet
    std::uint64_t m_taken = 0; // bytes that were handed out
    std::uint32_t m_checksum = 0; // of these
    bool m_isFinished = false;
};
