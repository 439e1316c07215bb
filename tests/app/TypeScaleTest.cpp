#include "TypeScale.h"

#include "Look.h"
#include "Table.h"

#include <QFontDatabase>
#include <QFontMetrics>

using namespace Qt::StringLiterals;

/// On a desktop whose "monospace" is a proportional font, although a monospaced one is installed.
class TypeScaleTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyStyleIsAsLargeAsItsPointsWhereTheBodyTextHas13_data()
    {
        const auto row = table<TextStyle, int, QFont::Weight>("style", "points", "weight");
        row("large title", TextStyle::LargeTitle, 28, QFont::Bold);
        row("title", TextStyle::Title, 20, QFont::Bold);
        row("second title", TextStyle::Title2, 17, QFont::Bold);
        row("headline", TextStyle::Headline, 13, QFont::DemiBold);
        row("body", TextStyle::Body, 13, QFont::Normal);
        row("callout", TextStyle::Callout, 12, QFont::Normal);
        row("caption", TextStyle::Caption, 11, QFont::Normal);
    }

    void everyStyleIsAsLargeAsItsPointsWhereTheBodyTextHas13()
    {
        QFETCH(const TextStyle, style);
        QFETCH(const int, points);
        QTEST(TypeScale::font(style).weight(), "weight");
        for (const double body : { 6.5, 10.0, 13.0, 26.0 }) {
            const Look::Desktop desktop(Look::font(body));
            QCOMPARE(TypeScale::font(style).pointSizeF(), points * body / 13);
        }
        for (const int body : { 13, 26 }) {
            const Look::Desktop desktop(inPixels(body));
            QCOMPARE(TypeScale::font(style).pixelSize(), points * body / 13);
        }
    }

    void logsAreSmallerThanTheBodyTextAndHaveMoreSpaceBetweenTheirLines()
    {
        for (const int body : { 9, 13, 16, 20, 26 }) {
            const Look::Desktop desktop(inPixels(body));
            QCOMPARE(TypeScale::fixedWidth().pixelSize(), qRound(body * 11.0 / 13));
            QCOMPARE(TypeScale::fixedWidthLineHeight(), body * 16.0 / 13);
            QCOMPARE(TypeScale::point(), body / 13.0);
        }
        const Look::Desktop desktop(Look::font(26));
        QCOMPARE(TypeScale::fixedWidth().pointSizeF(), 22.0);
    }

    void logsHaveAMonospacedFontWhateverTheDesktopCallsOne()
    {
        if (QFontInfo(QFontDatabase::systemFont(QFontDatabase::FixedFont)).fixedPitch())
            QSKIP("The fonts of this machine are seen here, with a rule that finds the monospaced one.");
        const QFont font = TypeScale::fixedWidth();
        QCOMPARE(QFontInfo(font).family(), u"DejaVu Sans Mono"_s);
        QVERIFY(QFontInfo(font).fixedPitch());
        const QFontMetrics metrics(font);
        QCOMPARE(metrics.horizontalAdvance(u"iiii"_s), metrics.horizontalAdvance(u"MMMM"_s));
    }

private:
    static QFont inPixels(int size)
    {
        QFont font = QApplication::font();
        font.setPixelSize(size);
        return font;
    }
};

QTEST_MAIN(TypeScaleTest)
#include "TypeScaleTest.moc"
