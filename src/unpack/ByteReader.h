#pragma once

#include "UnpackError.h"

#include <cstdint>
#include <span>
#include <string>

using Bytes = std::span<const unsigned char>;

[[noreturn]] inline void refuseMissingPart()
{
    throw UnpackError("The archive is damaged: a part of its list of contents is missing.");
}

/// Reads little-endian numbers and strings in sequence. Throws UnpackError instead of reading beyond the end.
class ByteReader final {
public:
    explicit ByteReader(Bytes bytes)
        : m_bytes(bytes)
    {
    }

    std::size_t left() const { return m_bytes.size(); }

    Bytes take(std::size_t count)
    {
        if (count > m_bytes.size())
            refuseMissingPart();
        const Bytes taken = m_bytes.first(count);
        m_bytes = m_bytes.subspan(count);
        return taken;
    }

    std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
    std::uint64_t u64() { return number(8); }

    std::string text(std::size_t count)
    {
        const Bytes taken = take(count);
        return std::string(taken.begin(), taken.end());
    }

private:
    std::uint64_t number(std::size_t count)
    {
        std::uint64_t value = 0;
        unsigned shift = 0;
        for (const unsigned char byte : take(count)) {
            value |= static_cast<std::uint64_t>(byte) << shift;
            shift += 8;
        }
        return value;
    }

    Bytes m_bytes;
};
