#pragma once

#include <utility>

/// Owns an open file descriptor and closes it on destruction.
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

/// Both ends of a pipe. A child process inherits neither, and neither has the number of a standard stream, so
/// that a child's streams can be set up in any order.
struct Pipe {
    FileDescriptor readEnd; // non-blocking
    FileDescriptor writeEnd;

    /// Opens both ends. Returns an errno value, 0 on success.
    int open();
};

/// Makes `descriptor` non-blocking. Returns an errno value, 0 on success.
int stopBlocking(const FileDescriptor &descriptor);
