#include "Children.h"
#include "LogStore.h"
#include "Table.h"

#include <QTest>

#include <ctime>

using namespace Children;
using namespace Qt::StringLiterals;

class ProcessOutputTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatAChildPrintsArrivesAsLines_data()
    {
        const auto row = table<QString, QStringList>("script", "lines");
        row("a carriage return and a line feed end one line", u"printf 'a\\r\\nb\\n'"_s, { u"a"_s, u"b"_s });
        row("a last line without a line feed", u"printf x"_s, { u"x"_s });
        row("line feeds alone", u"printf '\\n\\n\\n'"_s, {});
        row("invalid bytes", u"printf '\\377A\\n'"_s, { u"\uFFFDA"_s });
        row("an answer to input, which ends at once", u"read line; echo \"$? <$line>\"; cat; echo end"_s,
            { u"1 <>"_s, u"end"_s });
        QStringList both;
        for (int i = 0; i < 100; ++i)
            both << u"out %1"_s.arg(i) << u"error %1"_s.arg(i);
        row("both streams, in the order of writing",
            u"i=0; while [ $i -lt 100 ]; do echo out $i; echo error $i >&2; i=$((i + 1)); done"_s, both);
    }

    void whatAChildPrintsArrivesAsLines()
    {
        QFETCH(QString, script);
        QTEST(shell(script).lines, "lines");
    }

    void whatAChildPrintsJustBeforeItsEndArrivesWhole()
    {
        // More than is read at once, and as much as a pipe holds.
        const auto run = shell(u"head -c 65536 /dev/zero | tr '\\0' x; printf end"_s);
        QCOMPARE(run.lines.join(QString()).size(), 65'539);
        for (int i = 0; i < 50; ++i)
            QCOMPARE(shell(u"seq 1000; exit 9"_s).lines.size(), 1000);
    }

    void everyLineIsInTheLogWhenTheRunIsOver()
    {
        for (int i = 0; i < 50; ++i) {
            LogStore log;
            const QStringList arguments = script(u"seq 2500; printf last"_s);
            QCOMPARE(finish(ProcessController::create()->run(shellProgram, arguments, log.appender())), 0);
            QCOMPARE(log.lines->size(), 2501);
            QCOMPARE(log.lines->last(), u"last"_s);
        }
    }

    void outputThatWasClosedCostsNoTimeWhileTheChildRunsOn()
    {
        const std::clock_t before = std::clock(); // the processor time of this process alone
        QCOMPARE(shell(u"exec >&- 2>&-; sleep 1.5"_s).status, 0);
        const std::clock_t used = std::clock() - before;
        QVERIFY2(used < CLOCKS_PER_SEC / 5, qPrintable(QString::number(used)));
    }
};

QTEST_GUILESS_MAIN(ProcessOutputTest)
#include "ProcessOutputTest.moc"
