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

        QTest::newRow("all") << qint64(3'200'000) << qint64(48'100'000) << 1'500'000.0
                             << u"3.2 MB of 48.1 MB · 1.5 MB/s"_s;
        QTest::newRow("no size") << qint64(3'200'000) << qint64(-1) << 1'500'000.0 << u"3.2 MB · 1.5 MB/s"_s;
        QTest::newRow("no speed yet")
            << qint64(3'200'000) << qint64(48'100'000) << 0.0 << u"3.2 MB of 48.1 MB"_s;
        QTest::newRow("neither") << qint64(3'200'000) << qint64(-1) << 0.0 << u"3.2 MB"_s;
        QTest::newRow("a size of zero is no size") << qint64(5) << qint64(0) << 0.0 << u"5 bytes"_s;
        QTest::newRow("a size of one byte") << qint64(0) << qint64(1) << 0.0 << u"Zero kB of 1 byte"_s;
        QTest::newRow("a speed is cut, not rounded")
            << qint64(5) << qint64(-1) << 999.9 << u"5 bytes · 999 bytes/s"_s;
        QTest::newRow("almost no speed") << qint64(5) << qint64(-1) << 0.4 << u"5 bytes · Zero kB/s"_s;
        QTest::newRow("a speed beyond reason") << qint64(5) << qint64(-1) << 1e300 << u"5 bytes · 9 EB/s"_s;
        QTest::newRow("less than no speed") << qint64(5) << qint64(-1) << -3.0 << u"5 bytes"_s;
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
