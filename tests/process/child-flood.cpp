// Prints as fast as it can. "lines N": N numbered lines. "bytes N": N bytes and never a line's end.
// "forever": until it is stopped.

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int count, char **arguments)
{
    const char *what = count > 1 ? arguments[1] : "";
    const long number = count > 2 ? std::atol(arguments[2]) : 0;
    if (std::strcmp(what, "lines") == 0) {
        for (long i = 0; i < number; ++i)
            std::printf("%ld of a flood of lines that nobody can read so fast\n", i);
    } else if (std::strcmp(what, "bytes") == 0) {
        for (long i = 0; i < number; ++i)
            std::putchar('x');
    } else if (std::strcmp(what, "forever") == 0) {
        while (std::puts("on and on") >= 0) { }
    } else {
        return 2;
    }
}
