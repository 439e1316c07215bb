// Prints as fast as it can. "lines N": N short numbered lines. "bytes N": N bytes without a line feed.
// "shortest N": N lines of one letter. "invalid N": N bytes that are not UTF-8. "forever": lines until it is
// stopped.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

void printBytes(char byte, long number)
{
    const std::vector<char> block(1 << 16, byte);
    while (number > 0) {
        const size_t count = std::min(block.size(), static_cast<size_t>(number));
        if (std::fwrite(block.data(), 1, count, stdout) != count)
            return;
        number -= static_cast<long>(count);
    }
}

}

int main(int count, char **arguments)
{
    const char *what = count > 1 ? arguments[1] : "";
    const long number = count > 2 ? std::atol(arguments[2]) : 0;
    if (std::strcmp(what, "lines") == 0) {
        for (long i = 0; i < number; ++i)
            std::printf("%ld\n", i);
    } else if (std::strcmp(what, "shortest") == 0) {
        for (long i = 0; i < number; ++i)
            std::fputs("y\n", stdout);
    } else if (std::strcmp(what, "bytes") == 0) {
        printBytes('x', number);
    } else if (std::strcmp(what, "invalid") == 0) {
        printBytes('\xFF', number);
    } else if (std::strcmp(what, "forever") == 0) {
        while (std::puts("on and on") >= 0) { }
    } else {
        return 2;
    }
}
