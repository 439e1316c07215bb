#include "Look.h"
#include "Pixels.h"
#include "Stage.h"
#include "Table.h"

namespace {

/// "plain", "grey" or "red", read from a picture of the text.
QString inkOf(QWidget &window, const TextLabel &text)
{
    const QImage picture = Pixels::of(window, text);
    const QColor ground = picture.pixelColor(picture.width() - 1, picture.height() - 1);
    const QColor ink = Pixels::ink(picture, ground);
    const QColor plain = window.palette().color(QPalette::WindowText);
    const double strength = Colours::contrast(ink, ground) / Colours::contrast(plain, ground);
    const int redness = ink.red() - std::max(ink.green(), ink.blue());
    if (redness > 60)
        return u"red"_s;
    if (redness < 20 && strength > 0.7)
        return u"plain"_s;
    if (redness < 20 && strength < 0.6)
        return u"grey"_s;
    return u"%1 on %2"_s.arg(ink.name(), ground.name());
}

}

class InkTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void everyTextHasItsInk_data()
    {
        const auto row = table<QString>("inks");
        // The title, what is known about the game, the state and what belongs to it, the rest.
        row("not-downloaded", u"plain grey, plain, grey"_s);
        row("ready-wordy",
            u"plain plain grey plain plain plain plain plain plain plain plain plain, plain, grey"_s);
        row("downloading", u"plain plain grey plain plain plain plain, plain, plain grey"_s);
        row("needs-something", u"plain grey, plain, red grey"_s);
        row("failure-short", u"plain grey, plain, grey red"_s);
        // Down to the divider, and below.
        row("settings", u"plain plain plain, grey"_s);
        row("about", u"plain plain plain plain, grey grey"_s);
    }

    void everyTextHasItsInk()
    {
        QFETCH(QString, inks);
        const QLatin1StringView where(QTest::currentDataTag());
        for (const Samples::Scene &scene : Samples::scenes()) {
            if (scene.name == where)
                scene.set(model);
        }
        for (const QPalette &palette : { Look::light(), Look::dark() }) {
            const Look::Desktop desktop(palette);
            open(tall);
            if (where == "settings"_L1)
                openSettings();
            if (where == "about"_L1)
                openAbout();
            QStringList seen;
            for (const TextLabel *text : labels(*front()))
                seen << inkOf(*front(), *text);
            QCOMPARE(seen.join(u' '), inks.remove(u','));
        }
    }
};

QTEST_MAIN(FreshForEach<InkTest>)
#include "InkTest.moc"
