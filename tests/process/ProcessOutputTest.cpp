#include "Children.h"
#include "LogStore.h"

#include <QElapsedTimer>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <csignal>

namespace {

/// The most memory that this process has ever had, in bytes.
qint64 mostMemory()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
#ifdef Q_OS_DARWIN
    return usage.ru_maxrss;
#else
    return usage.ru_maxrss * 1024;
#endif
}

qint32 flood(const QStringList &arguments, const std::function<void(const QString &)> &onLine)
{
    const QString program = Children::program(QStringLiteral("child-flood"));
    return Children::finishQuickly(ProcessController::create()->run(program, arguments, onLine));
}

/// Sanitizers keep freed memory for a while, so that it counts as used.
constexpr bool memoryIsMeasurable()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    return false;
#else
    return true;
#endif
#else
    return true;
#endif
}

}

class ProcessOutputTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void carriageReturnAndLineFeedEndOneLine();
    void aLastLineWithoutABreakComes();
    void lineFeedsAloneGiveNoLines();
    void bothStreamsComeAsOneInTheOrderOfWriting();
    void invalidBytesBecomeReplacementCharacters();
    void whatAChildPrintsJustBeforeItsEndComesWhole();
    void aMillionLinesComeCompleteAndInOrder();
    void aFloodOfLinesLeavesTheMainThreadItsTurns();
    void aFloodOfLinesNeedsLittleMemory();
    void aFloodWithoutALineEndNeedsLittleMemory();
    void aChildWaitsWhileTheMainThreadIsBusy();
    void everyLineIsInTheLogWhenTheRunIsOver();
};

void ProcessOutputTest::carriageReturnAndLineFeedEndOneLine()
{
    const auto run = Children::shell(QStringLiteral("printf 'a\\r\\nb\\n'"));
    QCOMPARE(run.lines, QStringList({ QStringLiteral("a"), QStringLiteral("b") }));
}

void ProcessOutputTest::aLastLineWithoutABreakComes()
{
    const auto run = Children::shell(QStringLiteral("printf x"));
    QCOMPARE(run.lines, QStringList(QStringLiteral("x")));
}

void ProcessOutputTest::lineFeedsAloneGiveNoLines()
{
    QVERIFY(Children::shell(QStringLiteral("printf '\\n\\n\\n'")).lines.isEmpty());
}

void ProcessOutputTest::bothStreamsComeAsOneInTheOrderOfWriting()
{
    const auto run = Children::shell(
        QStringLiteral("i=0; while [ $i -lt 100 ]; do echo out $i; echo error $i >&2; i=$((i + 1)); done"));
    QStringList expected;
    for (int i = 0; i < 100; ++i)
        expected << QStringLiteral("out %1").arg(i) << QStringLiteral("error %1").arg(i);
    QCOMPARE(run.lines, expected);
}

void ProcessOutputTest::invalidBytesBecomeReplacementCharacters()
{
    const auto run = Children::shell(QStringLiteral("printf '\\377A\\n'"));
    QCOMPARE(run.lines, QStringList(QStringLiteral("\uFFFDA")));
}

void ProcessOutputTest::whatAChildPrintsJustBeforeItsEndComesWhole()
{
    // More than is read at once, and as much as a pipe holds.
    const auto run = Children::shell(QStringLiteral("head -c 65536 /dev/zero | tr '\\0' x; printf end"));
    QCOMPARE(run.lines.join(QString()).size(), 65'539);
    for (int i = 0; i < 50; ++i)
        QCOMPARE(Children::shell(QStringLiteral("seq 1000; exit 9")).lines.size(), 1000);
}

void ProcessOutputTest::aMillionLinesComeCompleteAndInOrder()
{
    int next = 0;
    bool isOrdered = true;
    const auto onLine = [&](const QString &line) {
        isOrdered = isOrdered && line.startsWith(QString::number(next) + u' ');
        ++next;
    };
    QCOMPARE(flood({ QStringLiteral("lines"), QStringLiteral("1000000") }, onLine), 0);
    QCOMPARE(next, 1'000'000);
    QVERIFY(isOrdered);
}

void ProcessOutputTest::aFloodOfLinesLeavesTheMainThreadItsTurns()
{
    LogStore log;
    int turns = 0;
    qint64 longest = 0;
    QElapsedTimer sinceLast;
    sinceLast.start();
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] {
        ++turns;
        longest = std::max(longest, sinceLast.restart());
    });
    timer.start(1);
    const auto controller = ProcessController::create();
    auto task = controller->run(Children::program(QStringLiteral("child-flood")),
                                { QStringLiteral("forever") }, log.appender());
    connect(&log, &Observable::willChange, this, [&] {
        if (turns >= 200 && log.lines->size() == LogStore::maxLines)
            controller->cancel();
    });
    QCOMPARE(Children::finishQuickly(std::move(task)), SIGTERM);
    qInfo("The longest gap between two turns was %lld ms.", static_cast<long long>(longest));
}

void ProcessOutputTest::aFloodOfLinesNeedsLittleMemory()
{
    if (!memoryIsMeasurable())
        QSKIP("A sanitizer keeps freed memory.");
    LogStore log;
    const qint64 before = mostMemory();
    QCOMPARE(flood({ QStringLiteral("lines"), QStringLiteral("1000000") }, log.appender()), 0);
    QCOMPARE(log.lines->size(), LogStore::maxLines);
    QVERIFY(log.lines->last().startsWith(QStringLiteral("999999 ")));
    QVERIFY2(mostMemory() - before < 64'000'000, qPrintable(QString::number(mostMemory() - before)));
}

void ProcessOutputTest::aFloodWithoutALineEndNeedsLittleMemory()
{
    LogStore log;
    const qint64 before = mostMemory();
    QCOMPARE(flood({ QStringLiteral("bytes"), QStringLiteral("200000000") }, log.appender()), 0);
    qsizetype kept = 0;
    for (const QString &line : log.lines.get())
        kept += line.size();
    QVERIFY(kept <= LogStore::maxTextLength);
    QVERIFY(kept > LogStore::maxTextLength / 2);
    if (memoryIsMeasurable())
        QVERIFY2(mostMemory() - before < 128'000'000, qPrintable(QString::number(mostMemory() - before)));
}

void ProcessOutputTest::aChildWaitsWhileTheMainThreadIsBusy()
{
    std::atomic<int> count = 0;
    const auto controller = ProcessController::create();
    auto task = controller->run(Children::program(QStringLiteral("child-flood")),
                                { QStringLiteral("forever") }, [&](const QString &) { ++count; });
    // The main thread does not turn its loop: the reader stops after a few pieces.
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
    QVERIFY(count <= 3 * 32 * 1024 / 10);
    controller->cancel();
    QCOMPARE(Tasks::finish(std::move(task)), SIGTERM);
}

void ProcessOutputTest::everyLineIsInTheLogWhenTheRunIsOver()
{
    for (int i = 0; i < 50; ++i) {
        LogStore log;
        const QString script = QStringLiteral("seq 2500; printf last");
        QCOMPARE(Tasks::finish(ProcessController::create()->run(
                     QStringLiteral("/bin/sh"), { QStringLiteral("-c"), script }, log.appender())),
                 0);
        QCOMPARE(log.lines->size(), 2501);
        QCOMPARE(log.lines->last(), QStringLiteral("last"));
    }
}

QTEST_GUILESS_MAIN(ProcessOutputTest)
#include "ProcessOutputTest.moc"
