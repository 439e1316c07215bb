#include "WriteBehind.h"

#include "MemberReader.h"

#include <system_error>
#include <utility>

WriteBehind::WriteBehind(std::function<void(Bytes)> write)
    : m_write(std::move(write))
{
    for (Block &block : m_blocks)
        block.bytes.resize(blockSize);
    try {
        m_thread = std::thread([this] { writeAll(); });
    } catch (const std::system_error &) {
        // hand() writes the blocks itself.
    }
}

WriteBehind::~WriteBehind()
{
    {
        const std::lock_guard guard(m_lock);
        m_isEnding = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

std::span<unsigned char> WriteBehind::block()
{
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return m_error || m_filled - m_written < blockCount; });
    if (m_error)
        std::rethrow_exception(m_error);
    return m_blocks[m_filled % blockCount].bytes;
}

void WriteBehind::hand(std::size_t size)
{
    Block &block = m_blocks[m_filled % blockCount];
    block.size = size;
    if (!m_thread.joinable()) {
        m_write(Bytes(block.bytes).first(size));
        return;
    }
    {
        const std::lock_guard guard(m_lock);
        ++m_filled;
    }
    m_changed.notify_all();
}

void WriteBehind::finish()
{
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return m_error || m_filled == m_written; });
    if (m_error)
        std::rethrow_exception(m_error);
}

void WriteBehind::writeAll()
{
    std::unique_lock lock(m_lock);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isEnding || m_written < m_filled; });
        if (m_isEnding) // all is written, or something has failed
            return;
        const Block &block = m_blocks[m_written % blockCount];
        lock.unlock();
        std::exception_ptr error;
        try {
            m_write(Bytes(block.bytes).first(block.size));
        } catch (...) {
            error = std::current_exception();
        }
        lock.lock();
        ++m_written;
        if (error) {
            m_error = error;
            m_changed.notify_all();
            return;
        }
        m_changed.notify_all();
    }
}
