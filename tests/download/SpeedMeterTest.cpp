#include "SpeedMeter.h"

#include "Table.h"

#include <QTest>

/// What is measured so many milliseconds after the start.
struct Measurement {
    int time;
    qint64 totalBytes;
    double speed;
};

class SpeedMeterTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aSpeedIsTheAverageOverAnInterval_data()
    {
        const auto row = table<QList<Measurement>>("measurements");
        row("none is known within the first half second", { { 0, 100, 0 }, { 499, 100'000, 0 } });
        row("the first interval begins at construction", { { 400, 500, 0 }, { 500, 1000, 2000 } });
        row("a speed stays until the next interval ends",
            { { 1000, 1000, 1000 }, { 1499, 900'000, 1000 }, { 1500, 1500, 1000 }, { 2000, 1600, 200 } });
        row("a long interval is averaged over its whole length", { { 10'000, 5000, 500 } });
        row("a standstill is a speed of zero", { { 1000, 1000, 1000 }, { 2000, 1000, 0 } });
    }

    void aSpeedIsTheAverageOverAnInterval()
    {
        QFETCH(QList<Measurement>, measurements);
        const SpeedMeter::Clock::time_point start = SpeedMeter::Clock::now();
        SpeedMeter meter(start);
        for (const Measurement &at : measurements)
            QCOMPARE(meter.measure(start + std::chrono::milliseconds(at.time), at.totalBytes), at.speed);
    }

    void whatIsThereAtTheStartIsNoSpeed()
    {
        const SpeedMeter::Clock::time_point start = SpeedMeter::Clock::now();
        SpeedMeter meter(start, 1'000'000);
        QCOMPARE(meter.measure(start + std::chrono::seconds(1), 1'000'500), 500.0);
    }
};

QTEST_GUILESS_MAIN(SpeedMeterTest)
#include "SpeedMeterTest.moc"
