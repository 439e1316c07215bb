#include "FailureView.h"
#include "LogText.h"
#include "LogView.h"
#include "Look.h"
#include "Pixels.h"
#include "Stage.h"

using namespace Qt::StringLiterals;

namespace {

QColor red(double opacity) { return QColor::fromRgbF(1, 0, 0, static_cast<float>(opacity)); }
QColor black(double opacity) { return QColor::fromRgbF(0, 0, 0, static_cast<float>(opacity)); }

/// The bounds of everything in `image` that differs from `ground`, four pixels at each edge aside.
QRect written(const QImage &image, const QColor &ground)
{
    return Pixels::find(image, image.rect().adjusted(4, 4, -4, -4),
                        [&ground](const QColor &pixel) { return Pixels::distance(pixel, ground) > 24; })
        .bounds;
}

/// The middles of the four sides, and some other places.
QList<QPoint> middles(const QImage &image)
{
    const QRect all = image.rect();
    return { { all.width() / 2, 0 },
             { all.width() / 2, all.bottom() },
             { 0, all.height() / 2 },
             { all.right(), all.height() / 2 } };
}

}

class PanelTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFailureStandsOnRedAndItsLinesOnBlack_data() { Look::addPalettes(); }

    void theFailureStandsOnRedAndItsLinesOnBlack()
    {
        QFETCH(const QPalette, palette);
        const Look::Palette desktop(palette);
        Stage stage;
        stage.fail(5);
        stage.open(Stage::tall);

        const QColor window = palette.color(QPalette::Window);
        const QColor panelGround = Colours::over(red(0.08), window);
        const auto *view = stage.visible<FailureView>();
        const QImage panel = Pixels::of(*stage.window, *view);
        for (const QPoint &place : middles(panel))
            QCOMPARE_LE(Pixels::distance(panel.pixelColor(place), panelGround), 2);
        for (const Qt::Corner corner : Pixels::corners)
            QCOMPARE_LT(std::abs(Pixels::cornerRadius(panel, corner, window, 12) - 10), 1);

        const QColor boxGround = Colours::over(black(0.06), panelGround);
        const QImage box = Pixels::of(*stage.window, *Stage::visible<LogText>(*view)->parentWidget());
        for (const QPoint &place : { QPoint(box.width() / 2, 0), QPoint(0, box.height() / 2) })
            QCOMPARE_LE(Pixels::distance(box.pixelColor(place), boxGround), 2);
        if (palette != Look::light())
            return; // black on dark is too faint for measuring a corner
        for (const Qt::Corner corner : Pixels::corners)
            QCOMPARE_LT(std::abs(Pixels::cornerRadius(box, corner, panelGround, 7) - 6), 1);
    }

    void theFailuresPartsStandInTheirPlaces()
    {
        const Look::Palette desktop(Look::light());
        Stage stage;
        stage.fail(3, u"HHHHHH"_s);
        stage.model.failureLines = QStringList(3, u"HHHHHHHH"_s);
        stage.open(Stage::tall);

        const auto *view = stage.visible<FailureView>();
        const auto *lines = Stage::visible<LogText>(*view);
        QCOMPARE(stage.place(view).left(), 20);
        QCOMPARE(view->width(), 600 - 2 * 20);
        const QRect message = Stage::placeIn(*view, *Stage::visible<TextLabel>(*view));
        const QRect box = Stage::placeIn(*view, *lines->parentWidget());
        const QRect copy = Stage::placeIn(*view, *Stage::button(*view, Button::copy));
        QCOMPARE(message.topLeft(), QPoint(12, 12));
        QCOMPARE(message.right() + 1, view->width() - 12);
        QCOMPARE(box.topLeft(), QPoint(12, message.bottom() + 1 + 8));
        QCOMPARE(box.right() + 1, view->width() - 12);
        QCOMPARE(copy.topLeft(), QPoint(12, box.bottom() + 1 + 8));
        QCOMPARE(copy.bottom() + 1, view->height() - 12);

        // Eight pixels from the sides of the box to its letters, which have a little space of their own.
        const QImage picture = Pixels::of(*stage.window, *lines->parentWidget());
        const QRect letters = written(picture, picture.pixelColor(picture.width() / 2, 2));
        const QFontMetrics metrics = lines->fontMetrics();
        const int belowLetters = picture.height() - 1 - letters.bottom();
        QCOMPARE_LE(std::abs(letters.left() - 9), 1);
        QCOMPARE_LE(std::abs(letters.top() - 8 - (metrics.ascent() - metrics.capHeight())), 2);
        QCOMPARE_LE(std::abs(belowLetters - 8 - metrics.descent()), 4);
    }

    void theLogStandsOnBlack_data() { Look::addPalettes(); }

    void theLogStandsOnBlack()
    {
        QFETCH(const QPalette, palette);
        const Look::Palette desktop(palette);
        Stage stage;
        stage.model.log.lines = QStringList(2, u"HHHHHHHH"_s);
        stage.model.showLog = true;
        stage.open(Stage::tall);
        const auto *view = stage.visible<LogView>();
        const auto *lines = Stage::visible<LogText>(*view);
        QTRY_VERIFY(lines->toPlainText().startsWith(u'H'));
        QCOMPARE(view->size(), QSize(600 - 2 * 20, 180));

        const QColor window = palette.color(QPalette::Window);
        const QColor ground = Colours::over(black(0.06), window);
        const QImage picture = Pixels::of(*stage.window, *view);
        for (const QPoint &place : { QPoint(280, 0), QPoint(280, 179), QPoint(0, 90), QPoint(280, 100) })
            QCOMPARE_LE(Pixels::distance(picture.pixelColor(place), ground), 2);
        // On the right the scroll bar covers the corners.
        for (const Qt::Corner corner : { Qt::TopLeftCorner, Qt::BottomLeftCorner }) {
            if (palette == Look::light())
                QCOMPARE_LT(std::abs(Pixels::cornerRadius(picture, corner, window, 7) - 6), 1);
        }

        const QRect letters = written(picture.copy(0, 0, 500, 180), ground);
        const QFontMetrics metrics = lines->fontMetrics();
        QCOMPARE_LE(std::abs(letters.left() - 9), 1);
        QCOMPARE_LE(std::abs(letters.top() - 8 - (metrics.ascent() - metrics.capHeight())), 2);
    }
};

QTEST_MAIN(FailsCleanly<PanelTest>)
#include "PanelTest.moc"
