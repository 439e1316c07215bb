#include "FailureView.h"
#include "LogText.h"
#include "LogView.h"
#include "Pixels.h"
#include "Samples.h"
#include "Stage.h"

namespace {

QRect placeIn(const QWidget &outer, const QWidget &inner)
{
    return { inner.mapTo(&outer, QPoint(0, 0)), inner.size() };
}

QColor red(double opacity) { return QColor::fromRgbF(1, 0, 0, static_cast<float>(opacity)); }
QColor black(double opacity) { return QColor::fromRgbF(0, 0, 0, static_cast<float>(opacity)); }

/// The bounds of everything in `image` that differs from `ground`, four pixels at each edge aside.
QRect written(const QImage &image, const QColor &ground)
{
    return Pixels::find(image, image.rect().adjusted(4, 4, -4, -4),
                        [&ground](const QColor &pixel) { return Pixels::distance(pixel, ground) > 24; })
        .bounds;
}

}

class PanelTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFailureStandsOnRedAndItsLinesOnBlack_data();
    void theFailureStandsOnRedAndItsLinesOnBlack();
    void theFailuresPartsStandInTheirPlaces();
    void theLogStandsOnBlack_data();
    void theLogStandsOnBlack();
};

void PanelTest::theFailureStandsOnRedAndItsLinesOnBlack_data()
{
    QTest::addColumn<QPalette>("palette");
    QTest::newRow("light") << Pixels::Palette::light();
    QTest::newRow("dark") << Pixels::Palette::dark();
}

void PanelTest::theFailureStandsOnRedAndItsLinesOnBlack()
{
    QFETCH(const QPalette, palette);
    const Pixels::Palette desktop(palette);
    Stage stage;
    Samples::fail(stage.model, Samples::earlyEnd, 5);
    stage.open(QSize(600, 1000));

    const QColor window = palette.color(QPalette::Window);
    const QColor panelGround = Colours::over(red(0.08), window);
    const auto *view = stage.visible<FailureView>();
    const QImage panel = Pixels::of(*stage.window, *view);
    for (const QPoint &place :
         { QPoint(panel.width() / 2, 0), QPoint(panel.width() / 2, panel.height() - 1),
           QPoint(0, panel.height() / 2), QPoint(panel.width() - 1, panel.height() / 2) })
        QVERIFY2(Pixels::distance(panel.pixelColor(place), panelGround) <= 2,
                 qPrintable(panel.pixelColor(place).name()));
    for (const Qt::Corner corner : Pixels::corners) {
        const double radius = Pixels::cornerRadius(panel, corner, window, 12);
        QVERIFY2(std::abs(radius - 10) < 1, qPrintable(QString::number(radius)));
    }

    const QColor boxGround = Colours::over(black(0.06), panelGround);
    const QImage box = Pixels::of(*stage.window, *view->findChild<LogText *>()->parentWidget());
    for (const QPoint &place : { QPoint(box.width() / 2, 0), QPoint(0, box.height() / 2) })
        QVERIFY2(Pixels::distance(box.pixelColor(place), boxGround) <= 2,
                 qPrintable(box.pixelColor(place).name()));
    if (palette != Pixels::Palette::light())
        return; // black on dark is too faint for measuring a corner
    for (const Qt::Corner corner : Pixels::corners) {
        const double radius = Pixels::cornerRadius(box, corner, panelGround, 7);
        QVERIFY2(std::abs(radius - 6) < 1, qPrintable(QString::number(radius)));
    }
}

void PanelTest::theFailuresPartsStandInTheirPlaces()
{
    const Pixels::Palette desktop(Pixels::Palette::light());
    Stage stage;
    Samples::fail(stage.model, QStringLiteral("HHHHHH"), 3);
    stage.model.failureLines = QStringList(3, QStringLiteral("HHHHHHHH"));
    stage.open(QSize(600, 1000));

    const auto *view = stage.visible<FailureView>();
    QCOMPARE(placeIn(*stage.window, *view).left(), 20);
    QCOMPARE(view->width(), 600 - 2 * 20);
    const QRect message = placeIn(*view, *view->findChild<TextLabel *>());
    const QRect box = placeIn(*view, *view->findChild<LogText *>()->parentWidget());
    const QRect copy = placeIn(*view, *Stage::button(*view, QStringLiteral("Copy")));
    QCOMPARE(message.topLeft(), QPoint(12, 12));
    QCOMPARE(message.right() + 1, view->width() - 12);
    QCOMPARE(box.left(), 12);
    QCOMPARE(box.right() + 1, view->width() - 12);
    QCOMPARE(box.top() - message.bottom() - 1, 8);
    QCOMPARE(copy.left(), 12);
    QCOMPARE(copy.top() - box.bottom() - 1, 8);
    QCOMPARE(copy.bottom() + 1, view->height() - 12);

    // Eight pixels from the sides of the box to its letters, which have a little space of their own.
    const QImage picture = Pixels::of(*stage.window, *view->findChild<LogText *>()->parentWidget());
    const QRect letters = written(picture, picture.pixelColor(picture.width() / 2, 2));
    QVERIFY2(letters.left() >= 8 && letters.left() <= 10, qPrintable(QString::number(letters.left())));
    const QFontMetrics metrics = view->findChild<LogText *>()->fontMetrics();
    const int aboveLetters = metrics.ascent() - metrics.capHeight();
    QVERIFY2(std::abs(letters.top() - 8 - aboveLetters) <= 2, qPrintable(QString::number(letters.top())));
    const int belowLetters = picture.height() - 1 - letters.bottom();
    QVERIFY2(std::abs(belowLetters - 8 - metrics.descent()) <= 4, qPrintable(QString::number(belowLetters)));
}

void PanelTest::theLogStandsOnBlack_data()
{
    QTest::addColumn<QPalette>("palette");
    QTest::newRow("light") << Pixels::Palette::light();
    QTest::newRow("dark") << Pixels::Palette::dark();
}

void PanelTest::theLogStandsOnBlack()
{
    QFETCH(const QPalette, palette);
    const Pixels::Palette desktop(palette);
    Stage stage;
    stage.model.log.lines = QStringList(2, QStringLiteral("HHHHHHHH"));
    stage.model.showLog = true;
    stage.open(QSize(600, 1000));
    const auto *view = stage.visible<LogView>();
    QTRY_VERIFY(view->findChild<LogText *>()->toPlainText().startsWith(u'H'));
    QCOMPARE(view->size(), QSize(600 - 2 * 20, 180));

    const QColor window = palette.color(QPalette::Window);
    const QColor ground = Colours::over(black(0.06), window);
    const QImage picture = Pixels::of(*stage.window, *view);
    for (const QPoint &place : { QPoint(280, 0), QPoint(280, 179), QPoint(0, 90), QPoint(280, 100) })
        QVERIFY2(Pixels::distance(picture.pixelColor(place), ground) <= 2,
                 qPrintable(picture.pixelColor(place).name()));
    // On the right the scroll bar covers the corners.
    if (palette == Pixels::Palette::light()) {
        for (const Qt::Corner corner : { Qt::TopLeftCorner, Qt::BottomLeftCorner }) {
            const double radius = Pixels::cornerRadius(picture, corner, window, 7);
            QVERIFY2(std::abs(radius - 6) < 1, qPrintable(QString::number(radius)));
        }
    }

    const QRect letters = written(picture.copy(0, 0, 500, 180), ground);
    QVERIFY2(letters.left() >= 8 && letters.left() <= 10, qPrintable(QString::number(letters.left())));
    const QFontMetrics metrics = view->findChild<LogText *>()->fontMetrics();
    QVERIFY(std::abs(letters.top() - 8 - (metrics.ascent() - metrics.capHeight())) <= 2);
}

QTEST_MAIN(PanelTest)
#include "PanelTest.moc"
