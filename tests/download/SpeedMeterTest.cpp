#include "SpeedMeter.h"

#include <QTest>

using namespace std::chrono_literals;

class SpeedMeterTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void noSpeedIsKnownWithinTheFirstHalfSecond()
    {
        SpeedMeter meter(m_start);
        QCOMPARE(meter.measure(m_start, 100), 0.0);
        QCOMPARE(meter.measure(m_start + 499ms, 100'000), 0.0);
    }

    void theFirstIntervalBeginsAtConstruction()
    {
        SpeedMeter meter(m_start);
        meter.measure(m_start + 400ms, 500);
        QCOMPARE(meter.measure(m_start + 500ms, 1000), 2000.0);
    }

    void aSpeedStaysUntilTheNextIntervalCloses()
    {
        SpeedMeter meter(m_start);
        QCOMPARE(meter.measure(m_start + 1s, 1000), 1000.0);
        QCOMPARE(meter.measure(m_start + 1499ms, 900'000), 1000.0);
        QCOMPARE(meter.measure(m_start + 1500ms, 1500), 1000.0);
        QCOMPARE(meter.measure(m_start + 2s, 1600), 200.0);
    }

    void aLongIntervalIsAveragedOverItsWholeLength()
    {
        SpeedMeter meter(m_start);
        QCOMPARE(meter.measure(m_start + 10s, 5000), 500.0);
    }

    void aStandstillIsASpeedOfZero()
    {
        SpeedMeter meter(m_start);
        meter.measure(m_start + 1s, 1000);
        QCOMPARE(meter.measure(m_start + 2s, 1000), 0.0);
    }

private:
    const SpeedMeter::Clock::time_point m_start = SpeedMeter::Clock::now();
};

QTEST_GUILESS_MAIN(SpeedMeterTest)
#include "SpeedMeterTest.moc"
