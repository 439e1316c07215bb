// Starts a program as directly as possible, discards its standard output, and prints when it started
// (nanoseconds of the monotonic clock), its run time, processor time and peak memory. The script could not:
// a child's peak includes the process that it was forked from, and an interpreter is large.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

extern char **environ;

namespace {

long long now()
{
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<long long>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

double milliseconds(const timeval &time)
{
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

}

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    const long long before = now();
    pid_t child = 0;
    if (posix_spawnp(&child, argv[1], &actions, nullptr, argv + 1, environ) != 0)
        return 1;
    int status = 0;
    rusage usage = {};
    wait4(child, &status, 0, &usage);
    const long long after = now();
    std::printf("started %lld\n", before);
    std::printf("milliseconds %.3f\n", static_cast<double>(after - before) / 1e6);
    std::printf("processor %.3f\n", milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime));
    std::printf("peak %.3f\n", static_cast<double>(usage.ru_maxrss) / 1e3);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
