#include "LogStore.h"

#include "MainThread.h"

#include <QTest>

#include <memory>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

QString numbered(int i) { return u"line %1"_s.arg(i); }

QStringList numberedLines(int from, int to)
{
    QStringList lines;
    for (int i = from; i <= to; ++i)
        lines.append(numbered(i));
    return lines;
}

/// Runs `work` on another thread and blocks until it has finished.
template <typename Work> void onAnotherThread(Work work) { std::thread(work).join(); }

/// Runs `work` with the numbers from 0 to `count` - 1, each on a thread of its own that ends with its object.
template <typename Work> std::vector<std::jthread> onThreads(int count, Work work)
{
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < count; ++thread)
        threads.emplace_back(work, thread);
    return threads;
}

void turnTheLoop() { QCoreApplication::processEvents(); }

}

class LogStoreTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_log = std::make_unique<LogStore>(); }

    void newlinesAroundATextAreTrimmed()
    {
        QVERIFY(lines().isEmpty());
        for (const char16_t *text :
             { u"\nDone\n", u"\r\n\v\f\u0085\u2028\u2029Done\u2029\u2028\u0085\f\v\r\n", u"  Done  ",
               u"\n\tDone\t\n", u"", u"\n\n", u"\na\nb\n" })
            m_log->append(QString::fromUtf16(text));
        QCOMPARE(lines(),
                 QStringList({ u"Done"_s, u"Done"_s, u"  Done  "_s, u"\tDone\t"_s, QString(), QString(),
                               u"a\nb"_s }));
    }

    void theLastThreeThousandLinesAreKept()
    {
        QCOMPARE(LogStore::maxLines, 3000);
        append(1, 3000);
        QCOMPARE(lines(), numberedLines(1, 3000));
        append(3001, 3001);
        QCOMPARE(lines(), numberedLines(2, 3001));
    }

    void overlongLinesMakeRoomSooner()
    {
        m_log->append(u"old"_s);
        for (int i = 0; i < 12; ++i)
            m_log->append(QString(1024 * 1024, QChar(u'a' + i)));
        QCOMPARE(lines().size(), 12);
        QCOMPARE(lines().first().at(0), u'a');
        m_log->append(u"new"_s);
        QCOMPARE(lines().size(), 12);
        QCOMPARE(lines().first().at(0), u'b');
        QCOMPARE(lines().last(), u"new"_s);
    }

    void theNewestLineStaysWhateverItsLength()
    {
        m_log->append(u"old"_s);
        m_log->append(QString(LogStore::maxTextLength + 1, u'x'));
        QCOMPARE(lines().size(), 1);
        QCOMPARE(lines().last().size(), LogStore::maxTextLength + 1);
    }

    void anAssignedListIsCountedAnew()
    {
        m_log->append(QString(LogStore::maxTextLength, u'x'));
        m_log->lines = QStringList();
        m_log->append(u"a"_s);
        m_log->append(u"b"_s);
        QCOMPARE(lines().size(), 2);
        m_log->lines = QStringList(5000, u"c"_s);
        m_log->append(u"d"_s);
        QCOMPARE(lines().size(), 3000);
        QCOMPARE(lines().last(), u"d"_s);
    }

    void everyChangeIsAnnouncedOnceAndBeforehand()
    {
        QList<qsizetype> sizes;
        connect(m_log.get(), &Observable::willChange, this, [&] { sizes.append(lines().size()); });
        m_log->append(u"a"_s);
        QCOMPARE(sizes, QList<qsizetype>({ 0 }));
        m_log->lines = QStringList();
        QCOMPARE(sizes, QList<qsizetype>({ 0, 1 }));
        QVERIFY(lines().isEmpty());
        append(1, 3000);
        sizes.clear();
        m_log->append(u"a"_s);
        QCOMPARE(sizes, QList<qsizetype>({ 3000, 3001 })); // the second time for the trim
    }

    void linesOfAnotherThreadWaitForTheMainThreadAndArriveInOrder()
    {
        append(1, 1);
        onAnotherThread([this] {
            append(2, 2999);
            m_log->append(u'\n' + numbered(3000) + u'\n');
        });
        QCOMPARE(lines().size(), 1);
        turnTheLoop();
        QCOMPARE(lines(), numberedLines(1, 3000));
    }

    void linesThatArriveDuringTheStoringAreStoredToo()
    {
        bool isFirst = true;
        connect(m_log.get(), &Observable::willChange, this, [&] {
            if (std::exchange(isFirst, false))
                onAnotherThread([this] { m_log->append(u"second"_s); });
        });
        onAnotherThread([this] { m_log->append(u"first"_s); });
        QTRY_COMPARE(lines(), QStringList({ u"first"_s, u"second"_s }));
    }

    void aLineOfTheMainThreadMayOvertake()
    {
        onAnotherThread([this] { m_log->append(u"early"_s); });
        m_log->append(u"late"_s);
        turnTheLoop();
        QCOMPARE(lines(), QStringList({ u"late"_s, u"early"_s }));
    }

    /// A store that is used after its destruction crashes, at the latest under AddressSanitizer.
    void anAppenderAndItsLinesMayOutliveTheStore()
    {
        const auto append = m_log->appender();
        append(u"\na\n"_s);
        onAnotherThread([&append] { append(u"b"_s); });
        turnTheLoop();
        QCOMPARE(lines(), QStringList({ u"a"_s, u"b"_s }));
        onAnotherThread([&append] { append(u"on its way"_s); });
        m_log.reset();
        append(u"c"_s);
        onAnotherThread([&append] { append(u"d"_s); });
        turnTheLoop();
    }

    void everyThreadsLinesArriveInItsOwnOrder()
    {
        constexpr int threadCount = 4;
        constexpr int lineCount = 20'000;
        // The log keeps only the newest lines, so each one is checked as it arrives.
        QList<int> next(threadCount, 0);
        bool isOrdered = true;
        int seen = 0;
        QString last;
        connect(m_log.get(), &Observable::willChange, this, [&] {
            // Count each line once: one that makes the log overflow is announced a second time, by the trim.
            if (lines().isEmpty() || lines().last() == last)
                return;
            last = lines().last();
            const qsizetype space = last.indexOf(u' ');
            const int thread = last.left(space).toInt();
            isOrdered = isOrdered && last.mid(space + 1).toInt() == next[thread]++;
            ++seen;
        });
        const auto threads = onThreads(threadCount, [this](int thread) {
            for (int i = 0; i < lineCount; ++i)
                m_log->append(u"%1 %2"_s.arg(thread).arg(i));
        });
        QTRY_COMPARE_WITH_TIMEOUT(seen, threadCount * lineCount, 30'000);
        QVERIFY(isOrdered);
    }

    void whatAThreadPostsAfterItsLinesArrivesAfterThem()
    {
        // Many threads, so that each meets the inbox in every state that the others can leave it in.
        constexpr int threadCount = 16;
        constexpr int lineCount = 150;
        for (int round = 0; round < 10; ++round) {
            init();
            int ended = 0;
            bool areStored = true;
            const auto threads = onThreads(threadCount, [&](int thread) {
                for (int i = 0; i < lineCount; ++i) {
                    const QString line = u"%1 %2"_s.arg(thread).arg(i);
                    m_log->append(line);
                    postToMainThread([&, line] {
                        areStored = areStored && lines().contains(line);
                        ++ended;
                    });
                }
            });
            QTRY_COMPARE_WITH_TIMEOUT(ended, threadCount * lineCount, 30'000);
            QVERIFY(areStored);
        }
    }

private:
    const QStringList &lines() const { return m_log->lines.get(); }

    void append(int from, int to) const
    {
        for (int i = from; i <= to; ++i)
            m_log->append(numbered(i));
    }

    std::unique_ptr<LogStore> m_log;
};

QTEST_GUILESS_MAIN(LogStoreTest)
#include "LogStoreTest.moc"
