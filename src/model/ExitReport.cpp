#include "ExitReport.h"

#include <cmath>
#include <limits>

namespace {

constexpr double shortestProperRun = 10.0;

/// To the nearest whole number, halves away from zero.
qint64 wholeSeconds(double seconds)
{
    // Two readings of a clock never differ by this much; continuing would show the player a made-up number.
    if (!std::isfinite(seconds)
        || std::abs(seconds) >= static_cast<double>(std::numeric_limits<qint64>::max()))
        qFatal("The game's running time is not a number of seconds.");
    return std::llround(seconds);
}

}

ExitReport exitReport(const GameExit &exit)
{
    if (exit.stoppedByUser)
        return { .failure = std::nullopt, .logLine = QStringLiteral("Game stopped.") };

    const qint64 seconds = wholeSeconds(exit.seconds);
    // The unrounded time decides: 9.6 seconds are "only 10 seconds".
    if (exit.seconds < shortestProperRun) {
        const QString message
            = QStringLiteral(
                  "The game closed after only %1 second%2 (exit code %3), so it did not start properly. These are the last lines of its log:")
                  .arg(seconds)
                  .arg(seconds == 1 ? QString() : QStringLiteral("s"))
                  .arg(exit.status);
        return { .failure = message, .logLine = std::nullopt };
    }
    if (exit.status != 0) {
        const QString message
            = QStringLiteral(
                  "The game stopped with an error (exit code %1) after %2 seconds. These are the last lines of its log:")
                  .arg(exit.status)
                  .arg(seconds);
        return { .failure = message, .logLine = std::nullopt };
    }
    return { .failure = std::nullopt, .logLine = QStringLiteral("Game closed normally.") };
}

QString withoutLinesToFollow(const QString &failure)
{
    const auto lead = QLatin1StringView(" These are the last lines of its log:");
    return failure.endsWith(lead) ? failure.chopped(lead.size()) : failure;
}
