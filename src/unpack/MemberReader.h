#pragma once

#include "Inflater.h"
#include "Stretch.h"
#include "ZipDirectory.h"

#include <string>
#include <vector>

/// Reads files' data, and takes nothing but what the checked directory announced: each must have that length
/// and that checksum. Whatever fails throws UnpackError. The archive stays in memory meanwhile; one thread at
/// a time.
class MemberReader final {
public:
    /// `file` outlives it.
    explicit MemberReader(const ArchiveFile &file);

    /// Reads all data of `member`, and gives it in as many stretches as threads can write at once, if it is
    /// large. Their `member` is left to the caller.
    std::vector<Stretch> check(const ZipMember &member);
    /// Where `member`, a link, leads.
    std::string target(const ZipMember &member);
    /// Writes a stretch of `member` to its place in the open file `output`. Throws UnpackError when it is no
    /// longer what was checked.
    void write(const Stretch &stretch, const ZipMember &member, int output);

private:
    template <typename Take> void readStored(ArchivePart data, Take take);

    const ArchiveFile &m_file;
    Inflater m_inflater;
    std::vector<unsigned char> m_buffer;
};
