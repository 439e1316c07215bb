// A child that prints faster than its output is read: every line arrives, in order, the main thread stays
// responsive and the memory stays small.

#include "Children.h"
#include "LogStore.h"
#include "Strain.h"

#include <QTest>
#include <QThread>

#include <atomic>
#include <csignal>

using namespace Qt::StringLiterals;

namespace {

using Handler = std::function<void(const QString &)>;

const QStringList forever = { u"forever"_s };

QCoro::Task<qint32> start(std::shared_ptr<ProcessController> controller, QStringList arguments,
                          Handler onLine)
{
    return controller->run(Children::program(u"child-flood"_s), arguments, onLine);
}

/// Runs `task` to its end and returns its result.
qint32 finish(Strain &strain, QCoro::Task<qint32> task)
{
    if (!strain.runUntil([&task] { return task.isReady(); }, std::chrono::minutes(10)))
        qFatal("A flood did not end.");
    return Children::finish(std::move(task));
}

/// Runs a flood to its end and verifies what it cost.
void flood(const QString &what, qint64 number, const Handler &onLine)
{
    Strain strain;
    QCOMPARE(finish(strain, start(ProcessController::create(), { what, QString::number(number) }, onLine)),
             0);
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
    void everyLineOfAFloodArrivesInOrder()
    {
        qint64 next = 0;
        bool isOrdered = true;
        flood(u"lines"_s, Strain::manyLines(), [&](const QString &line) {
            isOrdered = isOrdered && line == QString::number(next);
            ++next;
        });
        QCOMPARE(next, Strain::manyLines());
        QVERIFY(isOrdered);
    }

    void theLogKeepsExactlyTheLastLinesOfAFlood()
    {
        LogStore log;
        flood(u"lines"_s, Strain::manyLines(), log.appender());
        QStringList last;
        for (qint64 line = Strain::manyLines() - LogStore::maxLines; line < Strain::manyLines(); ++line)
            last << QString::number(line);
        QCOMPARE(log.lines.get(), last);
    }

    void linesOfOneLetterLeaveTheMainThreadItsTurns()
    {
        LogStore log;
        flood(u"shortest"_s, Strain::manyLines() / 2, log.appender());
        QCOMPARE(log.lines.get(), QStringList(LogStore::maxLines, u"y"_s));
    }

    void everyByteOfAFloodWithoutALineEndArrives()
    {
        using Flood = std::pair<QString, QChar>;
        for (const auto &[what, character] :
             { Flood(u"bytes"_s, u'x'), Flood(u"invalid"_s, QChar::ReplacementCharacter) }) {
            qint64 count = 0;
            bool isWhole = true;
            flood(what, Strain::manyBytes() / 10, [&, byte = character](const QString &line) {
                count += line.size();
                isWhole = isWhole && line.startsWith(byte) && line.endsWith(byte);
            });
            QCOMPARE(count, Strain::manyBytes() / 10);
            QVERIFY(isWhole);
        }
    }

    void theLogStaysSmallInAFloodWithoutALineEnd()
    {
        LogStore log;
        flood(u"bytes"_s, Strain::manyBytes(), log.appender());
        qsizetype kept = 0;
        for (const QString &line : log.lines.get())
            kept += line.size();
        QVERIFY(kept <= LogStore::maxTextLength);
        QVERIFY(kept >= std::min<qint64>(LogStore::maxTextLength / 2, Strain::manyBytes()));
    }

    void aFloodThatIsStoppedLeavesTheMainThreadItsTurns()
    {
        LogStore log;
        Strain strain;
        const auto controller = ProcessController::create();
        auto task = start(controller, forever, log.appender());
        qint64 changes = 0;
        connect(&log, &Observable::willChange, this, [&changes] { ++changes; });
        QVERIFY(strain.runUntil([&changes] { return changes > 3 * LogStore::maxLines; }));
        controller->cancel();
        QCOMPARE(finish(strain, std::move(task)), SIGTERM);
        if (Strain::isMeasurable())
            QVERIFY(strain.keptItsTurns());
    }

    void aChildWaitsWhileTheMainThreadIsBusy()
    {
        std::atomic<int> count = 0;
        const auto controller = ProcessController::create();
        auto task = start(controller, forever, [&](const QString &) { ++count; });
        // The event loop does not run here, so the reader stops after a few chunks.
        int before = -1;
        for (int i = 0; i < 200 && (before <= 0 || before != count); ++i) {
            before = count;
            QThread::msleep(50);
        }
        QCOMPARE(before, count);
        QVERIFY(count > 0);
        QVERIFY(count <= 3 * 64 * 1024 / 10); // a chunk is at most what a pipe holds, a line has ten bytes
        controller->cancel();
        QCOMPARE(Children::finish(std::move(task)), SIGTERM);
    }
};

QTEST_GUILESS_MAIN(FloodTest)
#include "FloodTest.moc"
