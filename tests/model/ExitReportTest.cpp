#include "ExitReport.h"

#include <QTest>

class ExitReportTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theReportOfARunIsWordedForThePlayer_data()
    {
        QTest::addColumn<qint32>("status");
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("logLine");

        const QString early
            = QStringLiteral("The game closed after only %1 (exit code %2), so it did not start "
                             "properly. These are the last lines of its log:");
        const QString error
            = QStringLiteral("The game stopped with an error (exit code %1) after %2 seconds. "
                             "These are the last lines of its log:");
        const QString normal = QStringLiteral("Game closed normally.");

        QTest::newRow("status 1 after 2.4 seconds")
            << 1 << 2.4 << early.arg(QStringLiteral("2 seconds")).arg(1) << QString();
        QTest::newRow("9.6 seconds are early and are rounded to 10")
            << 0 << 9.6 << early.arg(QStringLiteral("10 seconds")).arg(0) << QString();
        QTest::newRow("9.999 seconds are early")
            << 0 << 9.999 << early.arg(QStringLiteral("10 seconds")).arg(0) << QString();
        QTest::newRow("0.7 seconds are 1 second, without the plural")
            << 1 << 0.7 << early.arg(QStringLiteral("1 second")).arg(1) << QString();
        QTest::newRow("1.49 seconds are 1 second")
            << 1 << 1.49 << early.arg(QStringLiteral("1 second")).arg(1) << QString();
        QTest::newRow("half a second is rounded away from zero")
            << 1 << 0.5 << early.arg(QStringLiteral("1 second")).arg(1) << QString();
        QTest::newRow("2.5 seconds are rounded away from zero, not to even")
            << 1 << 2.5 << early.arg(QStringLiteral("3 seconds")).arg(1) << QString();
        QTest::newRow("0.2 seconds are 0 seconds, with the plural")
            << -1 << 0.2 << early.arg(QStringLiteral("0 seconds")).arg(-1) << QString();
        QTest::newRow("status 0 after 3 seconds is a failure")
            << 0 << 3.0 << early.arg(QStringLiteral("3 seconds")).arg(0) << QString();
        QTest::newRow("status 0 after 10 seconds is a normal close") << 0 << 10.0 << QString() << normal;
        QTest::newRow("status 0 after an hour is a normal close") << 0 << 3600.0 << QString() << normal;
        QTest::newRow("a negative status keeps its minus sign")
            << -11 << 2.0 << early.arg(QStringLiteral("2 seconds")).arg(-11) << QString();
        QTest::newRow("status 3 after 10 seconds is an error")
            << 3 << 10.0 << error.arg(3).arg(10) << QString();
        QTest::newRow("a negative status after a long run")
            << -6 << 61.5 << error.arg(-6).arg(62) << QString();
    }

    void theReportOfARunIsWordedForThePlayer()
    {
        QFETCH(qint32, status);
        QFETCH(double, seconds);
        QFETCH(QString, failure);
        QFETCH(QString, logLine);
        const ExitReport report
            = exitReport({ .status = status, .seconds = seconds, .stoppedByUser = false });
        QCOMPARE(report.failure.value_or(QString()), failure);
        QCOMPARE(report.logLine.value_or(QString()), logLine);
    }

    void aRunThatTheUserStoppedIsNeverAFailure()
    {
        for (const double seconds : { 0.1, 5.0, 100.0 }) {
            const ExitReport report = exitReport({ .status = 15, .seconds = seconds, .stoppedByUser = true });
            QVERIFY(!report.failure);
            QCOMPARE(report.logLine, std::optional(QStringLiteral("Game stopped.")));
        }
    }
};

QTEST_GUILESS_MAIN(ExitReportTest)
#include "ExitReportTest.moc"
