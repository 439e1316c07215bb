#include "StallWatch.h"

#include <QTest>

using namespace std::chrono_literals;

class StallWatchTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aTransferThatBringsNothingStallsAfterOneWindow()
    {
        const StallWatch watch(m_start, 50s, 64);
        QVERIFY(watch.deadline() == m_start + 50s);
    }

    void enoughBytesBeginANewWindow()
    {
        StallWatch watch(m_start, 50s, 64);
        watch.received(m_start + 10s, 3200);
        QVERIFY(watch.deadline() == m_start + 60s);
    }

    void dripsAreAStandstill()
    {
        StallWatch watch(m_start, 50s, 64);
        for (int second = 1; second <= 49; ++second)
            watch.received(m_start + second * 1s, second * 2);
        QVERIFY(watch.deadline() == m_start + 50s);
    }

    void theSlowestAllowedSpeedIsNoStandstill()
    {
        StallWatch watch(m_start, 50s, 64);
        for (int second = 1; second <= 500; ++second) {
            watch.received(m_start + second * 1s, second * 64);
            QVERIFY(watch.deadline() > m_start + second * 1s);
        }
    }

    void aSilenceAfterABurstEndsWithinOneWindow()
    {
        StallWatch watch(m_start, 50s, 64);
        watch.received(m_start + 5s, 1'000'000);
        watch.received(m_start + 6s, 1'000'100);
        QVERIFY(watch.deadline() == m_start + 55s);
    }

private:
    const StallWatch::Clock::time_point m_start = StallWatch::Clock::now();
};

QTEST_GUILESS_MAIN(StallWatchTest)
#include "StallWatchTest.moc"
