#include "StateDot.h"

#include "Look.h"
#include "Pixels.h"
#include "PlayArea.h"
#include "Stage.h"
#include "Table.h"

#include <QScreen>

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

const AppState needs = AppState::needs(u"No network."_s);

}

class StateDotTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void everyStateHasItsDotItsTextsAndItsAction_data()
    {
        const auto row = table<AppState, QString, QStringList, QString>("state", "colour", "texts", "action");
        row("needs something", needs, u"red"_s, { u"Needs something"_s, needs.text(), playHint },
            Button::play);
        row("not downloaded", AppState::notDownloaded(), u"grey"_s, { u"Not downloaded"_s, playHint },
            Button::play);
        row("ready", AppState::ready(), u"green"_s, { u"Ready"_s }, Button::play);
        row("playing", AppState::playing(), u"green"_s, { u"Playing"_s }, Button::stop);
        row("downloading", AppState::downloading(u"the game"_s), u"orange"_s, { u"Downloading"_s },
            Button::cancel);
        row("setting up", AppState::settingUp(), u"orange"_s, { u"Setting up"_s }, Button::cancel);
        row("starting", AppState::starting(), u"orange"_s, { u"Starting\u2026"_s }, Button::stop);
    }

    void everyStateHasItsDotItsTextsAndItsAction()
    {
        QFETCH(const AppState, state);
        QFETCH(const QString, action);
        for (const Appearance &appearance : { Look::light(), Look::dark() }) {
            const Look::Desktop desktop(appearance);
            model.state = state == needs ? AppState::ready() : needs;
            open();
            show(state);
            const auto *area = visible<PlayArea>();
            QTEST(texts(*area), "texts");
            QVERIFY(hasButton(action));

            // Five pixels on each side of the dot, which is ten wide.
            constexpr int margin = 5;
            const auto *dot = visible<StateDot>();
            const QImage picture = Pixels::of(window(), *dot, margin);
            const QColor ground = Look::style().tokens().window;
            const QColor centre = picture.pixelColor(picture.rect().center());
            QTEST(nameOf(centre), "colour");
            const int half = Pixels::distance(centre, ground) / 2;
            const Pixels::Found round = Pixels::find(picture, picture.rect(), [&](const QColor &pixel) {
                return Pixels::distance(pixel, ground) > half;
            });
            QCOMPARE(round.bounds.size(), QSize(10, 10));
            // About as many pixels as a circle of that size has; a square has a hundred.
            QCOMPARE_LE(std::abs(round.count - 79), 6);

            const QRect text = place(visible<TextLabel>(*area));
            QVERIFY(place(dot).right() < text.left());
            QCOMPARE_LE(std::abs(place(dot).center().y() - text.center().y()), 1);
        }
    }

    void aDotThatStaysInItsPlaceIsPaintedAnew()
    {
        QWidget ground;
        ground.resize(40, 40);
        StateDot dot(&ground);
        dot.move(15, 15);
        ground.show();
        QVERIFY(QTest::qWaitForWindowExposed(&ground));
        // Read from the screen: taking a picture of the window would repaint it.
        const auto seen = [&ground] {
            return nameOf(ground.screen()->grabWindow(ground.winId()).toImage().pixelColor(20, 20));
        };
        QTRY_COMPARE(seen(), u"grey"_s);
        dot.display(StateFace::Dot::Green);
        QTRY_COMPARE(seen(), u"green"_s);
        dot.display(StateFace::Dot::Red);
        QTRY_COMPARE(seen(), u"red"_s);
    }
};

QTEST_MAIN(FreshForEach<StateDotTest>)
#include "StateDotTest.moc"
