#include "Inflater.h"

#include <isa-l/igzip_lib.h>

#include <utility>

Inflater::Inflater()
    : m_state(std::make_unique<inflate_state>())
{
}

Inflater::~Inflater() = default;

void Inflater::begin(Source source)
{
    isal_inflate_init(m_state.get());
    m_source = std::move(source);
    m_hasFailed = false;
}

std::size_t Inflater::read(std::span<unsigned char> output)
{
    m_state->next_out = output.data();
    m_state->avail_out = static_cast<std::uint32_t>(output.size());
    while (!m_hasFailed && m_state->avail_out > 0 && m_state->block_state != ISAL_BLOCK_FINISH) {
        if (m_state->avail_in == 0) {
            const Bytes input = m_source();
            m_state->next_in = const_cast<unsigned char *>(input.data()); // ISA-L only reads it
            m_state->avail_in = static_cast<std::uint32_t>(input.size());
        }
        const auto inputBefore = m_state->avail_in;
        const auto outputBefore = m_state->avail_out;
        const int result = isal_inflate(m_state.get());
        // No progress means that the stream is truncated.
        m_hasFailed = result != ISAL_DECOMP_OK
            || (m_state->avail_in == inputBefore && m_state->avail_out == outputBefore
                && m_state->block_state != ISAL_BLOCK_FINISH);
    }
    return m_hasFailed ? 0 : output.size() - m_state->avail_out;
}

bool Inflater::isAtEnd()
{
    // ISA-L prefetches up to eight bytes into its bit buffer, and a whole byte left in there is not part of
    // the stream.
    return !m_hasFailed && m_state->block_state == ISAL_BLOCK_FINISH && m_state->avail_in == 0
        && m_state->read_in_length < 8 && m_source().empty();
}
