#pragma once

#include <QtGlobal>

/// How one run of the game ended.
struct GameExit {
    /// The game's exit status, or one of ProcessController's two special results.
    qint32 status = 0;
    /// From the accepted launch to the end of the run and its last output, by a monotonic clock.
    double seconds = 0;
    /// The launcher itself stopped the game.
    bool stoppedByUser = false;

    bool operator==(const GameExit &) const = default;
};
