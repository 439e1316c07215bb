#include "Inflater.h"

#include <isa-l/igzip_lib.h>

#include <algorithm>

namespace {

/// As much as the processor keeps at hand from unpacking it to writing it.
constexpr std::size_t blockSize = 256 * 1024;

}

Inflater::Inflater(const ArchiveFile &file)
    : m_file(file)
    , m_state(std::make_unique<inflate_state>())
    , m_packed(blockSize)
    , m_block(blockSize)
{
}

Inflater::~Inflater() = default;

void Inflater::begin(ArchivePart data, const inflate_state *resume)
{
    if (resume)
        *m_state = *resume;
    else
        isal_inflate_init(m_state.get());
    m_state->avail_in = 0;
    m_ahead = data;
}

Bytes Inflater::next(std::uint64_t most)
{
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(most, m_block.size()));
    m_state->next_out = m_block.data();
    m_state->avail_out = static_cast<std::uint32_t>(size);
    while (m_state->avail_out == size && m_state->block_state != ISAL_BLOCK_FINISH) {
        if (m_state->avail_in == 0) {
            const Bytes piece = m_file.read(m_ahead, m_packed);
            m_ahead.offset += piece.size();
            m_ahead.size -= piece.size();
            m_state->next_in = m_packed.data();
            m_state->avail_in = static_cast<std::uint32_t>(piece.size());
        }
        const auto inputBefore = m_state->avail_in;
        if (isal_inflate(m_state.get()) != ISAL_DECOMP_OK)
            break;
        if (m_state->avail_out == size && m_state->avail_in == inputBefore)
            break; // it neither reads nor gives
    }
    return { m_block.data(), size - m_state->avail_out };
}

bool Inflater::isAtEnd() const
{
    // It takes some bytes into its own hands before it knows that they are not for it.
    return m_state->block_state == ISAL_BLOCK_FINISH && rest().size == 0 && m_state->read_in_length < 8;
}

std::shared_ptr<const inflate_state> Inflater::state() const
{
    return std::make_shared<const inflate_state>(*m_state);
}

ArchivePart Inflater::rest() const
{
    return { m_ahead.offset - m_state->avail_in, m_ahead.size + m_state->avail_in };
}
