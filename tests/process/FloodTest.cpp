// A child that prints faster than its output is read: every line arrives, in order, the main thread stays
// responsive and the memory stays small.

#include "Children.h"
#include "LogStore.h"
#include "Strain.h"

#include <QTest>
#include <QThread>

#include <atomic>
#include <csignal>

namespace {

/// Runs a flood to its end and verifies what it cost.
void flood(const QString &what, qint64 number, const std::function<void(const QString &)> &onLine)
{
    constexpr qint32 notEnded = -3;
    Strain strain;
    qint32 status = notEnded;
    const auto waiting = [](QCoro::Task<qint32> run, qint32 *into) -> QCoro::Task<> { *into = co_await run; };
    const auto waitingForIt
        = waiting(ProcessController::create()->run(Children::program(QStringLiteral("child-flood")),
                                                   { what, QString::number(number) }, onLine),
                  &status);
    const bool ended = strain.runUntil([&status] { return status != notEnded; }, std::chrono::minutes(10));
    if (!ended)
        qFatal("A flood did not end.");
    QCOMPARE(status, 0);
    qInfo("%lld %s: the longest gap between two turns was %lld ms, the memory rose by %lld kB",
          static_cast<long long>(number), qPrintable(what), static_cast<long long>(strain.longestGap()),
          static_cast<long long>(strain.memoryGrowth() / 1024));
    if (Strain::isMeasurable()) {
        QVERIFY(strain.keptItsTurns());
        QVERIFY(strain.memoryGrowth() <= Strain::mostMemory);
    }
    QVERIFY(Children::noneLeft());
}

}

class FloodTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyLineOfAFloodComesInOrder();
    void theLogKeepsExactlyTheLastLinesOfAFlood();
    void linesOfOneLetterLeaveTheMainThreadItsTurns();
    void everyByteOfAFloodWithoutALineEndComes_data();
    void everyByteOfAFloodWithoutALineEndComes();
    void theLogStaysSmallInAFloodWithoutALineEnd();
    void aFloodThatIsStoppedLeavesTheMainThreadItsTurns();
    void aChildWaitsWhileTheMainThreadIsBusy();
};

void FloodTest::everyLineOfAFloodComesInOrder()
{
    qint64 next = 0;
    bool isOrdered = true;
    flood(QStringLiteral("lines"), Strain::manyLines(), [&](const QString &line) {
        isOrdered = isOrdered && line == QString::number(next);
        ++next;
    });
    QCOMPARE(next, Strain::manyLines());
    QVERIFY(isOrdered);
}

void FloodTest::theLogKeepsExactlyTheLastLinesOfAFlood()
{
    LogStore log;
    flood(QStringLiteral("lines"), Strain::manyLines(), log.appender());
    QStringList last;
    for (qint64 line = Strain::manyLines() - LogStore::maxLines; line < Strain::manyLines(); ++line)
        last << QString::number(line);
    QCOMPARE(log.lines.get(), last);
}

void FloodTest::linesOfOneLetterLeaveTheMainThreadItsTurns()
{
    LogStore log;
    flood(QStringLiteral("shortest"), Strain::manyLines() / 2, log.appender());
    QCOMPARE(log.lines.get(), QStringList(LogStore::maxLines, QStringLiteral("y")));
}

void FloodTest::everyByteOfAFloodWithoutALineEndComes_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QChar>("character");
    QTest::newRow("letters") << QStringLiteral("bytes") << QChar(u'x');
    QTest::newRow("no text") << QStringLiteral("invalid") << QChar(QChar::ReplacementCharacter);
}

void FloodTest::everyByteOfAFloodWithoutALineEndComes()
{
    QFETCH(QString, what);
    QFETCH(QChar, character);
    qint64 count = 0;
    bool isWhole = true;
    flood(what, Strain::manyBytes() / 10, [&](const QString &line) {
        count += line.size();
        isWhole = isWhole && line.startsWith(character) && line.endsWith(character);
    });
    QCOMPARE(count, Strain::manyBytes() / 10);
    QVERIFY(isWhole);
}

void FloodTest::theLogStaysSmallInAFloodWithoutALineEnd()
{
    LogStore log;
    flood(QStringLiteral("bytes"), Strain::manyBytes(), log.appender());
    qsizetype kept = 0;
    for (const QString &line : log.lines.get())
        kept += line.size();
    QVERIFY(kept <= LogStore::maxTextLength);
    QVERIFY(kept >= std::min<qint64>(LogStore::maxTextLength / 2, Strain::manyBytes()));
}

void FloodTest::aFloodThatIsStoppedLeavesTheMainThreadItsTurns()
{
    LogStore log;
    Strain strain;
    const auto controller = ProcessController::create();
    auto task = controller->run(Children::program(QStringLiteral("child-flood")),
                                { QStringLiteral("forever") }, log.appender());
    qint64 changes = 0;
    connect(&log, &Observable::willChange, this, [&changes] { ++changes; });
    QVERIFY(strain.runUntil([&changes] { return changes > 3 * LogStore::maxLines; }));
    controller->cancel();
    QCOMPARE(Children::finishQuickly(std::move(task)), SIGTERM);
    if (Strain::isMeasurable())
        QVERIFY(strain.keptItsTurns());
}

void FloodTest::aChildWaitsWhileTheMainThreadIsBusy()
{
    std::atomic<int> count = 0;
    const auto controller = ProcessController::create();
    auto task = controller->run(Children::program(QStringLiteral("child-flood")),
                                { QStringLiteral("forever") }, [&](const QString &) { ++count; });
    // The event loop does not run here, so the reader stops after a few chunks.
    const auto settles = [&count] {
        for (int i = 0; i < 200; ++i) {
            const int before = count;
            QThread::msleep(50);
            if (before > 0 && count == before)
                return true;
        }
        return false;
    };
    QVERIFY(settles());
    QVERIFY(count <= 3 * 64 * 1024 / 10); // a chunk is at most what a pipe holds, a line has ten bytes
    controller->cancel();
    QCOMPARE(Tasks::finish(std::move(task)), SIGTERM);
}

QTEST_GUILESS_MAIN(FloodTest)
#include "FloodTest.moc"
