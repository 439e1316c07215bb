#include "FileSizeText.h"

#include "Table.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class FileSizeTextTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aSizeIsWrittenInDecimalUnits_data()
    {
        const auto add = table<qint64, QString>("bytes", "text");
        const auto row
            = [&add](qint64 bytes, const QString &text) { add(QByteArray::number(bytes), bytes, text); };
        row(-5, u"Zero kB"_s);
        row(0, u"Zero kB"_s);
        row(1, u"1 byte"_s);
        row(2, u"2 bytes"_s);
        row(999, u"999 bytes"_s);
        row(1000, u"1 kB"_s);
        row(1024, u"1 kB"_s);
        row(1499, u"1 kB"_s);
        row(1500, u"2 kB"_s);
        row(12'345, u"12 kB"_s);
        row(999'499, u"999 kB"_s);
        row(999'500, u"1 MB"_s);
        row(1'000'000, u"1 MB"_s);
        row(1'049'999, u"1 MB"_s);
        row(1'050'000, u"1.1 MB"_s);
        row(3'200'000, u"3.2 MB"_s);
        row(12'345'678, u"12.3 MB"_s);
        row(48'000'000, u"48 MB"_s);
        row(48'100'000, u"48.1 MB"_s);
        row(100'000'000, u"100 MB"_s);
        row(999'949'999, u"999.9 MB"_s);
        row(999'950'000, u"1 GB"_s);
        row(1'004'999'999, u"1 GB"_s);
        row(1'005'000'000, u"1.01 GB"_s);
        row(1'050'000'000, u"1.05 GB"_s);
        row(1'100'000'000, u"1.1 GB"_s);
        row(2'500'000'000'000, u"2.5 TB"_s);
        row(7'250'000'000'000'000, u"7.25 PB"_s);
        row(std::numeric_limits<qint64>::max(), u"9.22 EB"_s);
    }

    void aSizeIsWrittenInDecimalUnits()
    {
        QFETCH(qint64, bytes);
        QTEST(fileSizeText(bytes), "text");
    }
};

QTEST_GUILESS_MAIN(FileSizeTextTest)
#include "FileSizeTextTest.moc"
