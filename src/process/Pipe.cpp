#include "Pipe.h"

#include <QtGlobal>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace {

int openPair(int (&ends)[2])
{
#ifdef Q_OS_DARWIN
    if (::pipe(ends) != 0)
        return errno;
    for (const int end : ends)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    return 0;
#else
    return ::pipe2(ends, O_CLOEXEC) == 0 ? 0 : errno;
#endif
}

/// Moves `descriptor` above the numbers of the standard streams, which are free when the launcher was started
/// without those streams.
int moveBehindStandardStreams(FileDescriptor &descriptor)
{
    if (descriptor.get() > STDERR_FILENO)
        return 0;
    FileDescriptor moved(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (moved.get() < 0)
        return errno;
    descriptor = std::move(moved);
    return 0;
}

}

int Pipe::open()
{
    int ends[2] = { -1, -1 };
    int error = openPair(ends);
    if (error != 0)
        return error;
    readEnd = FileDescriptor(ends[0]);
    writeEnd = FileDescriptor(ends[1]);
    error = moveBehindStandardStreams(readEnd);
    if (error == 0)
        error = moveBehindStandardStreams(writeEnd);
    if (error == 0)
        error = stopBlocking(readEnd);
    return error;
}

int stopBlocking(const FileDescriptor &descriptor)
{
    return ::fcntl(descriptor.get(), F_SETFL, O_NONBLOCK) == 0 ? 0 : errno;
}
