#pragma once

#include "ArchiveFile.h"
#include "ZipDirectory.h"

#include <ctime>
#include <memory>
#include <optional>
#include <string>

struct archive;
struct archive_entry;

/// Reads the members' data with libarchive, and takes nothing but what the checked directory announced:
/// libarchive also believes fields that the directory does not have. Whatever fails throws UnpackError.
class MemberReader final {
public:
    /// `file` outlives the reader; one reader at a time.
    explicit MemberReader(const ArchiveFile &file);

    /// Goes on to the next member in the archive's order, which must be `member`.
    void next(const ZipMember &member);

    /// Where the current member, a link, leads.
    std::string target(const ZipMember &member) const;

    std::optional<std::time_t> modified() const;

    /// Reads the current member's data. Its length and its checksum must be the announced ones.
    void check(const ZipMember &member);
    /// The same, and writes it to the open file `output`.
    void copyTo(int output, const ZipMember &member);

    /// Throws unless the last member was read.
    void expectEnd();

private:
    template <typename Take> void readData(const ZipMember &member, Take take);
    [[noreturn]] void fail(const std::string &what) const;

    struct Free {
        void operator()(archive *reader) const;
    };
    std::unique_ptr<archive, Free> m_archive;
    archive_entry *m_entry = nullptr; // owned by m_archive
};
