#pragma once

#include <unistd.h>

#include <utility>

/// Owns an open file descriptor.
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

    bool isOpen() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }
    /// Hands the descriptor over to the caller, who closes it.
    int release() { return std::exchange(m_descriptor, -1); }

    /// Returns whether closing succeeded: some file systems report a full disk only then.
    bool close() { return m_descriptor < 0 || ::close(release()) == 0; }

private:
    int m_descriptor = -1;
};
