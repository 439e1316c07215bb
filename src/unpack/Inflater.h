#pragma once

#include "ByteReader.h"

#include <functional>
#include <memory>

struct inflate_state;

/// Decompresses what was compressed by the method "deflate". ISA-L does the work: it takes half the time of
/// zlib.
///
/// An error is final: ISA-L must not be called again after one, because its state then counts wrongly how
/// much input is left, and it would read beyond the end of it. Not thread-safe; reusable.
class Inflater final {
public:
    /// Returns the next compressed bytes, valid until the next call, and nothing at their end.
    using Source = std::function<Bytes()>;

    Inflater();
    ~Inflater();
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;

    /// Starts a new stream, which `source` is asked for piece by piece.
    void begin(Source source);

    /// Fills `output` with the next bytes and returns how many. Fewer than it holds, and from then on none,
    /// at the end of the stream or when it has failed.
    std::size_t read(std::span<unsigned char> output);

    /// Whether the stream cannot be understood, or breaks off. Nothing that it held may be used then.
    bool hasFailed() const { return m_hasFailed; }

    /// Whether the stream has ended by its own account, and nothing stands behind it.
    bool isAtEnd();

private:
    std::unique_ptr<inflate_state> m_state;
    Source m_source;
    bool m_hasFailed = false;
};
