// Stands in for the engine where the launcher is measured and not the game. The environment tells it to:
//
//   STAMP=FILE  write its start time to the file, in nanoseconds of the monotonic clock
//   LINES=N     print N lines of 80 characters, then exit
//   QUIET=1     print nothing, and run until a signal ends it

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

namespace {

void stamp(const char *file)
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    std::FILE *out = std::fopen(file, "w");
    if (!out)
        std::exit(1);
    std::fprintf(out, "%lld\n", static_cast<long long>(now.tv_sec) * 1'000'000'000 + now.tv_nsec);
    std::fclose(out);
}

void printLines(long count)
{
    constexpr int width = 80;
    const std::string filling(width, '.');
    for (long line = 1; line <= count; ++line) {
        const int length = std::printf("%ld ", line);
        std::printf("%s\n", filling.c_str() + length);
    }
}

}

int main()
{
    if (const char *file = std::getenv("STAMP"))
        stamp(file);
    if (const char *count = std::getenv("LINES"))
        printLines(std::atol(count));
    if (std::getenv("QUIET"))
        pause();
    return 0;
}
