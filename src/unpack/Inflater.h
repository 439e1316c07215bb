#pragma once

#include "ArchiveFile.h"
#include "Stretch.h"

#include <limits>
#include <memory>
#include <vector>

/// Unpacks what was packed by the method "deflate", block by block.
///
/// With ISA-L, not with zlib or libarchive, which stands on it: these take more than twice as long.
/// Everything is unpacked twice, once to check it and once to write it, and the player waits for both.
class Inflater final {
public:
    /// `file` outlives it.
    explicit Inflater(const ArchiveFile &file);
    ~Inflater();
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;

    /// Begins with `data`, or goes on with it from where `resume` was taken.
    void begin(ArchivePart data, const inflate_state *resume = nullptr);

    /// The next bytes, at most `most` of them; valid until the next call. Empty when there are no more, at
    /// the end or because the data breaks off or cannot be understood.
    Bytes next(std::uint64_t most = std::numeric_limits<std::uint64_t>::max());

    /// Whether the packed data has ended, by its own account, and nothing stands behind it.
    bool isAtEnd() const;

    /// What it takes to go on from here later: the state, and the data not read yet.
    std::shared_ptr<const inflate_state> state() const;
    ArchivePart rest() const;

private:
    const ArchiveFile &m_file;
    std::unique_ptr<inflate_state> m_state;
    ArchivePart m_ahead; // not read yet
    std::vector<unsigned char> m_packed;
    std::vector<unsigned char> m_block;
};
