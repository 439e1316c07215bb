#include "ChildEnd.h"

#include <csignal>

std::optional<ChildEnd> childEnd(int code, int status)
{
    switch (code) {
    case CLD_EXITED:
        // Some systems report all 32 bits of the value passed to exit(). Then -1 and -2 would look like the
        // launcher's own special results.
        return ChildEnd { .status = status & 0xff, .bySignal = false };
    case CLD_KILLED:
    case CLD_DUMPED:
        return ChildEnd { .status = status, .bySignal = true };
    default:
        return std::nullopt;
    }
}
