#pragma once

#include "ByteReader.h"

#include <array>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// Lets one thread write blocks of bytes while another fills the next ones: a large file is one stream, and
/// would otherwise keep one processor waiting for the disk and the others idle. Where no thread can be had,
/// the blocks are written at once. Belongs to the thread that fills; waits for the other in its destructor.
class WriteBehind final {
public:
    /// `write` is called for the blocks in their order, on the other thread; what it throws is thrown again
    /// here.
    explicit WriteBehind(std::function<void(Bytes)> write);
    ~WriteBehind();
    WriteBehind(const WriteBehind &) = delete;
    WriteBehind &operator=(const WriteBehind &) = delete;

    /// A block to fill. Waits until one is free. Throws what writing threw.
    std::span<unsigned char> block();
    /// Hands over the first `size` bytes of that block.
    void hand(std::size_t size);
    /// Waits until all is written. Throws what writing threw.
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
    std::size_t m_filled = 0; // guarded by the lock, like all below: blocks handed over so far
    std::size_t m_written = 0; // of these
    bool m_isEnding = false;
    std::exception_ptr m_error; // nothing is written after one
    std::thread m_thread;
};
