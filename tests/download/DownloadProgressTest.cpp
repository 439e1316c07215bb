#include "DownloadProgress.h"
#include "FileSizeText.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class DownloadProgressTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aSizeIsWrittenInDecimalUnits_data()
    {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("text");

        const auto row = [](qint64 bytes, const char *text) {
            QTest::addRow("%lld", static_cast<long long>(bytes)) << bytes << QString::fromUtf8(text);
        };
        row(-5, "Zero kB");
        row(0, "Zero kB");
        row(1, "1 byte");
        row(2, "2 bytes");
        row(999, "999 bytes");
        row(1000, "1 kB");
        row(1024, "1 kB");
        row(1499, "1 kB");
        row(1500, "2 kB");
        row(12'345, "12 kB");
        row(999'499, "999 kB");
        row(999'500, "1 MB");
        row(1'000'000, "1 MB");
        row(1'049'999, "1 MB");
        row(1'050'000, "1.1 MB");
        row(3'200'000, "3.2 MB");
        row(12'345'678, "12.3 MB");
        row(48'000'000, "48 MB");
        row(48'100'000, "48.1 MB");
        row(100'000'000, "100 MB");
        row(999'949'999, "999.9 MB");
        row(999'950'000, "1 GB");
        row(1'004'999'999, "1 GB");
        row(1'005'000'000, "1.01 GB");
        row(1'050'000'000, "1.05 GB");
        row(1'100'000'000, "1.1 GB");
        row(2'500'000'000'000, "2.5 TB");
        row(7'250'000'000'000'000, "7.25 PB");
        row(std::numeric_limits<qint64>::max(), "9.22 EB");
    }

    void aSizeIsWrittenInDecimalUnits()
    {
        QFETCH(qint64, bytes);
        QTEST(fileSizeText(bytes), "text");
    }

    void theTextSaysWhatIsKnown_data()
    {
        QTest::addColumn<qint64>("received");
        QTest::addColumn<qint64>("total");
        QTest::addColumn<double>("speed");
        QTest::addColumn<QString>("text");

        const auto row = [](const char *name, const QString &text, qint64 received, qint64 total,
                            double speed) { QTest::newRow(name) << received << total << speed << text; };
        row("all", u"3.2 MB of 48.1 MB · 1.5 MB/s"_s, 3'200'000, 48'100'000, 1'500'000);
        row("no size", u"3.2 MB · 1.5 MB/s"_s, 3'200'000, -1, 1'500'000);
        row("no speed yet", u"3.2 MB of 48.1 MB"_s, 3'200'000, 48'100'000, 0);
        row("neither", u"3.2 MB"_s, 3'200'000, -1, 0);
        row("a size of zero is no size", u"5 bytes"_s, 5, 0, 0);
        row("a size of one byte", u"Zero kB of 1 byte"_s, 0, 1, 0);
        row("a speed is cut, not rounded", u"5 bytes · 999 bytes/s"_s, 5, -1, 999.9);
        row("almost no speed", u"5 bytes · Zero kB/s"_s, 5, -1, 0.4);
        row("a speed beyond reason", u"5 bytes · 9 EB/s"_s, 5, -1, 1e300);
        row("less than no speed", u"5 bytes"_s, 5, -1, -3);
    }

    void theTextSaysWhatIsKnown()
    {
        QFETCH(qint64, received);
        QFETCH(qint64, total);
        QFETCH(double, speed);
        QTEST((DownloadProgress { received, total, speed }.text()), "text");
    }

    void nothingIsKnownAtFirst()
    {
        const DownloadProgress progress;
        QCOMPARE(progress.received, 0);
        QCOMPARE(progress.total, -1);
        QCOMPARE(progress.bytesPerSecond, 0.0);
    }
};

QTEST_GUILESS_MAIN(DownloadProgressTest)
#include "DownloadProgressTest.moc"
