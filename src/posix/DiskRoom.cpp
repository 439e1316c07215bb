#include "DiskRoom.h"

#ifdef __APPLE__
#include <sys/mount.h>
#include <sys/param.h>
#else
#include <sys/statvfs.h>
#endif

#include <cerrno>
#include <limits>

namespace {

constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();

/// The largest block that files grow by. Network file systems name what one request carries instead, a
/// megabyte, say; there, and wherever nothing is known, files are taken to grow by `usualBlock`.
constexpr std::uint64_t largestBlock = 64 * 1024;
constexpr std::uint64_t usualBlock = 4096;

// On macOS, statvfs() counts blocks in 32 bits.
#ifdef __APPLE__
using Answer = struct statfs;
int ask(const char *path, Answer &answer) { return ::statfs(path, &answer); }
int ask(int descriptor, Answer &answer) { return ::fstatfs(descriptor, &answer); }
std::uint64_t unitOf(const Answer &answer) { return answer.f_bsize; }
#else
using Answer = struct statvfs;
int ask(const char *path, Answer &answer) { return ::statvfs(path, &answer); }
int ask(int descriptor, Answer &answer) { return ::fstatvfs(descriptor, &answer); }
std::uint64_t unitOf(const Answer &answer) { return answer.f_frsize; }
#endif

template <typename Place> int roomOf(Place place, DiskRoom &room)
{
    Answer answer = {};
    while (ask(place, answer) != 0) {
        if (errno != EINTR)
            return errno;
    }
    // Some network and FUSE file systems report no blocks at all: they do not know.
    const std::uint64_t unit = unitOf(answer);
    if (answer.f_blocks == 0 || unit == 0)
        return ENOTSUP;
    room.free = saturatedProduct(answer.f_bavail, unit);
    room.block = unit <= largestBlock ? unit : usualBlock;
    return 0;
}

}

int diskRoom(const char *path, DiskRoom &room) { return roomOf(path, room); }

int diskRoom(int descriptor, DiskRoom &room) { return roomOf(descriptor, room); }

std::uint64_t saturatedProduct(std::uint64_t left, std::uint64_t right)
{
    return right != 0 && left > most / right ? most : left * right;
}

std::uint64_t saturatedSum(std::uint64_t left, std::uint64_t right)
{
    return left > most - right ? most : left + right;
}
