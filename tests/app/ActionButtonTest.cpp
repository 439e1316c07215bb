#include "PlayButton.h"

#include "Look.h"
#include "Pixels.h"
#include "Stage.h"
#include "Table.h"
#include "TypeScale.h"

namespace {

const QColor violet(120, 0, 140);

/// A colour that occurs nowhere else in the window, and no button that is still fading in.
Appearance colourful(const QColor &accent = violet)
{
    return { .motion = Appearance::Motion::Reduced, .accent = accent };
}

Pixels::Predicate isNear(const QColor &colour)
{
    return [colour](const QColor &pixel) { return Pixels::distance(pixel, colour) < 64; };
}

double share(const Pixels::Found &found)
{
    return static_cast<double>(found.count) / (found.bounds.width() * found.bounds.height());
}

bool isInk(const QColor &colour) { return Pixels::distance(colour, Qt::white) < 60; }

/// Whether a sign is at least twice as heavy at its left end as at its right one.
bool pointsToTheRight(const QImage &picture, const QRect &sign)
{
    const int third = sign.width() / 3;
    const auto inked = [&](int left) {
        return Pixels::find(picture, QRect(left, sign.top(), third, sign.height()), isInk).count;
    };
    return inked(sign.left()) > 2 * inked(sign.right() + 1 - third);
}

/// The sign and the label of Play.
Pixels::Halves partsOf(const QImage &play)
{
    return Pixels::cutAtWidestGap(play, play.rect().adjusted(12, 0, -12, 0), [](const QColor &pixel) {
        return Pixels::distance(pixel, Qt::white) < Pixels::distance(pixel, violet);
    });
}

}

class ActionButtonTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void playIsFilledWithTheAccentColour()
    {
        for (const QColor &accent : { violet, QColor(0, 90, 40) }) {
            const Look::Desktop desktop(colourful(accent));
            constexpr int margin = 6;
            open();
            // The ring around the focus has the same colour.
            button(Button::about)->setFocus();
            settle();
            const QImage picture = Pixels::of(window(), *visible<PlayButton>(), margin);
            const Pixels::Found filled = Pixels::find(picture, picture.rect(), isNear(accent));
            QCOMPARE(filled.bounds, QRect(margin, margin, 260, 56));
            QCOMPARE_GT(share(filled), 0.8);
            QCOMPARE_LE(Pixels::distance(picture.pixelColor(margin + 12, margin + 28), accent), 2);
        }
    }

    void playIsWrittenIn28PointsBoldAsLongAsNothingIsCutOff_data()
    {
        const auto row = table<double, double>("body", "points");
        row("a small text", 8, 28);
        row("the usual text", 10, 28);
        row("a large text", 13, 28);
        row("a text twice as large", 20, 0);
    }

    void playIsWrittenIn28PointsBoldAsLongAsNothingIsCutOff()
    {
        QFETCH(const double, body);
        QFETCH(const double, points);
        const Look::Desktop desktop(Look::font(body));
        const QRect label = partsOf(picturePlay()).right.bounds;
        // The letters keep away from the edge, and the capital one stands in the middle.
        QVERIFY(label.top() >= 4 && label.bottom() < 56 - 4);
        const QFont font = TypeScale::font(28, QFont::Bold);
        const QRect expected = QFontMetrics(font).tightBoundingRect(Button::play);
        if (points == 0) {
            QCOMPARE_LT(label.height(), expected.height());
            QCOMPARE_GT(label.height(), 30);
            return;
        }
        QCOMPARE_LE(std::abs(label.width() - expected.width()), 2);
        QCOMPARE_LE(std::abs(label.height() - expected.height()), 2);
        const int capital = QFontMetrics(font).capHeight();
        QCOMPARE_LE(std::abs(label.top() + capital / 2.0 - 28), 1.5);
    }

    void aFilledTrianglePointsToTheRightBeforePlay()
    {
        const QImage play = picturePlay();
        const auto [left, right] = partsOf(play);
        const QRect sign = left.bounds;
        const QRect label = right.bounds;
        QVERIFY(sign.right() < label.left());
        QVERIFY(sign.height() >= 12 && sign.height() <= 44);
        // The label reaches lower than the sign because of its "y".
        QVERIFY(sign.center().y() >= label.top() && sign.bottom() <= label.bottom());
        // Sign and label are centred together.
        QCOMPARE_LE(std::abs((sign.left() + label.right()) / 2 - 130), 4);

        const auto inked = [&](const QRect &area) { return Pixels::find(play, area, isInk).count; };
        QCOMPARE_GT(share(left), 0.45);
        QCOMPARE_LT(share(left), 0.72);
        QVERIFY(pointsToTheRight(play, sign));
        const int half = sign.height() / 2;
        const int upper = inked(sign.adjusted(0, 0, 0, half - sign.height()));
        const int lower = inked(sign.adjusted(0, sign.height() - half, 0, 0));
        QCOMPARE_LE(std::abs(upper - lower) * 10, upper);
        QVERIFY(isInk(play.pixelColor(sign.left() + sign.width() / 3, sign.center().y())));
    }

    void aRedSquareStandsBeforeStop()
    {
        show(AppState::starting());
        const auto *stop = button(Button::stop);
        QCOMPARE(stop->size(), QSize(220, 44));
        const Tokens &tokens = Look::style().tokens();
        const QImage picture = Pixels::of(window(), *stop);
        const Pixels::Found sign = Pixels::find(picture, picture.rect(), isNear(tokens.redDot));
        const Pixels::Found label = Pixels::find(picture, picture.rect(), isNear(tokens.ink));
        QVERIFY(sign.bounds.right() < label.bounds.left());
        QCOMPARE_LE(std::abs(sign.bounds.height() - 12), 1);
        QCOMPARE(sign.bounds.width(), sign.bounds.height());
        QCOMPARE_GT(share(sign), 0.9);
        QCOMPARE_LE(std::abs(sign.bounds.center().y() - picture.rect().center().y()), 1);
        QVERIFY(label.bounds.width() > 1.5 * label.bounds.height());
        QCOMPARE_LE(std::abs((sign.bounds.left() + label.bounds.right()) / 2 - 110), 2);
    }

    void theMouseDarkensTheButtonThatItIsOnAndMoreWhilePressed()
    {
        open();
        const auto *play = visible<PlayButton>();
        const QPoint middle = place(play).center();
        const auto ground = [this] { return picturePlay().pixelColor(40, 28); };
        const Tokens &tokens = Look::style().tokens();
        QCOMPARE(ground(), QColor(tokens.accent.rgb()));
        QTest::mouseMove(window().windowHandle(), middle);
        QTRY_COMPARE(ground(), QColor(tokens.accentHover.rgb()));
        QTest::mousePress(window().windowHandle(), Qt::LeftButton, {}, middle);
        QTRY_COMPARE(ground(), QColor(tokens.accentPressed.rgb()));
        QTest::mouseMove(window().windowHandle(), QPoint(1, 1));
        QTest::mouseRelease(window().windowHandle(), Qt::LeftButton, {}, QPoint(1, 1));
        QTRY_COMPARE(ground(), QColor(tokens.accent.rgb()));
    }

    void onADesktopThatReadsFromRightToLeftTheSignStandsOnTheRightAndPointsThereToo()
    {
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
        const QImage play = picturePlay();
        const auto [label, sign] = partsOf(play);
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
        QVERIFY(label.bounds.width() > 2 * sign.bounds.width());
        QVERIFY(pointsToTheRight(play, sign.bounds));
    }

private:
    QImage picturePlay() { return Pixels::of(window(), *visible<PlayButton>()); }

    const Look::Desktop m_desktop { colourful() };
};

QTEST_MAIN(FreshForEach<ActionButtonTest>)
#include "ActionButtonTest.moc"
