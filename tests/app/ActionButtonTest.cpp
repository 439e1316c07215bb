#include "PlayButton.h"

#include "Pixels.h"
#include "Stage.h"

namespace {

/// Colours that occur nowhere else in the window.
QPalette colourful(const QColor &accent)
{
    QPalette palette = Pixels::Palette::light();
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

}

class ActionButtonTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void playIsFilledWithTheAccentColour_data();
    void playIsFilledWithTheAccentColour();
    void playIsWrittenIn28PointsBold();
    void aFilledTrianglePointsToTheRightBeforePlay();
    void aFilledSquareStandsBeforeStop();

private:
    static Pixels::Halves signAndLabelOfPlay(Stage &stage, QImage &picture);
};

void ActionButtonTest::playIsFilledWithTheAccentColour_data()
{
    QTest::addColumn<QColor>("accent");
    QTest::newRow("violet") << QColor(120, 0, 140);
    QTest::newRow("green") << QColor(0, 90, 40);
}

void ActionButtonTest::playIsFilledWithTheAccentColour()
{
    QFETCH(const QColor, accent);
    const Pixels::Palette desktop(colourful(accent));
    Stage stage;
    stage.open();
    constexpr int margin = 6;
    const QImage picture = Pixels::of(*stage.window, *stage.visible<PlayButton>(), margin);
    const Pixels::Found filled = Pixels::find(picture, picture.rect(), isNear(accent));
    QCOMPARE(filled.bounds, QRect(margin, margin, 260, 56));
    QVERIFY(share(filled) > 0.8);
    QVERIFY(Pixels::distance(picture.pixelColor(margin + 12, margin + 28), accent) <= 2);
}

Pixels::Halves ActionButtonTest::signAndLabelOfPlay(Stage &stage, QImage &picture)
{
    stage.open();
    picture = Pixels::of(*stage.window, *stage.visible<PlayButton>());
    return Pixels::cutAtWidestGap(picture, picture.rect().adjusted(12, 0, -12, 0), [](const QColor &pixel) {
        return Pixels::distance(pixel, Qt::white) < Pixels::distance(pixel, QColor(120, 0, 140));
    });
}

void ActionButtonTest::playIsWrittenIn28PointsBold()
{
    const Pixels::Palette desktop(colourful(QColor(120, 0, 140)));
    Stage stage;
    QImage picture;
    const QRect label = signAndLabelOfPlay(stage, picture).right.bounds;
    QFont font = QApplication::font();
    font.setPointSizeF(28);
    font.setBold(true);
    const QRect expected = QFontMetrics(font).tightBoundingRect(QStringLiteral("Play"));
    QVERIFY2(std::abs(label.width() - expected.width()) <= 2, qPrintable(QString::number(label.width())));
    QVERIFY2(std::abs(label.height() - expected.height()) <= 2, qPrintable(QString::number(label.height())));
}

void ActionButtonTest::aFilledTrianglePointsToTheRightBeforePlay()
{
    const Pixels::Palette desktop(colourful(QColor(120, 0, 140)));
    Stage stage;
    QImage picture;
    const auto [sign, label] = signAndLabelOfPlay(stage, picture);
    QVERIFY(sign.bounds.right() < label.bounds.left());
    QVERIFY(sign.bounds.height() >= 12 && sign.bounds.height() <= 44);
    // The label reaches lower than the sign because of its "y".
    QVERIFY(sign.bounds.center().y() >= label.bounds.top() && sign.bounds.bottom() <= label.bounds.bottom());
    // Sign and label are centred together.
    QVERIFY(std::abs((sign.bounds.left() + label.bounds.right()) / 2 - 130) <= 4);

    const auto isInk = [](const QColor &pixel) { return Pixels::distance(pixel, Qt::white) < 60; };
    const auto inked = [&](const QRect &area) { return Pixels::find(picture, area, isInk).count; };
    QVERIFY2(share(sign) > 0.45 && share(sign) < 0.72, qPrintable(QString::number(share(sign))));
    QRect left = sign.bounds;
    left.setWidth(sign.bounds.width() / 3);
    QRect right = left;
    right.moveRight(sign.bounds.right());
    QVERIFY(inked(left) > 2 * inked(right));
    QRect upper = sign.bounds;
    upper.setHeight(sign.bounds.height() / 2);
    QRect lower = upper;
    lower.moveBottom(sign.bounds.bottom());
    QVERIFY(std::abs(inked(upper) - inked(lower)) * 10 <= inked(upper));
    QVERIFY(
        isInk(picture.pixelColor(sign.bounds.left() + sign.bounds.width() / 3, sign.bounds.center().y())));
}

void ActionButtonTest::aFilledSquareStandsBeforeStop()
{
    const QPalette palette = colourful(QColor(120, 0, 140));
    const Pixels::Palette desktop(palette);
    Stage stage;
    stage.model.state = AppState::starting();
    stage.open();
    const auto *stop = Stage::button(*stage.window, QStringLiteral("Stop"));
    QVERIFY(stop);
    QCOMPARE(stop->width(), 220);
    const QImage picture = Pixels::of(*stage.window, *stop);
    const auto [sign, label] = Pixels::cutAtWidestGap(picture, picture.rect().adjusted(8, 6, -8, -6),
                                                      isNear(palette.color(QPalette::ButtonText)));
    QVERIFY(sign.bounds.right() < label.bounds.left());
    QVERIFY(sign.bounds.height() >= 8 && sign.bounds.height() <= 32);
    QVERIFY(std::abs(sign.bounds.width() - sign.bounds.height()) <= 2);
    QVERIFY2(share(sign) > 0.85, qPrintable(QString::number(share(sign))));
    QVERIFY(std::abs(sign.bounds.center().y() - picture.height() / 2) <= 2);
    QVERIFY(label.bounds.width() > 1.5 * label.bounds.height());
}

QTEST_MAIN(ActionButtonTest)
#include "ActionButtonTest.moc"
