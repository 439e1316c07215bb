#include "ChildEnd.h"

#include "Table.h"

#include <QTest>

#include <csignal>
#include <limits>

class ChildEndTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatTheSystemReportsIsAnEndOrNot_data()
    {
        const auto row = table<int, int, std::optional<ChildEnd>>("code", "status", "end");
        const auto exited = [](int status) { return ChildEnd { .status = status, .bySignal = false }; };
        const auto bySignal = [](int number) { return ChildEnd { .status = number, .bySignal = true }; };

        row("exit(0)", CLD_EXITED, 0, exited(0));
        row("exit(1)", CLD_EXITED, 1, exited(1));
        row("exit(255)", CLD_EXITED, 255, exited(255));
        row("exit(256)", CLD_EXITED, 256, exited(0));
        row("exit(-1)", CLD_EXITED, -1, exited(255));
        row("exit(-2)", CLD_EXITED, -2, exited(254));
        row("exit(INT_MIN)", CLD_EXITED, std::numeric_limits<int>::min(), exited(0));
        row("exit(INT_MAX)", CLD_EXITED, std::numeric_limits<int>::max(), exited(255));
        row("SIGTERM", CLD_KILLED, SIGTERM, bySignal(SIGTERM));
        row("SIGKILL", CLD_KILLED, SIGKILL, bySignal(SIGKILL));
        row("SIGSEGV, with a core file", CLD_DUMPED, SIGSEGV, bySignal(SIGSEGV));
        row("stopped", CLD_STOPPED, SIGSTOP, std::nullopt);
        row("continued", CLD_CONTINUED, SIGCONT, std::nullopt);
        row("trapped", CLD_TRAPPED, SIGTRAP, std::nullopt);
        row("nothing", 0, 0, std::nullopt);
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
