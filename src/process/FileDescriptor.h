#pragma once

#include <utility>

/// An open file descriptor, closed with its owner.
class FileDescriptor final {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    FileDescriptor(FileDescriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor() { close(); }

    int get() const { return m_descriptor; }
    void close();

private:
    int m_descriptor = -1;
};

/// Both ends of a pipe. Neither reaches a child process by itself, and neither has the number of a standard
/// stream, so that a child's streams can be set up in any order.
struct Pipe {
    FileDescriptor readEnd; // never blocks
    FileDescriptor writeEnd;

    /// Opens both ends. An errno value, 0 for success.
    int open();
};

/// Makes writing to `descriptor`, or reading from it, return at once. An errno value, 0 for success.
int stopBlocking(const FileDescriptor &descriptor);
