#pragma once

#include "ByteReader.h"

#include <array>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// Writes blocks of bytes on another thread while the caller fills the next ones: a large file is one stream,
/// and would otherwise keep one processor waiting for the disk and the others idle. If no thread can be
/// started, the blocks are written at once. Used by one thread only; the destructor waits for the other.
class WriteBehind final {
public:
    /// `write` is called for the blocks in order, on the other thread; what it throws is rethrown to the
    /// caller.
    explicit WriteBehind(std::function<void(Bytes)> write);
    ~WriteBehind();
    WriteBehind(const WriteBehind &) = delete;
    WriteBehind &operator=(const WriteBehind &) = delete;

    /// Returns a block to fill, waiting until one is free. Rethrows what writing threw.
    std::span<unsigned char> block();
    /// Hands over the first `size` bytes of that block.
    void hand(std::size_t size);
    /// Waits until everything is written. Rethrows what writing threw.
    void finish();

private:
    static constexpr std::size_t blockCount = 3;
    struct Block {
        std::vector<unsigned char> bytes;
        std::size_t size = 0;
    };

    void writeAll();

    std::function<void(Bytes)> m_write;
    std::array<Block, blockCount> m_blocks;
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::size_t m_filled = 0; // blocks handed over so far; guarded by m_lock, like the next three
    std::size_t m_written = 0; // of these
    bool m_isEnding = false;
    std::exception_ptr m_error; // once set, nothing more is written
    std::thread m_thread;
};
