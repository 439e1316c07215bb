#include "FailureView.h"
#include "LogText.h"
#include "LogView.h"
#include "Look.h"
#include "Pixels.h"
#include "Stage.h"
#include "Table.h"
#include "TypeScale.h"

namespace {

QColor red(double opacity) { return QColor::fromRgbF(1, 0, 0, static_cast<float>(opacity)); }
QColor black(double opacity) { return QColor::fromRgbF(0, 0, 0, static_cast<float>(opacity)); }

enum class Side { Top, Bottom, Left, Right };
const QList<Side> allSides { Side::Top, Side::Bottom, Side::Left, Side::Right };

/// A line of one pixel at each side of the picture, which differs from what is `around`; next to it,
/// `ground`.
void verifyRim(const QImage &picture, const QColor &around, const QColor &ground,
               const QList<Side> &sides = allSides)
{
    const QPoint middle = picture.rect().center();
    const QPoint end = picture.rect().bottomRight();
    const QHash<Side, std::pair<QPoint, QPoint>> places {
        { Side::Top, { { middle.x(), 0 }, { 0, 1 } } },
        { Side::Bottom, { { middle.x(), end.y() }, { 0, -1 } } },
        { Side::Left, { { 0, middle.y() }, { 1, 0 } } },
        { Side::Right, { { end.x(), middle.y() }, { -1, 0 } } }
    };
    for (const Side side : sides) {
        const auto [place, inwards] = places.value(side);
        QCOMPARE_GE(Contrast::between(picture.pixelColor(place), around), 1.3);
        QCOMPARE_LE(Pixels::distance(picture.pixelColor(place + inwards), ground), 2);
    }
}

/// The bounds of everything in `image` that differs from `ground`, four pixels at each edge aside.
QRect written(const QImage &image, const QColor &ground)
{
    return Pixels::find(image, image.rect().adjusted(4, 4, -4, -4),
                        [&ground](const QColor &pixel) { return Pixels::distance(pixel, ground) > 24; })
        .bounds;
}

/// Eight pixels from the sides of the box to its first line, and its letters in the middle of that.
void verifyBeginning(const QRect &letters, const QFontMetrics &metrics)
{
    QCOMPARE_LE(std::abs(letters.left() - 9), 1);
    const double space = std::round(TypeScale::fixedWidthLineHeight()) - metrics.height();
    QCOMPARE_LE(std::abs(letters.top() - 8 - space / 2 - (metrics.ascent() - metrics.capHeight())), 1.5);
}

}

class PanelTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void theFailureStandsOnRedAndAllLogLinesOnBlack_data()
    {
        const auto row = table<Appearance>("appearance");
        row("light", Look::light());
        row("dark", Look::dark());
    }

    void theFailureStandsOnRedAndAllLogLinesOnBlack()
    {
        QFETCH(const Appearance, appearance);
        const Look::Desktop desktop(appearance);
        model.log.lines = QStringList(2, u"HHHHHHHH"_s);
        model.showLog = true;
        open(tall);
        fail(5);

        const QColor ground = Look::style().tokens().window;
        const QColor panelGround = Contrast::over(red(0.08), ground);
        const auto *failure = visible<FailureView>();
        const QImage panel = Pixels::of(window(), *failure);
        verifyRim(panel, ground, panelGround);
        Pixels::verifyCorners(panel, ground, 10);

        const QImage box = Pixels::of(window(), *visible<LogText>(*failure)->parentWidget());
        verifyRim(box, panelGround, Contrast::over(black(0.06), panelGround));
        Pixels::verifyCorners(box, panelGround, 6);

        const auto *log = visible<LogView>();
        const auto *lines = visible<LogText>(*log);
        QTRY_VERIFY(lines->toPlainText().startsWith(u'H'));
        QCOMPARE(log->size(), QSize(600 - 2 * 20, 180));
        const QColor logGround = Contrast::over(black(0.06), ground);
        const QImage picture = Pixels::of(window(), *log);
        // On the right the scroll bar stands.
        verifyRim(picture, ground, logGround, { Side::Top, Side::Bottom, Side::Left });
        Pixels::verifyCorners(picture, ground, 6, { Qt::TopLeftCorner, Qt::BottomLeftCorner });
        verifyBeginning(written(picture.copy(0, 0, 500, 180), logGround), lines->fontMetrics());
    }

    void theFailuresPartsStandInTheirPlaces()
    {
        const Look::Desktop desktop(Look::light());
        Samples::fail(model, u"HHHHHH"_s, 3);
        model.failureLines = QStringList(3, u"HHHHHHHH"_s);
        open(tall);

        const auto *view = visible<FailureView>();
        const auto *lines = visible<LogText>(*view);
        QCOMPARE(place(view).left(), 20);
        QCOMPARE(view->width(), 600 - 2 * 20);
        const QRect message = placeIn(*view, *visible<TextLabel>(*view));
        const QRect box = placeIn(*view, *lines->parentWidget());
        const QRect copy = placeIn(*view, *button(Button::copy));
        QCOMPARE(message.topLeft(), QPoint(12, 12));
        QCOMPARE(message.right() + 1, view->width() - 12);
        QCOMPARE(box.topLeft(), QPoint(12, message.bottom() + 1 + 8));
        QCOMPARE(box.right() + 1, view->width() - 12);
        QCOMPARE(copy.topLeft(), QPoint(12, box.bottom() + 1 + 8));
        QCOMPARE(copy.bottom() + 1, view->height() - 12);

        const QImage picture = Pixels::of(window(), *lines->parentWidget());
        const QRect letters = written(picture, picture.pixelColor(picture.width() / 2, 3));
        const QFontMetrics metrics = lines->fontMetrics();
        verifyBeginning(letters, metrics);
        const int belowLetters = picture.height() - 1 - letters.bottom();
        const double space = std::round(TypeScale::fixedWidthLineHeight()) - metrics.height();
        QCOMPARE_LE(std::abs(belowLetters - 8 - metrics.descent() - space / 2), 4);
    }
};

QTEST_MAIN(FreshForEach<PanelTest>)
#include "PanelTest.moc"
