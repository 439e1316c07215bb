#include "Shades.h"
#include "TypeScale.h"

#include <QApplication>
#include <QStyle>
#include <QTest>

class ShadesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void blackOnWhiteIsTheWidestContrast();
    void everyTextCanBeReadInEveryPalette_data();
    void everyTextCanBeReadInEveryPalette();
    void aColourThatStandsOutStaysAsItIs();
    void whatNoMixtureReachesIsWhiteOrBlack();
    void aDarkDesktopGetsALighterRed();
    void theTextSizesFollowTheDesktopsFont();
    void aFontInPixelsIsScaledToo();
    void logsAreAlwaysElevenPoints();
};

void ShadesTest::blackOnWhiteIsTheWidestContrast()
{
    QCOMPARE(Shades::contrast(Qt::black, Qt::white), 21.0);
    QCOMPARE(Shades::contrast(Qt::white, Qt::black), 21.0);
    QCOMPARE(Shades::contrast(Qt::red, Qt::red), 1.0);
}

void ShadesTest::everyTextCanBeReadInEveryPalette_data()
{
    QTest::addColumn<QPalette>("palette");
    QTest::newRow("the desktop's own") << QApplication::style()->standardPalette();
    for (const int grey : { 0x00, 0x20, 0x2d, 0x40, 0x60, 0x77, 0x80, 0xa0, 0xc0, 0xef, 0xff }) {
        const QColor ground(grey, grey, grey);
        QPalette palette(ground, ground);
        for (const Qt::GlobalColor accent :
             { Qt::blue, Qt::yellow, Qt::darkGreen, Qt::magenta, Qt::white, Qt::black }) {
            palette.setColor(QPalette::Highlight, accent);
            palette.setColor(QPalette::HighlightedText,
                             Shades::contrast(ground, Qt::white) > 4 ? Qt::white : Qt::black);
            QTest::addRow("grey %d, accent %d", grey, static_cast<int>(accent)) << palette;
        }
    }
}

void ShadesTest::everyTextCanBeReadInEveryPalette()
{
    QFETCH(const QPalette, palette);
    const QColor window = palette.color(QPalette::Window);
    const QColor failurePanel = Shades::over(Shades::failurePanel(), window);

    QVERIFY(Shades::contrast(Shades::secondary(palette), window) >= Shades::textContrast);
    QVERIFY(Shades::contrast(Shades::failure(palette), failurePanel) >= Shades::textContrast);
    QVERIFY(Shades::contrast(Shades::failure(palette), window) >= Shades::signContrast);
    QVERIFY(Shades::contrast(Shades::link(palette), window) >= Shades::textContrast);
    QVERIFY(Shades::contrast(Shades::onAccent(palette), Shades::accent(palette)) >= Shades::textContrast);
}

void ShadesTest::aColourThatStandsOutStaysAsItIs()
{
    QCOMPARE(Shades::readable(Qt::black, Qt::white, Shades::textContrast), QColor(Qt::black));
    QCOMPARE(Shades::readable(QColor(0x80, 0, 0), Qt::white, Shades::textContrast), QColor(0x80, 0, 0));
}

void ShadesTest::whatNoMixtureReachesIsWhiteOrBlack()
{
    QCOMPARE(Shades::readable(Qt::red, Qt::black, 21), QColor(Qt::white));
    QCOMPARE(Shades::readable(Qt::red, Qt::white, 21), QColor(Qt::black));
}

void ShadesTest::aDarkDesktopGetsALighterRed()
{
    const QPalette light(QColor(0xef, 0xef, 0xef), QColor(0xef, 0xef, 0xef));
    const QPalette dark(QColor(0x2a, 0x2b, 0x2e), QColor(0x2a, 0x2b, 0x2e));
    QVERIFY(Shades::failure(dark).lightness() > Shades::failure(light).lightness());
    QVERIFY(Shades::failure(dark).redF() > 0.8F);
}

void ShadesTest::theTextSizesFollowTheDesktopsFont()
{
    const QFont before = QApplication::font();
    QFont large = before;
    large.setPointSizeF(20);
    QApplication::setFont(large);
    QCOMPARE(TypeScale::font(TextStyle::Body).pointSizeF(), 20.0);
    QVERIFY(TypeScale::font(TextStyle::LargeTitle).pointSizeF()
            > TypeScale::font(TextStyle::Title).pointSizeF());
    QVERIFY(TypeScale::font(TextStyle::Title).pointSizeF() > TypeScale::font(TextStyle::Title2).pointSizeF());
    QVERIFY(TypeScale::font(TextStyle::Title2).pointSizeF() > 20);
    QVERIFY(TypeScale::font(TextStyle::Callout).pointSizeF() < 20);
    QVERIFY(TypeScale::font(TextStyle::Caption).pointSizeF()
            < TypeScale::font(TextStyle::Callout).pointSizeF());
    QApplication::setFont(before);
}

void ShadesTest::aFontInPixelsIsScaledToo()
{
    const QFont before = QApplication::font();
    QFont inPixels = before;
    inPixels.setPixelSize(20);
    QApplication::setFont(inPixels);
    QCOMPARE(TypeScale::font(TextStyle::LargeTitle).pixelSize(), 40);
    QApplication::setFont(before);
}

void ShadesTest::logsAreAlwaysElevenPoints()
{
    QCOMPARE(TypeScale::fixedWidth().pointSizeF(), 11.0);
    QVERIFY(QFontInfo(TypeScale::fixedWidth()).fixedPitch());
}

QTEST_MAIN(ShadesTest)
#include "ShadesTest.moc"
