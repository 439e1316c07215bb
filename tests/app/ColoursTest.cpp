#include "Colours.h"
#include "Look.h"
#include "Table.h"
#include "TypeScale.h"

#include <QStyle>

class ColoursTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void blackOnWhiteIsTheWidestContrast()
    {
        QCOMPARE(Colours::contrast(Qt::black, Qt::white), 21.0);
        QCOMPARE(Colours::contrast(Qt::white, Qt::black), 21.0);
        QCOMPARE(Colours::contrast(Qt::red, Qt::red), 1.0);
    }

    void everyTextCanBeReadInEveryPalette_data()
    {
        const auto row = table<QPalette>("palette");
        row("the desktop's own", QApplication::style()->standardPalette());
        for (const int grey : { 0x00, 0x20, 0x2d, 0x40, 0x60, 0x77, 0x80, 0xa0, 0xc0, 0xef, 0xff }) {
            const QColor ground(grey, grey, grey);
            QPalette palette(ground, ground);
            for (const Qt::GlobalColor accent :
                 { Qt::blue, Qt::yellow, Qt::darkGreen, Qt::magenta, Qt::white, Qt::black }) {
                palette.setColor(QPalette::Highlight, accent);
                palette.setColor(QPalette::HighlightedText,
                                 Colours::contrast(ground, Qt::white) > 4 ? Qt::white : Qt::black);
                row(qPrintable(QStringLiteral("grey %1, accent %2").arg(grey).arg(accent)), palette);
            }
        }
    }

    void everyTextCanBeReadInEveryPalette()
    {
        QFETCH(const QPalette, palette);
        const QColor window = palette.color(QPalette::Window);
        const QColor panel = Colours::over(Colours::failurePanel(), window);
        const QColor accent = Colours::accent(palette);
        QCOMPARE_GE(Colours::contrast(Colours::secondary(palette), window), Colours::textContrast);
        QCOMPARE_GE(Colours::contrast(Colours::failure(palette), panel), Colours::textContrast);
        QCOMPARE_GE(Colours::contrast(Colours::failure(palette), window), Colours::signContrast);
        QCOMPARE_GE(Colours::contrast(Colours::link(palette), window), Colours::textContrast);
        QCOMPARE_GE(Colours::contrast(Colours::onAccent(palette), accent), Colours::textContrast);
    }

    void aColourThatStandsOutStaysAsItIs()
    {
        QCOMPARE(Colours::readable(Qt::black, Qt::white, Colours::textContrast), QColor(Qt::black));
        QCOMPARE(Colours::readable(QColor(0x80, 0, 0), Qt::white, Colours::textContrast), QColor(0x80, 0, 0));
    }

    void whatNoMixtureReachesIsWhiteOrBlack()
    {
        QCOMPARE(Colours::readable(Qt::red, Qt::black, 21), QColor(Qt::white));
        QCOMPARE(Colours::readable(Qt::red, Qt::white, 21), QColor(Qt::black));
    }

    void aDarkDesktopHasALighterRed()
    {
        const QColor dark = Colours::failure(Look::dark());
        QCOMPARE_GT(dark.lightness(), Colours::failure(Look::light()).lightness());
        QCOMPARE_GT(dark.redF(), 0.8F);
    }

    void theTextSizesFollowTheDesktopsFont()
    {
        const Look::Desktop desktop(Look::font(20.0));
        const auto points = [](TextStyle style) { return TypeScale::font(style).pointSizeF(); };
        QCOMPARE(points(TextStyle::Body), 20.0);
        QCOMPARE_GT(points(TextStyle::LargeTitle), points(TextStyle::Title));
        QCOMPARE_GT(points(TextStyle::Title), points(TextStyle::Title2));
        QCOMPARE_GT(points(TextStyle::Title2), 20.0);
        QCOMPARE_LT(points(TextStyle::Callout), 20.0);
        QCOMPARE_LT(points(TextStyle::Caption), points(TextStyle::Callout));
    }

    void aFontInPixelsIsScaledToo()
    {
        QFont inPixels = QApplication::font();
        inPixels.setPixelSize(20);
        const Look::Desktop desktop(inPixels);
        QCOMPARE(TypeScale::font(TextStyle::LargeTitle).pixelSize(), 40);
    }
};

QTEST_MAIN(ColoursTest)
#include "ColoursTest.moc"
