#include "PlayButton.h"

#include "Look.h"
#include "Pixels.h"
#include "Stage.h"

namespace {

const QColor violet(120, 0, 140);

/// Colours that occur nowhere else in the window.
QPalette colourful(const QColor &accent = violet)
{
    QPalette palette = Look::light();
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::ButtonText, QColor(0, 0, 170));
    return palette;
}

Pixels::Predicate isNear(const QColor &colour)
{
    return [colour](const QColor &pixel) { return Pixels::distance(pixel, colour) < 64; };
}

double share(const Pixels::Found &found)
{
    return static_cast<double>(found.count) / (found.bounds.width() * found.bounds.height());
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
            const QImage picture = Pixels::of(window(), *visible<PlayButton>(), margin);
            const Pixels::Found filled = Pixels::find(picture, picture.rect(), isNear(accent));
            QCOMPARE(filled.bounds, QRect(margin, margin, 260, 56));
            QCOMPARE_GT(share(filled), 0.8);
            QCOMPARE_LE(Pixels::distance(picture.pixelColor(margin + 12, margin + 28), accent), 2);
        }
    }

    void playIsWrittenIn28PointsBold()
    {
        const QSize label = partsOf(picturePlay()).right.bounds.size();
        QFont font = QApplication::font();
        font.setPointSizeF(28);
        font.setBold(true);
        const QRect expected = QFontMetrics(font).tightBoundingRect(Button::play);
        QCOMPARE_LE(std::abs(label.width() - expected.width()), 2);
        QCOMPARE_LE(std::abs(label.height() - expected.height()), 2);
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

        const auto isInk = [](const QColor &pixel) { return Pixels::distance(pixel, Qt::white) < 60; };
        const auto inked = [&](const QRect &area) { return Pixels::find(play, area, isInk).count; };
        QCOMPARE_GT(share(left), 0.45);
        QCOMPARE_LT(share(left), 0.72);
        const int third = sign.width() / 3;
        QVERIFY(inked(sign.adjusted(0, 0, third - sign.width(), 0))
                > 2 * inked(sign.adjusted(sign.width() - third, 0, 0, 0)));
        const int half = sign.height() / 2;
        const int upper = inked(sign.adjusted(0, 0, 0, half - sign.height()));
        const int lower = inked(sign.adjusted(0, sign.height() - half, 0, 0));
        QCOMPARE_LE(std::abs(upper - lower) * 10, upper);
        QVERIFY(isInk(play.pixelColor(sign.left() + third, sign.center().y())));
    }

    void aFilledSquareStandsBeforeStop()
    {
        show(AppState::starting());
        const auto *stop = button(Button::stop);
        QCOMPARE(stop->width(), 220);
        const QImage picture = Pixels::of(window(), *stop);
        const auto isInk = isNear(QApplication::palette().color(QPalette::ButtonText));
        const auto [sign, label]
            = Pixels::cutAtWidestGap(picture, picture.rect().adjusted(8, 6, -8, -6), isInk);
        QVERIFY(sign.bounds.right() < label.bounds.left());
        QVERIFY(sign.bounds.height() >= 8 && sign.bounds.height() <= 32);
        QCOMPARE_LE(std::abs(sign.bounds.width() - sign.bounds.height()), 2);
        QCOMPARE_GT(share(sign), 0.85);
        QCOMPARE_LE(std::abs(sign.bounds.center().y() - picture.height() / 2), 2);
        QVERIFY(label.bounds.width() > 1.5 * label.bounds.height());
    }

private:
    QImage picturePlay() { return Pixels::of(window(), *visible<PlayButton>()); }

    const Look::Desktop m_desktop { colourful() };
};

QTEST_MAIN(FreshForEach<ActionButtonTest>)
#include "ActionButtonTest.moc"
