#include "StallWatch.h"

#include <QTest>

using namespace std::chrono_literals;

class StallWatchTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_watch = StallWatch(m_start, 50s, 64); }

    void aTransferThatBringsNothingStallsAfterOneWindow() { QVERIFY(m_watch.deadline() == m_start + 50s); }

    void enoughBytesBeginANewWindow()
    {
        m_watch.received(m_start + 10s, 3200);
        QVERIFY(m_watch.deadline() == m_start + 60s);
    }

    void dripsCountAsAStall()
    {
        for (int second = 1; second <= 49; ++second)
            m_watch.received(m_start + second * 1s, second * 2);
        QVERIFY(m_watch.deadline() == m_start + 50s);
    }

    void theSlowestAllowedSpeedIsNoStall()
    {
        for (int second = 1; second <= 500; ++second) {
            m_watch.received(m_start + second * 1s, second * 64);
            QVERIFY(m_watch.deadline() > m_start + second * 1s);
        }
    }

    void aSilenceAfterABurstEndsWithinOneWindow()
    {
        m_watch.received(m_start + 5s, 1'000'000);
        m_watch.received(m_start + 6s, 1'000'100);
        QVERIFY(m_watch.deadline() == m_start + 55s);
    }

private:
    const StallWatch::Clock::time_point m_start = StallWatch::Clock::now();
    StallWatch m_watch = StallWatch(m_start, 50s, 64);
};

QTEST_GUILESS_MAIN(StallWatchTest)
#include "StallWatchTest.moc"
