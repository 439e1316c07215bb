#pragma once

#include "ByteReader.h"

#include <functional>
#include <memory>

struct inflate_state;

/// Decompresses deflate streams. ISA-L does the work, in half the time of zlib.
///
/// An error ends the stream: ISA-L must not be called again after one, because it then miscounts the input
/// that is left and would read beyond its end. Not thread-safe; reusable.
class Inflater final {
public:
    /// Returns the next chunk of compressed bytes, valid until the next call; empty at the end.
    using Source = std::function<Bytes()>;

    Inflater();
    ~Inflater();
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;

    /// Starts a new stream, which `source` supplies chunk by chunk.
    void begin(Source source);

    /// Fills `output` with the next bytes and returns how many. Returns fewer than fit at the end of the
    /// stream, and 0 from then on or on failure.
    std::size_t read(std::span<unsigned char> output);

    /// Whether the stream is invalid or truncated. Its output must then not be used.
    bool hasFailed() const { return m_hasFailed; }

    /// Whether the stream has ended as it should, with no input left after it.
    bool isAtEnd();

private:
    std::unique_ptr<inflate_state> m_state;
    Source m_source;
    bool m_hasFailed = false;
};
