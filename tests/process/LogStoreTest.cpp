#include "LogStore.h"

#include "MainThread.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>
#include <thread>
#include <vector>

namespace {

QString numbered(int i) { return QStringLiteral("line %1").arg(i); }

/// Runs `work` on another thread and blocks until it has finished.
template <typename Work> void onAnotherThread(Work work) { std::thread(work).join(); }

void turnTheLoop() { QCoreApplication::processEvents(); }

}

class LogStoreTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aNewLogIsEmpty();
    void newlinesAroundALineAreTrimmed();
    void everyKindOfNewlineIsTrimmed();
    void spacesAroundALineStay();
    void anEmptyTextIsAnEmptyLine();
    void aTextOfNewlinesIsOneEmptyLine();
    void aBreakInsideATextStaysInOneLine();
    void threeThousandLinesAreKept();
    void theOldestLineGivesWayToTheNewest();
    void overlongLinesMakeRoomSooner();
    void theNewestLineStaysWhateverItsLength();
    void anAssignedListIsCountedAnew();
    void assigningAnEmptyListEmptiesTheLog();
    void aLineIsOneAnnouncedChange();
    void aTrimIsASecondAnnouncedChange();
    void anAnnouncementComesBeforeTheChange();
    void aLineOfTheMainThreadIsStoredAtOnce();
    void aLineOfAnotherThreadWaitsForTheMainThread();
    void linesOfAnotherThreadComeInOrder();
    void linesThatArriveDuringTheStoringComeToo();
    void aLineOfTheMainThreadMayOvertake();
    void aLineOfAGoneStoreIsDropped();
    void anAppenderMayOutliveTheStore();
    void everyThreadsLinesComeInItsOwnOrder();
    void whatAThreadPostsAfterItsLinesComesAfterThem();
};

void LogStoreTest::aNewLogIsEmpty()
{
    const LogStore log;
    QVERIFY(log.lines->isEmpty());
    QCOMPARE(LogStore::maxLines, 3000);
}

void LogStoreTest::newlinesAroundALineAreTrimmed()
{
    LogStore log;
    log.append(QStringLiteral("\nDone\n"));
    QCOMPARE(log.lines.get(), QStringList(QStringLiteral("Done")));
}

void LogStoreTest::everyKindOfNewlineIsTrimmed()
{
    LogStore log;
    log.append(QStringLiteral("\r\n\v\f\u0085\u2028\u2029Done\u2029\u2028\u0085\f\v\r\n"));
    QCOMPARE(log.lines.get(), QStringList(QStringLiteral("Done")));
}

void LogStoreTest::spacesAroundALineStay()
{
    LogStore log;
    log.append(QStringLiteral("  Done  "));
    log.append(QStringLiteral("\n\tDone\t\n"));
    QCOMPARE(log.lines.get(), QStringList({ QStringLiteral("  Done  "), QStringLiteral("\tDone\t") }));
}

void LogStoreTest::anEmptyTextIsAnEmptyLine()
{
    LogStore log;
    log.append(QString());
    QCOMPARE(log.lines.get(), QStringList(QString()));
}

void LogStoreTest::aTextOfNewlinesIsOneEmptyLine()
{
    LogStore log;
    log.append(QStringLiteral("\n\n"));
    QCOMPARE(log.lines.get(), QStringList(QString()));
}

void LogStoreTest::aBreakInsideATextStaysInOneLine()
{
    LogStore log;
    log.append(QStringLiteral("\na\nb\n"));
    QCOMPARE(log.lines.get(), QStringList(QStringLiteral("a\nb")));
}

void LogStoreTest::threeThousandLinesAreKept()
{
    LogStore log;
    for (int i = 1; i <= 3000; ++i)
        log.append(numbered(i));
    QCOMPARE(log.lines->size(), 3000);
    QCOMPARE(log.lines->first(), numbered(1));
    QCOMPARE(log.lines->last(), numbered(3000));
}

void LogStoreTest::theOldestLineGivesWayToTheNewest()
{
    LogStore log;
    for (int i = 1; i <= 3001; ++i)
        log.append(numbered(i));
    QCOMPARE(log.lines->size(), 3000);
    QCOMPARE(log.lines->first(), numbered(2));
    QCOMPARE(log.lines->last(), numbered(3001));
}

void LogStoreTest::overlongLinesMakeRoomSooner()
{
    LogStore log;
    const qint64 length = 1024 * 1024;
    log.append(QStringLiteral("old"));
    for (int i = 0; i < 12; ++i)
        log.append(QString(length, QChar(u'a' + i)));
    QCOMPARE(log.lines->size(), 12);
    QCOMPARE(log.lines->first().at(0), u'a');
    log.append(QStringLiteral("new"));
    QCOMPARE(log.lines->size(), 12);
    QCOMPARE(log.lines->first().at(0), u'b');
    QCOMPARE(log.lines->last(), QStringLiteral("new"));
}

void LogStoreTest::theNewestLineStaysWhateverItsLength()
{
    LogStore log;
    log.append(QStringLiteral("old"));
    log.append(QString(LogStore::maxTextLength + 1, u'x'));
    QCOMPARE(log.lines->size(), 1);
    QCOMPARE(log.lines->last().size(), LogStore::maxTextLength + 1);
}

void LogStoreTest::anAssignedListIsCountedAnew()
{
    LogStore log;
    log.append(QString(LogStore::maxTextLength, u'x'));
    log.lines = QStringList();
    log.append(QStringLiteral("a"));
    log.append(QStringLiteral("b"));
    QCOMPARE(log.lines->size(), 2);
    log.lines = QStringList(5000, QStringLiteral("c"));
    log.append(QStringLiteral("d"));
    QCOMPARE(log.lines->size(), 3000);
    QCOMPARE(log.lines->last(), QStringLiteral("d"));
}

void LogStoreTest::assigningAnEmptyListEmptiesTheLog()
{
    LogStore log;
    log.append(QStringLiteral("a"));
    QSignalSpy spy(&log, &Observable::willChange);
    log.lines = QStringList();
    QVERIFY(log.lines->isEmpty());
    QCOMPARE(spy.count(), 1);
}

void LogStoreTest::aLineIsOneAnnouncedChange()
{
    LogStore log;
    QSignalSpy spy(&log, &Observable::willChange);
    log.append(QStringLiteral("a"));
    QCOMPARE(spy.count(), 1);
}

void LogStoreTest::aTrimIsASecondAnnouncedChange()
{
    LogStore log;
    for (int i = 0; i < 3000; ++i)
        log.append(numbered(i));
    QList<qsizetype> sizes;
    connect(&log, &Observable::willChange, this, [&] { sizes.append(log.lines->size()); });
    log.append(QStringLiteral("a"));
    QCOMPARE(sizes, QList<qsizetype>({ 3000, 3001 }));
}

void LogStoreTest::anAnnouncementComesBeforeTheChange()
{
    LogStore log;
    qsizetype sizeThen = -1;
    connect(&log, &Observable::willChange, this, [&] { sizeThen = log.lines->size(); });
    log.append(QStringLiteral("a"));
    QCOMPARE(sizeThen, 0);
    QCOMPARE(log.lines->size(), 1);
}

void LogStoreTest::aLineOfTheMainThreadIsStoredAtOnce()
{
    LogStore log;
    log.append(QStringLiteral("a"));
    QCOMPARE(log.lines->size(), 1);
}

void LogStoreTest::aLineOfAnotherThreadWaitsForTheMainThread()
{
    LogStore log;
    log.append(QStringLiteral("first"));
    onAnotherThread([&log] { log.append(QStringLiteral("\nlast\n")); });
    QCOMPARE(log.lines->size(), 1);
    turnTheLoop();
    QCOMPARE(log.lines.get(), QStringList({ QStringLiteral("first"), QStringLiteral("last") }));
}

void LogStoreTest::linesOfAnotherThreadComeInOrder()
{
    LogStore log;
    onAnotherThread([&log] {
        for (int i = 0; i < 3000; ++i)
            log.append(numbered(i));
    });
    turnTheLoop();
    QCOMPARE(log.lines->size(), 3000);
    for (int i = 0; i < 3000; ++i)
        QCOMPARE(log.lines->at(i), numbered(i));
}

void LogStoreTest::linesThatArriveDuringTheStoringComeToo()
{
    LogStore log;
    bool isFirst = true;
    connect(&log, &Observable::willChange, this, [&] {
        if (std::exchange(isFirst, false))
            onAnotherThread([&log] { log.append(QStringLiteral("second")); });
    });
    onAnotherThread([&log] { log.append(QStringLiteral("first")); });
    QTRY_COMPARE(log.lines->size(), 2);
    QCOMPARE(log.lines.get(), QStringList({ QStringLiteral("first"), QStringLiteral("second") }));
}

void LogStoreTest::aLineOfTheMainThreadMayOvertake()
{
    LogStore log;
    onAnotherThread([&log] { log.append(QStringLiteral("early")); });
    log.append(QStringLiteral("late"));
    turnTheLoop();
    QCOMPARE(log.lines.get(), QStringList({ QStringLiteral("late"), QStringLiteral("early") }));
}

void LogStoreTest::aLineOfAGoneStoreIsDropped()
{
    auto log = std::make_unique<LogStore>();
    onAnotherThread([&log] { log->append(QStringLiteral("a")); });
    log.reset();
    turnTheLoop();
}

void LogStoreTest::anAppenderMayOutliveTheStore()
{
    auto log = std::make_unique<LogStore>();
    const auto append = log->appender();
    append(QStringLiteral("\na\n"));
    onAnotherThread([&append] { append(QStringLiteral("b")); });
    turnTheLoop();
    QCOMPARE(log->lines.get(), QStringList({ QStringLiteral("a"), QStringLiteral("b") }));
    log.reset();
    append(QStringLiteral("c"));
    onAnotherThread([&append] { append(QStringLiteral("d")); });
    turnTheLoop();
}

void LogStoreTest::everyThreadsLinesComeInItsOwnOrder()
{
    constexpr int threadCount = 4;
    constexpr int lineCount = 20'000;
    LogStore log;
    // The log keeps only the newest lines, so each one is checked as it arrives.
    QList<int> next(threadCount, 0);
    bool isOrdered = true;
    int seen = 0;
    QString last;
    connect(&log, &Observable::willChange, this, [&] {
        // Count each line once: one that makes the log overflow is announced a second time, by the trim.
        if (log.lines->isEmpty() || log.lines->last() == last)
            return;
        last = log.lines->last();
        const qsizetype space = last.indexOf(u' ');
        const int thread = last.left(space).toInt();
        isOrdered = isOrdered && last.mid(space + 1).toInt() == next[thread]++;
        ++seen;
    });
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&log, thread] {
            for (int i = 0; i < lineCount; ++i)
                log.append(QStringLiteral("%1 %2").arg(thread).arg(i));
        });
    }
    QTRY_COMPARE_WITH_TIMEOUT(seen, threadCount * lineCount, 30'000);
    QVERIFY(isOrdered);
}

void LogStoreTest::whatAThreadPostsAfterItsLinesComesAfterThem()
{
    // Many threads, so that each meets the inbox in every state that the others can leave it in.
    constexpr int threadCount = 16;
    constexpr int lineCount = 150;
    for (int round = 0; round < 10; ++round) {
        LogStore log;
        int ended = 0;
        bool areStored = true;
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([&, thread] {
                for (int i = 0; i < lineCount; ++i) {
                    const QString line = QStringLiteral("%1 %2").arg(thread).arg(i);
                    log.append(line);
                    postToMainThread([&, line] {
                        areStored = areStored && log.lines->contains(line);
                        ++ended;
                    });
                }
            });
        }
        QTRY_COMPARE_WITH_TIMEOUT(ended, threadCount * lineCount, 30'000);
        QVERIFY(areStored);
    }
}

QTEST_GUILESS_MAIN(LogStoreTest)
#include "LogStoreTest.moc"
