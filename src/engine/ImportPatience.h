#pragma once

#include <chrono>

/// How long an engine may take to end after it has imported everything.
struct ImportPatience {
    /// The time without a line printed or anything changed below the project, after which it is asked to end.
    std::chrono::milliseconds quiet = std::chrono::seconds(30);
    /// The time from then until it is killed.
    std::chrono::milliseconds beforeKill = std::chrono::seconds(5);
};
