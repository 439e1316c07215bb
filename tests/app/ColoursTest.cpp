#include "Colours.h"
#include "TypeScale.h"

#include <QApplication>
#include <QStyle>
#include <QTest>

class ColoursTest final : public QObject {
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

void ColoursTest::blackOnWhiteIsTheWidestContrast()
{
    QCOMPARE(Colours::contrast(Qt::black, Qt::white), 21.0);
    QCOMPARE(Colours::contrast(Qt::white, Qt::black), 21.0);
    QCOMPARE(Colours::contrast(Qt::red, Qt::red), 1.0);
}

void ColoursTest::everyTextCanBeReadInEveryPalette_data()
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
                             Colours::contrast(ground, Qt::white) > 4 ? Qt::white : Qt::black);
            QTest::addRow("grey %d, accent %d", grey, static_cast<int>(accent)) << palette;
        }
    }
}

void ColoursTest::everyTextCanBeReadInEveryPalette()
{
    QFETCH(const QPalette, palette);
    const QColor window = palette.color(QPalette::Window);
    const QColor failurePanel = Colours::over(Colours::failurePanel(), window);

    QVERIFY(Colours::contrast(Colours::secondary(palette), window) >= Colours::textContrast);
    QVERIFY(Colours::contrast(Colours::failure(palette), failurePanel) >= Colours::textContrast);
    QVERIFY(Colours::contrast(Colours::failure(palette), window) >= Colours::signContrast);
    QVERIFY(Colours::contrast(Colours::link(palette), window) >= Colours::textContrast);
    QVERIFY(Colours::contrast(Colours::onAccent(palette), Colours::accent(palette)) >= Colours::textContrast);
}

void ColoursTest::aColourThatStandsOutStaysAsItIs()
{
    QCOMPARE(Colours::readable(Qt::black, Qt::white, Colours::textContrast), QColor(Qt::black));
    QCOMPARE(Colours::readable(QColor(0x80, 0, 0), Qt::white, Colours::textContrast), QColor(0x80, 0, 0));
}

void ColoursTest::whatNoMixtureReachesIsWhiteOrBlack()
{
    QCOMPARE(Colours::readable(Qt::red, Qt::black, 21), QColor(Qt::white));
    QCOMPARE(Colours::readable(Qt::red, Qt::white, 21), QColor(Qt::black));
}

void ColoursTest::aDarkDesktopGetsALighterRed()
{
    const QPalette light(QColor(0xef, 0xef, 0xef), QColor(0xef, 0xef, 0xef));
    const QPalette dark(QColor(0x2a, 0x2b, 0x2e), QColor(0x2a, 0x2b, 0x2e));
    QVERIFY(Colours::failure(dark).lightness() > Colours::failure(light).lightness());
    QVERIFY(Colours::failure(dark).redF() > 0.8F);
}

void ColoursTest::theTextSizesFollowTheDesktopsFont()
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

void ColoursTest::aFontInPixelsIsScaledToo()
{
    const QFont before = QApplication::font();
    QFont inPixels = before;
    inPixels.setPixelSize(20);
    QApplication::setFont(inPixels);
    QCOMPARE(TypeScale::font(TextStyle::LargeTitle).pixelSize(), 40);
    QApplication::setFont(before);
}

void ColoursTest::logsAreAlwaysElevenPoints()
{
    QCOMPARE(TypeScale::fixedWidth().pointSizeF(), 11.0);
    QVERIFY(QFontInfo(TypeScale::fixedWidth()).fixedPitch());
}

QTEST_MAIN(ColoursTest)
#include "ColoursTest.moc"
