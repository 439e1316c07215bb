#pragma once

#include <QString>

#include <chrono>
#include <optional>

/// How long a step will take until its fraction is 1, from its speed, which is smoothed over about ten
/// seconds. The caller supplies the time. Not thread-safe.
class RemainingTime final {
public:
    using Clock = std::chrono::steady_clock;

    /// The step has got as far as `fraction`, from 0 to 1, at `now`. Starts anew without a value, and when
    /// the fraction is smaller than before.
    void update(Clock::time_point now, std::optional<double> fraction);

    /// "about 2 minutes left", or an empty text when too little is known, and at the end.
    QString text() const;

    /// The text for so many seconds. Empty below ten, and above a day.
    static QString text(std::chrono::duration<double> left);

private:
    struct Moment {
        Clock::time_point time;
        double fraction = 0;
    };

    std::optional<Moment> m_start;
    Moment m_last;
    double m_perSecond = 0;
};
