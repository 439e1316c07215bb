#include "ArchiveCheck.h"
#include "Confinement.h"
#include "Extraction.h"
#include "FolderWriter.h"
#include "NameHash.h"
#include "Parallel.h"
#include "RoomCheck.h"

#include <poll.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr int problem = 1;
constexpr int noRoom = 3; // the launcher knows this number

constexpr const char *usage = R"(usage: vantor-unpack -x -k ARCHIVE FOLDER
       vantor-unpack --check ARCHIVE [--into FOLDER]
)";

/// Makes this program end when its parent does, however that happens: nobody would wait for the result. Where
/// the system cannot arrange that, it ends a little later by itself. Returns false when the parent has
/// already ended.
bool endWithParent()
{
#ifdef __linux__
    const pid_t parent = getppid();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        return false;
#endif
    // The parent may have ended before the first getppid(). Then nobody reads our output any more.
    pollfd output = { STDOUT_FILENO, 0, 0 };
    return poll(&output, 1, 0) <= 0 || (output.revents & POLLERR) == 0;
}

/// Makes SIGTERM end this program at once, even if the parent ignored or blocked it and that was inherited.
void obeyTermination()
{
    std::signal(SIGTERM, SIG_DFL);
    sigset_t termination;
    sigemptyset(&termination);
    sigaddset(&termination, SIGTERM);
    sigprocmask(SIG_UNBLOCK, &termination, nullptr);
}

/// Asks the system what it would refuse to tell later, then gives up the rights that reading an archive does
/// not need. Whatever is opened by path must be open by now.
void giveUpRights(int folder)
{
    // Times in headers are local ones. With TZ unset, the C library looks for a changed zone each time.
    setenv("TZ", ":/etc/localtime", 0);
    tzset();
    threadCount();
    nameHash({});
    confine(folder); // unpack even where the system lacks some of it
}

/// The room where an archive is to be unpacked; no value when the system does not say. `place` is an open
/// folder or a path.
template <typename Place> std::optional<DiskRoom> roomAt(Place place)
{
    DiskRoom room;
    return diskRoom(place, room) == 0 ? std::optional(room) : std::nullopt;
}

void unpackFile(const std::string &path, const std::string &folderPath)
{
    const ArchiveFile archive(path);
    const FileDescriptor folder = openEmptyFolder(folderPath);
    const std::optional<DiskRoom> room = roomAt(folder.get());
    giveUpRights(folder.get());
    unpack(archive, folder.get(), room);
}

/// Checks the archive, and where a folder is given, that it fits there.
void checkFile(const std::string &path, const char *folderPath)
{
    const ArchiveFile archive(path);
    const std::optional<DiskRoom> room = folderPath ? roomAt(folderPath) : std::nullopt;
    giveUpRights(-1);
    checkArchive(archive, room);
}

/// The work that the arguments ask for; empty when they are not understood.
std::function<void()> workOf(const std::vector<std::string> &arguments)
{
    if (arguments.size() == 4 && arguments[0] == "-x" && arguments[1] == "-k")
        return [&arguments] { unpackFile(arguments[2], arguments[3]); };
    if (arguments.size() == 2 && arguments[0] == "--check")
        return [&arguments] { checkFile(arguments[1], nullptr); };
    if (arguments.size() == 4 && arguments[0] == "--check" && arguments[2] == "--into")
        return [&arguments] { checkFile(arguments[1], arguments[3].c_str()); };
    return {};
}

}

// Takes the arguments of macOS's archive tool to unpack, and can also only check, since that tool checks
// little. Prints nothing and ends with 0, or prints a line and ends with `problem`; with `noRoom` when only
// the disk is too full.
int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    const std::function<void()> work = workOf(arguments);
    if (!work) {
        std::fputs(usage, stderr);
        return problem;
    }
    obeyTermination();
    std::signal(SIGXFSZ, SIG_IGN); // writing too large a file is an error like any other
    umask(0); // files get exactly the modes requested
    if (!endWithParent())
        return problem;

    try {
        work();
    } catch (const NoRoomError &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return noRoom;
    } catch (const std::bad_alloc &) {
        std::fputs("There is not enough memory to read the archive.\n", stderr);
        return problem;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return problem;
    }
    return 0;
}
