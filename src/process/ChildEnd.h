#pragma once

#include <QtGlobal>

#include <optional>

/// How a child process ended.
struct ChildEnd {
    /// Its exit code, from 0 to 255, or the number of the signal that ended it.
    qint32 status = 0;
    bool bySignal = false;

    bool operator==(const ChildEnd &) const = default;
};

/// Converts the `si_code` and `si_status` that waitid() reports. No value when the child has not ended, but
/// was stopped, continued or trapped.
std::optional<ChildEnd> childEnd(int code, int status);
