#pragma once

#include <QByteArray>

/// Writes a raw deflate stream code by code, so that tests can make streams that no honest tool writes.
class DeflateStream final {
public:
    /// A block whose bytes are not compressed.
    void stored(const QByteArray &bytes, bool isLast = false)
    {
        begin(0, isLast);
        while (m_count > 0)
            bits(0, 1);
        const auto size = static_cast<quint32>(bytes.size());
        bits(size, 16);
        bits(~size & 0xffff, 16);
        m_bytes += bytes;
    }

    /// Starts a block of literals and matches with the fixed Huffman codes.
    void beginFixed(bool isLast = false) { begin(1, isLast); }

    void literals(const QByteArray &bytes)
    {
        for (const char byte : bytes) {
            const auto value = static_cast<unsigned char>(byte);
            if (value < 144)
                code(0x30U + value, 8);
            else
                code(0x190U + value - 144U, 9);
        }
    }

    /// Repeats three bytes from `distance` (1 to 4) bytes back.
    void match(quint32 distance)
    {
        code(257 - 256, 7);
        code(distance - 1, 5);
    }

    void endBlock() { code(0, 7); }

    /// An empty block with dynamic Huffman codes.
    void emptyDynamic(bool isLast = false)
    {
        begin(2, isLast);
        bits(0, 5); // 257 codes for literals and lengths
        bits(0, 5); // one for distances
        bits(18 - 4, 4);
        // Only two code lengths have a code, of one bit each: 18, a run of up to 138 zeros, and 1.
        for (int index = 0; index < 18; ++index)
            bits(index == 2 || index == 17 ? 1 : 0, 3);
        const quint32 one = 0;
        const quint32 zeros = 1;
        bits(one, 1);
        bits(zeros, 1);
        bits(138 - 11, 7);
        bits(zeros, 1);
        bits(117 - 11, 7);
        bits(one, 1);
        bits(one, 1);
        bits(1, 1); // the end of the block is the second of two codes
    }

    QByteArray bytes() const
    {
        return m_count == 0 ? m_bytes : m_bytes + QByteArray(1, static_cast<char>(m_pending));
    }

private:
    void begin(quint32 type, bool isLast)
    {
        bits(isLast ? 1 : 0, 1);
        bits(type, 2);
    }

    /// Numbers are written lowest bit first, codes highest bit first.
    void bits(quint32 value, int count)
    {
        for (int index = 0; index < count; ++index) {
            m_pending |= (value >> index & 1U) << m_count;
            if (++m_count == 8) {
                m_bytes += static_cast<char>(m_pending);
                m_pending = 0;
                m_count = 0;
            }
        }
    }

    void code(quint32 value, int count)
    {
        while (count-- > 0)
            bits(value >> count & 1U, 1);
    }

    QByteArray m_bytes;
    quint32 m_pending = 0;
    int m_count = 0;
};
