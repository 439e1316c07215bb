#include "StallWatch.h"

#include "Table.h"

#include <QTest>

using namespace std::chrono_literals;

/// Seconds after the start, and all bytes until then.
using Received = QList<std::pair<int, qint64>>;

class StallWatchTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aWindowWithoutEnoughBytesIsAStall_data()
    {
        const auto row = table<Received, int>("received", "deadline");
        row("nothing", {}, 50);
        row("enough begins a new window", { { 10, 3200 } }, 60);
        row("one byte less does not", { { 10, 3199 } }, 50);
        row("silence after a burst", { { 5, 1'000'000 }, { 6, 1'000'100 } }, 55);
        Received drips;
        for (int second = 1; second <= 49; ++second)
            drips.append({ second, second * 2 });
        row("drips", drips, 50);
    }

    void aWindowWithoutEnoughBytesIsAStall()
    {
        QFETCH(Received, received);
        QFETCH(int, deadline);
        StallWatch watch(m_start, 50s, 64);
        for (const auto &[second, totalBytes] : received)
            watch.received(m_start + second * 1s, totalBytes);
        QVERIFY(watch.deadline() == m_start + deadline * 1s);
    }

    void theSlowestAllowedSpeedIsNoStall()
    {
        StallWatch watch(m_start, 50s, 64);
        for (int second = 1; second <= 500; ++second) {
            watch.received(m_start + second * 1s, second * 64);
            QVERIFY(watch.deadline() > m_start + second * 1s);
        }
    }

private:
    const StallWatch::Clock::time_point m_start = StallWatch::Clock::now();
};

QTEST_GUILESS_MAIN(StallWatchTest)
#include "StallWatchTest.moc"
