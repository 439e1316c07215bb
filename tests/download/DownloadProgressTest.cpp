#include "DownloadProgress.h"

#include "Table.h"

#include <QTest>

using namespace Qt::StringLiterals;

class DownloadProgressTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theTextSaysWhatIsKnown_data()
    {
        const auto row = table<QString, qint64, qint64, double>("text", "received", "total", "speed");
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
