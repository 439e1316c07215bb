#include "StateDot.h"

#include "Pixels.h"
#include "Stage.h"

#include <QScreen>

namespace {

QString nameOf(const QColor &colour)
{
    if (colour.hsvSaturation() < 40)
        return QStringLiteral("grey");
    const int hue = colour.hsvHue();
    if (hue < 15 || hue > 345)
        return QStringLiteral("red");
    if (hue < 50)
        return QStringLiteral("orange");
    if (hue > 90 && hue < 170)
        return QStringLiteral("green");
    return colour.name();
}

/// A visible label with this text, or null.
const TextLabel *labelWith(const QWidget &where, const QString &text)
{
    const auto labels = where.findChildren<TextLabel *>();
    for (const TextLabel *label : labels) {
        if (label->isVisible() && label->text() == text)
            return label;
    }
    return nullptr;
}

}

class StateDotTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyStateHasItsDot_data();
    void everyStateHasItsDot();
    void aDotThatStaysInItsPlaceIsPaintedAnew();
};

void StateDotTest::everyStateHasItsDot_data()
{
    QTest::addColumn<AppState>("before");
    QTest::addColumn<AppState>("state");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("colour");

    const AppState needs = AppState::needs(QStringLiteral("No network."));
    const auto row = [](const AppState &before, const AppState &state, const QString &label,
                        const char *colour) {
        QTest::addRow("%s", qPrintable(label)) << before << state << label << QString::fromLatin1(colour);
    };
    row(AppState::ready(), needs, QStringLiteral("Needs something"), "red");
    row(needs, AppState::notDownloaded(), QStringLiteral("Not downloaded"), "grey");
    row(needs, AppState::ready(), QStringLiteral("Ready"), "green");
    row(AppState::starting(), AppState::playing(), QStringLiteral("Playing"), "green");
    row(needs, AppState::downloading(QStringLiteral("the game")), QStringLiteral("Downloading"), "orange");
    row(AppState::ready(), AppState::settingUp(), QStringLiteral("Setting up"), "orange");
    row(AppState::ready(), AppState::starting(), QStringLiteral("Starting\u2026"), "orange");
}

void StateDotTest::everyStateHasItsDot()
{
    QFETCH(const AppState, before);
    QFETCH(const AppState, state);
    QFETCH(const QString, label);
    QFETCH(const QString, colour);
    for (const QPalette &palette : { Pixels::Palette::light(), Pixels::Palette::dark() }) {
        const Pixels::Palette desktop(palette);
        Stage stage;
        stage.model.state = before;
        stage.open();
        stage.model.state = state;
        Stage::settle();

        // Five pixels on each side of the dot, which is ten wide.
        constexpr int margin = 5;
        const auto *dot = stage.visible<StateDot>();
        const QImage picture = Pixels::of(*stage.window, *dot, margin);
        const QColor ground = palette.color(QPalette::Window);
        const QColor centre = picture.pixelColor(picture.rect().center());
        QCOMPARE(nameOf(centre), colour);
        const int half = Pixels::distance(centre, ground) / 2;
        const Pixels::Found round = Pixels::find(picture, picture.rect(), [&](const QColor &pixel) {
            return Pixels::distance(pixel, ground) > half;
        });
        QCOMPARE(round.bounds.size(), QSize(10, 10));
        // About as many pixels as a circle of that size has; a square has a hundred.
        QVERIFY2(std::abs(round.count - 79) <= 6, qPrintable(QString::number(round.count)));

        const TextLabel *text = labelWith(*stage.window, label);
        QVERIFY(text);
        const QRect dotPlace(dot->mapTo(stage.window.get(), QPoint(0, 0)), dot->size());
        const QRect textPlace(text->mapTo(stage.window.get(), QPoint(0, 0)), text->size());
        QVERIFY(dotPlace.right() < textPlace.left());
        QVERIFY(std::abs(dotPlace.center().y() - textPlace.center().y()) <= 1);
    }
}

void StateDotTest::aDotThatStaysInItsPlaceIsPaintedAnew()
{
    QWidget window;
    window.resize(40, 40);
    StateDot dot(&window);
    dot.move(15, 15);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    // Read from the screen: taking a picture of the window would repaint it.
    const auto seen = [&window] {
        return nameOf(window.screen()->grabWindow(window.winId()).toImage().pixelColor(20, 20));
    };
    QTRY_COMPARE(seen(), QStringLiteral("grey"));
    dot.display(StateFace::Dot::Green);
    QTRY_COMPARE(seen(), QStringLiteral("green"));
    dot.display(StateFace::Dot::Red);
    QTRY_COMPARE(seen(), QStringLiteral("red"));
}

QTEST_MAIN(StateDotTest)
#include "StateDotTest.moc"
