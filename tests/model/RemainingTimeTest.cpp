#include "RemainingTime.h"

#include "Table.h"

#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using Seconds = std::chrono::duration<double>;

namespace {

/// A step has got so far, so many seconds after its start; no value when that is unknown.
struct Progress {
    double seconds;
    std::optional<double> fraction;
};

/// A step at an even speed, told about every tenth of a second.
QList<Progress> evenly(double from, double to, double fractionAtStart, double perSecond)
{
    QList<Progress> all;
    for (int tenth = 0; tenth <= std::lround((to - from) * 10); ++tenth)
        all.append({ from + tenth / 10.0, fractionAtStart + perSecond * tenth / 10 });
    return all;
}

}

class RemainingTimeTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aPersonReadsIt_data()
    {
        const auto row = table<double, QString>("seconds", "text");
        row("no time", 0, {});
        row("less than ten seconds", 9.9, {});
        row("ten seconds", 10, u"about 10 seconds left"_s);
        row("the nearest ten below", 44, u"about 40 seconds left"_s);
        row("the nearest ten above", 46, u"about 50 seconds left"_s);
        row("almost a minute", 53.9, u"about 50 seconds left"_s);
        row("a minute", 54, u"about 1 minute left"_s);
        row("little more than a minute", 89, u"about 1 minute left"_s);
        row("two minutes", 91, u"about 2 minutes left"_s);
        row("almost ten minutes", 590, u"about 10 minutes left"_s);
        row("the nearest five minutes", 13 * 60, u"about 15 minutes left"_s);
        row("almost an hour", 53 * 60, u"about 55 minutes left"_s);
        row("an hour", 54 * 60, u"about 1 hour left"_s);
        row("hours", 100 * 60, u"about 2 hours left"_s);
        row("a day", 24 * 3600, u"about 24 hours left"_s);
        row("more than anyone waits for", 25 * 3600, {});
        row("for ever", HUGE_VAL, {});
        row("a negative time", -30, {});
        row("no number", std::nan(""), {});
    }

    void aPersonReadsIt()
    {
        QFETCH(double, seconds);
        QTEST(RemainingTime::text(Seconds(seconds)), "text");
    }

    void itFollowsTheSpeed_data()
    {
        const auto row = table<QList<Progress>, QString>("steps", "text");
        row("nothing is known at the start", { { 0, 0.0 } }, {});
        row("nor soon after", evenly(0, 2.9, 0, 0.01), {});
        row("an even speed", evenly(0, 15, 0, 0.01), u"about 1 minute left"_s);
        row("an even speed from the middle", evenly(0, 10, 0.5, 0.01), u"about 40 seconds left"_s);
        row("almost at the end", evenly(0, 10, 0.83, 0.01), {});
        row("at the end", evenly(0, 100, 0, 0.01), {});
        row("a standstill from the start", evenly(0, 10, 0.3, 0), {});
        // A second at a tenth of the speed would make it ten times as long without smoothing.
        row("a short stall hardly counts", evenly(0, 20, 0, 0.01) + evenly(20, 21, 0.2, 0.001),
            u"about 1 minute left"_s);
        row("a lasting change does", evenly(0, 20, 0, 0.01) + evenly(20, 60, 0.2, 0.001),
            u"about 10 minutes left"_s);
        row("a long standstill is endless", evenly(0, 20, 0, 0.01) + evenly(20, 300, 0.2, 0), {});
        row("an unknown fraction is forgotten", evenly(0, 20, 0, 0.01) + QList<Progress> { { 21, {} } }, {});
        row("what follows starts anew",
            evenly(0, 20, 0, 0.01) + QList<Progress> { { 21, {} } } + evenly(22, 24, 0.3, 0.01), {});
        row("a fraction that falls starts anew", evenly(0, 20, 0, 0.01) + evenly(21, 23, 0, 0.01), {});
        row("and is then known again", evenly(0, 20, 0, 0.01) + evenly(21, 41, 0, 0.001),
            u"about 15 minutes left"_s);
        row("two reports at one time", { { 0, 0.0 }, { 0, 0.1 }, { 10, 0.2 }, { 10, 0.5 } },
            u"about 40 seconds left"_s);
    }

    void itFollowsTheSpeed()
    {
        QFETCH(const QList<Progress>, steps);
        const auto start = RemainingTime::Clock::now();
        RemainingTime remaining;
        for (const Progress &step : steps) {
            const auto passed
                = std::chrono::duration_cast<RemainingTime::Clock::duration>(Seconds(step.seconds));
            remaining.update(start + passed, step.fraction);
        }
        QTEST(remaining.text(), "text");
    }
};

QTEST_GUILESS_MAIN(RemainingTimeTest)
#include "RemainingTimeTest.moc"
