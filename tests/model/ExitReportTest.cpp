#include "ExitReport.h"

#include "Rows.h"

using namespace Qt::StringLiterals;

class ExitReportTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theReportOfARunIsWordedForThePlayer_data()
    {
        // A null failure: there is none.
        const auto row = rows([](qint32 status, double seconds, const QString &failure) {
            const ExitReport report
                = exitReport({ .status = status, .seconds = seconds, .stoppedByUser = false });
            QCOMPARE(report.failure.value_or(QString()), failure);
            QCOMPARE(report.logLine.value_or(QString()),
                     failure.isEmpty() ? u"Game closed normally."_s : QString());
        });
        const auto early = [row](const char *name, qint32 status, double seconds, const QString &shown) {
            row(name, status, seconds,
                u"The game closed after only %1 (exit code %2), so it did not start properly. "
                "These are the last lines of its log:"_s.arg(shown)
                    .arg(status));
        };
        early("status 1 after 2.4 seconds", 1, 2.4, u"2 seconds"_s);
        early("9.6 seconds are early and are rounded to 10", 0, 9.6, u"10 seconds"_s);
        early("9.999 seconds are early", 0, 9.999, u"10 seconds"_s);
        early("0.7 seconds are 1 second, without the plural", 1, 0.7, u"1 second"_s);
        early("1.49 seconds are 1 second", 1, 1.49, u"1 second"_s);
        early("half a second is rounded away from zero", 1, 0.5, u"1 second"_s);
        early("2.5 seconds are rounded away from zero, not to even", 1, 2.5, u"3 seconds"_s);
        early("0.2 seconds are 0 seconds, with the plural", -1, 0.2, u"0 seconds"_s);
        early("status 0 after 3 seconds is a failure", 0, 3.0, u"3 seconds"_s);
        early("a negative status keeps its minus sign", -11, 2.0, u"2 seconds"_s);

        const QString error = u"The game stopped with an error (exit code %1) after %2 seconds. "
                              "These are the last lines of its log:"_s;
        row("status 3 after 10 seconds is an error", 3, 10.0, error.arg(3).arg(10));
        row("a negative status after a long run", -6, 61.5, error.arg(-6).arg(62));
        row("status 0 after 10 seconds is a normal close", 0, 10.0, {});
        row("status 0 after an hour is a normal close", 0, 3600.0, {});
    }
    void theReportOfARunIsWordedForThePlayer() { runRow(); }

    void aRunThatTheUserStoppedIsNeverAFailure()
    {
        for (const double seconds : { 0.1, 5.0, 100.0 }) {
            const ExitReport report = exitReport({ .status = 15, .seconds = seconds, .stoppedByUser = true });
            QVERIFY(!report.failure);
            QCOMPARE(report.logLine, std::optional(u"Game stopped."_s));
        }
    }
};

QTEST_GUILESS_MAIN(ExitReportTest)
#include "ExitReportTest.moc"
