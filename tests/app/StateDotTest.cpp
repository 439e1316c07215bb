#include "StateDot.h"

#include "Look.h"
#include "Pixels.h"
#include "Stage.h"

#include <QScreen>

using namespace Qt::StringLiterals;

namespace {

QString nameOf(const QColor &colour)
{
    if (colour.hsvSaturation() < 40)
        return u"grey"_s;
    const int hue = colour.hsvHue();
    if (hue < 15 || hue > 345)
        return u"red"_s;
    if (hue < 50)
        return u"orange"_s;
    if (hue > 90 && hue < 170)
        return u"green"_s;
    return colour.name();
}

}

class StateDotTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyStateHasItsDot_data()
    {
        QTest::addColumn<AppState>("before");
        QTest::addColumn<AppState>("state");
        QTest::addColumn<QString>("colour");
        const AppState needs = AppState::needs(u"No network."_s);
        QTest::newRow("needs something") << AppState::ready() << needs << u"red"_s;
        QTest::newRow("not downloaded") << needs << AppState::notDownloaded() << u"grey"_s;
        QTest::newRow("ready") << needs << AppState::ready() << u"green"_s;
        QTest::newRow("playing") << AppState::starting() << AppState::playing() << u"green"_s;
        QTest::newRow("downloading") << needs << AppState::downloading(u"the game"_s) << u"orange"_s;
        QTest::newRow("setting up") << AppState::ready() << AppState::settingUp() << u"orange"_s;
        QTest::newRow("starting") << AppState::ready() << AppState::starting() << u"orange"_s;
    }

    void everyStateHasItsDot()
    {
        QFETCH(const AppState, before);
        QFETCH(const AppState, state);
        QFETCH(const QString, colour);
        for (const QPalette &palette : { Look::light(), Look::dark() }) {
            const Look::Palette desktop(palette);
            Stage stage;
            stage.model.state = before;
            stage.open();
            stage.show(state);

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
            QCOMPARE_LE(std::abs(round.count - 79), 6);

            const QRect label = stage.place(Stage::label(*stage.window, stateFace(state, false).label));
            QVERIFY(stage.place(dot).right() < label.left());
            QCOMPARE_LE(std::abs(stage.place(dot).center().y() - label.center().y()), 1);
        }
    }

    void aDotThatStaysInItsPlaceIsPaintedAnew()
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
        QTRY_COMPARE(seen(), u"grey"_s);
        dot.display(StateFace::Dot::Green);
        QTRY_COMPARE(seen(), u"green"_s);
        dot.display(StateFace::Dot::Red);
        QTRY_COMPARE(seen(), u"red"_s);
    }
};

QTEST_MAIN(FailsCleanly<StateDotTest>)
#include "StateDotTest.moc"
