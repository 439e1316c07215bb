#include "Look.h"
#include "Pixels.h"
#include "Stage.h"
#include "Table.h"
#include "Tokens.h"

namespace {

/// "plain", "grey" or "red", read from a picture of the text.
QString inkOf(QWidget &window, const TextLabel &text)
{
    const QImage picture = Pixels::of(window, text);
    const QColor ground = picture.pixelColor(picture.width() - 1, picture.height() - 1);
    const QColor ink = Pixels::ink(picture, ground);
    const Tokens &tokens = Tokens::of(window);
    const std::pair<QString, QColor> inks[] { { u"plain"_s, tokens.ink },
                                              { u"grey"_s, tokens.secondary },
                                              { u"red"_s, tokens.failure } };
    const auto isCloser = [&ink](const auto &one, const auto &other) {
        return Pixels::distance(ink, one.second) < Pixels::distance(ink, other.second);
    };
    const auto &[name, colour] = *std::min_element(std::begin(inks), std::end(inks), isCloser);
    // The thinnest letters do not reach their full colour.
    return Pixels::distance(ink, colour) < 40 ? name : u"%1 on %2"_s.arg(ink.name(), ground.name());
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
        for (const Appearance &appearance : { Look::light(), Look::dark() }) {
            const Look::Desktop desktop(appearance);
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
