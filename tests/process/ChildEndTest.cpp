#include "ChildEnd.h"

#include <QTest>

#include <csignal>
#include <limits>

class ChildEndTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatTheSystemReportsIsAnEndOrNot_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("status");
        QTest::addColumn<std::optional<ChildEnd>>("end");
        const auto exited
            = [](int status) { return std::optional(ChildEnd { .status = status, .bySignal = false }); };
        const auto bySignal
            = [](int number) { return std::optional(ChildEnd { .status = number, .bySignal = true }); };
        const std::optional<ChildEnd> none;

        QTest::newRow("exit(0)") << int(CLD_EXITED) << 0 << exited(0);
        QTest::newRow("exit(1)") << int(CLD_EXITED) << 1 << exited(1);
        QTest::newRow("exit(255)") << int(CLD_EXITED) << 255 << exited(255);
        QTest::newRow("exit(256)") << int(CLD_EXITED) << 256 << exited(0);
        QTest::newRow("exit(-1)") << int(CLD_EXITED) << -1 << exited(255);
        QTest::newRow("exit(-2)") << int(CLD_EXITED) << -2 << exited(254);
        QTest::newRow("exit(INT_MIN)") << int(CLD_EXITED) << std::numeric_limits<int>::min() << exited(0);
        QTest::newRow("exit(INT_MAX)") << int(CLD_EXITED) << std::numeric_limits<int>::max() << exited(255);
        QTest::newRow("SIGTERM") << int(CLD_KILLED) << SIGTERM << bySignal(SIGTERM);
        QTest::newRow("SIGKILL") << int(CLD_KILLED) << SIGKILL << bySignal(SIGKILL);
        QTest::newRow("SIGSEGV, with a core file") << int(CLD_DUMPED) << SIGSEGV << bySignal(SIGSEGV);
        QTest::newRow("stopped") << int(CLD_STOPPED) << SIGSTOP << none;
        QTest::newRow("continued") << int(CLD_CONTINUED) << SIGCONT << none;
        QTest::newRow("trapped") << int(CLD_TRAPPED) << SIGTRAP << none;
        QTest::newRow("nothing") << 0 << 0 << none;
    }

    void whatTheSystemReportsIsAnEndOrNot()
    {
        QFETCH(int, code);
        QFETCH(int, status);
        QFETCH(std::optional<ChildEnd>, end);
        QVERIFY(childEnd(code, status) == end);
    }
};

QTEST_GUILESS_MAIN(ChildEndTest)
#include "ChildEndTest.moc"
