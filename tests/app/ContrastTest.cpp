#include "Contrast.h"

#include <QTest>

namespace {

constexpr double textContrast = 4.5;

}

class ContrastTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void blackOnWhiteIsTheWidestContrast()
    {
        QCOMPARE(Contrast::between(Qt::black, Qt::white), 21.0);
        QCOMPARE(Contrast::between(Qt::white, Qt::black), 21.0);
        QCOMPARE(Contrast::between(Qt::red, Qt::red), 1.0);
    }

    void aColourThatStandsOutStaysAsItIs()
    {
        QCOMPARE(Contrast::readable(Qt::black, { Qt::white }, textContrast), QColor(Qt::black));
        const QColor maroon(0x80, 0, 0);
        QCOMPARE(Contrast::readable(maroon, { Qt::white }, textContrast), maroon);
    }

    void whatNoMixtureReachesIsWhiteOrBlack()
    {
        QCOMPARE(Contrast::readable(Qt::red, { Qt::black }, 21), QColor(Qt::white));
        QCOMPARE(Contrast::readable(Qt::red, { Qt::white }, 21), QColor(Qt::black));
    }

    void whatStandsOnSeveralGroundsCanBeReadOnEach()
    {
        const QList<QColor> grounds { QColor(0xf5, 0xf6, 0xf8), QColor(0xc0, 0xc0, 0xc0) };
        const QColor ink = Contrast::readable(QColor(0x8a, 0x90, 0x99), grounds, textContrast);
        for (const QColor &ground : grounds)
            QCOMPARE_GE(Contrast::between(ink, ground), textContrast);
    }
};

QTEST_MAIN(ContrastTest)
#include "ContrastTest.moc"
