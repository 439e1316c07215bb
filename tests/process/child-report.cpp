// Prints what it was started with: its open descriptors, standard input, signals, arguments, environment and
// working folder.

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

int main(int count, char **arguments)
{
    std::printf("descriptors:");
    for (int descriptor = 0; descriptor < 4096; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0)
            std::printf(" %d", descriptor);
    }

    char byte = 0;
    std::printf("\ninput: %d", static_cast<int>(read(STDIN_FILENO, &byte, 1)));

    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    std::printf("\nsignals:");
    for (int signal = 1; signal < 32; ++signal) {
        struct sigaction action = {};
        if (sigismember(&blocked, signal) == 1)
            std::printf(" %d-blocked", signal);
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
            std::printf(" %d-ignored", signal);
    }

    std::printf("\nprogram: %s\n", arguments[0]);
    for (int i = 1; i < count; ++i)
        std::printf("argument: <%s>\n", arguments[i]);
    const char *variable = std::getenv("CHILD_REPORT_VARIABLE");
    std::printf("variable: %s\n", variable ? variable : "(none)");
    char folder[4096];
    std::printf("folder: %s\n", getcwd(folder, sizeof folder) ? folder : "(none)");
}
