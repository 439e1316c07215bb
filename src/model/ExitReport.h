#pragma once

#include "GameExit.h"

#include <QString>

#include <optional>

/// What the end of a game run means to the player. Exactly one of the two is set.
struct ExitReport {
    /// The sentence of the failure view: the game did not start properly, or stopped with an error.
    std::optional<QString> failure;
    /// The line for the log: the game ended as it should.
    std::optional<QString> logLine;
};

/// Judges one run. A game that closes within ten seconds did not start properly, whatever its exit status:
/// players do not quit that soon, but games that lack something do, and many of them with status 0.
ExitReport exitReport(const GameExit &exit);

/// `failure` without the words that lead to the log's last lines, for a place that does not show those.
QString withoutLinesToFollow(const QString &failure);
