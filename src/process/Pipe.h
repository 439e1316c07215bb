#pragma once

#include "FileDescriptor.h"

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
