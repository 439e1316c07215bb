#include "ArchiveCheck.h"
#include "Confinement.h"
#include "Extraction.h"
#include "FolderWriter.h"
#include "NameHash.h"
#include "Parallel.h"

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
#include <string>
#include <vector>

namespace {

constexpr int problem = 1;

/// Ends this program when the one that started it ends, however that happens: nobody would wait for the
/// result. Where that cannot be asked for, it ends a little later by itself.
bool endWithParent()
{
#ifdef __linux__
    const pid_t parent = getppid();
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != parent)
        return false;
#endif
    // It may have ended before the first look at it. Then nobody reads what is printed here any more.
    pollfd output = { STDOUT_FILENO, 0, 0 };
    return poll(&output, 1, 0) <= 0 || (output.revents & POLLERR) == 0;
}

/// A request to end is followed at once, whatever the starting program made of that signal for itself.
void obeyTermination()
{
    std::signal(SIGTERM, SIG_DFL);
    sigset_t termination;
    sigemptyset(&termination);
    sigaddset(&termination, SIGTERM);
    sigprocmask(SIG_UNBLOCK, &termination, nullptr);
}

/// Asks the system what it will not be asked for later, and gives up the rights that reading an archive does
/// not need. Everything that has a path is open by now.
void giveUpRights(int folder)
{
    // Times in headers are local ones. Without a name for the zone, the C library looks for a new one each
    // time.
    setenv("TZ", ":/etc/localtime", 0);
    tzset();
    threadCount();
    nameHash({});
    confine(folder); // what the system lacks is no reason not to unpack
}

void unpackFile(const std::string &path, const std::string &folderPath)
{
    const ArchiveFile archive(path);
    const FileDescriptor folder = openEmptyFolder(folderPath);
    giveUpRights(folder.get());
    unpack(archive, folder.get());
}

void checkFile(const std::string &path)
{
    const ArchiveFile archive(path);
    giveUpRights(-1);
    checkArchive(archive);
}

/// What the program is asked to do; nothing to call when it is called in another way than it knows.
std::function<void()> workOf(const std::vector<std::string> &arguments)
{
    if (arguments.size() == 4 && arguments[0] == "-x" && arguments[1] == "-k")
        return [&arguments] { unpackFile(arguments[2], arguments[3]); };
    if (arguments.size() == 2 && arguments[0] == "--check")
        return [&arguments] { checkFile(arguments[1]); };
    return {};
}

}

// Unpacks when called like the archive tool of macOS, and also only checks, for that tool checks little.
int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    const std::function<void()> work = workOf(arguments);
    if (!work) {
        std::fputs("usage: vantor-unpack -x -k ARCHIVE FOLDER\n"
                   "       vantor-unpack --check ARCHIVE\n",
                   stderr);
        return problem;
    }
    obeyTermination();
    std::signal(SIGXFSZ, SIG_IGN); // a file that grows too large is an error like any other
    umask(0); // modes are those that are asked for
    if (!endWithParent())
        return problem;

    try {
        work();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return problem;
    }
    return 0;
}
