#include "Children.h"
#include "LogStore.h"

#include <QTest>

#include <sys/resource.h>

class ProcessOutputTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void carriageReturnAndLineFeedEndOneLine();
    void aLastLineWithoutABreakComes();
    void lineFeedsAloneGiveNoLines();
    void bothStreamsComeAsOneInTheOrderOfWriting();
    void invalidBytesBecomeReplacementCharacters();
    void whatAChildPrintsJustBeforeItsEndComesWhole();
    void everyLineIsInTheLogWhenTheRunIsOver();
    void outputThatWasClosedCostsNoTimeWhileTheChildRunsOn();
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

void ProcessOutputTest::outputThatWasClosedCostsNoTimeWhileTheChildRunsOn()
{
    const auto used = [] {
        rusage usage = {};
        getrusage(RUSAGE_SELF, &usage);
        const auto milliseconds
            = [](const timeval &time) { return time.tv_sec * 1000 + time.tv_usec / 1000; };
        return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
    };
    const auto before = used();
    QCOMPARE(Children::shell(QStringLiteral("exec >&- 2>&-; sleep 1.5")).status, 0);
    QVERIFY2(used() - before < 200, qPrintable(QString::number(used() - before)));
}

QTEST_GUILESS_MAIN(ProcessOutputTest)
#include "ProcessOutputTest.moc"
