#include "Extraction.h"
#include "UnpackError.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>

namespace {

/// Ends this program when the one that started it ends, however that happens: nobody would wait for the
/// result.
bool endWithParent()
{
    const pid_t parent = getppid();
    return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent;
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

}

// Called like the archive tool of macOS: vantor-unpack -x -k ARCHIVE FOLDER
int main(int argc, char **argv)
{
    if (argc != 5 || std::strcmp(argv[1], "-x") != 0 || std::strcmp(argv[2], "-k") != 0) {
        std::fputs("usage: vantor-unpack -x -k ARCHIVE FOLDER\n", stderr);
        return 1;
    }
    obeyTermination();
    if (!endWithParent())
        return 1;
    // Names are UTF-8 whatever the environment says. Where this locale is missing, only plain names are
    // unpacked.
    std::setlocale(LC_CTYPE, "C.UTF-8");

    try {
        unpack(argv[3], argv[4]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
