#include "Tokens.h"
#include "Contrast.h"

#include "Table.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// What a colour has to differ by from what is behind it.
struct Least {
    double text = 4.5;
    double mark = 3;
    double edge = 1.3;
};

struct Accent {
    QString name;
    QColor colour;
};

/// The accent colours that desktops offer, and what a player may mix.
QList<Accent> accents()
{
    return { { u"none"_s, {} },
             { u"blue"_s, 0x3584e4 },
             { u"teal"_s, 0x2190a4 },
             { u"green"_s, 0x3a944a },
             { u"yellow"_s, 0xc88800 },
             { u"orange"_s, 0xed5b00 },
             { u"red"_s, 0xe62d42 },
             { u"pink"_s, 0xd56199 },
             { u"purple"_s, 0x9141ac },
             { u"slate"_s, 0x6f8396 },
             { u"black"_s, Qt::black },
             { u"white"_s, Qt::white },
             { u"pure yellow"_s, Qt::yellow },
             { u"pure blue"_s, Qt::blue },
             { u"pale"_s, 0xe8dff5 },
             { u"middle grey"_s, 0x808080 } };
}

/// The colour that a player sees, as a picture stores it.
QColor painted(const QColor &top, const QColor &bottom)
{
    return QColor::fromRgb(Contrast::over(top, bottom).rgb());
}

}

class TokensTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everythingStandsOutFromWhatIsBehindIt_data()
    {
        const auto row = table<Appearance, Least>("appearance", "least");
        for (const auto scheme : { Appearance::Scheme::Light, Appearance::Scheme::Dark }) {
            for (const auto contrast : { Appearance::Contrast::Normal, Appearance::Contrast::High }) {
                const bool isHigh = contrast == Appearance::Contrast::High;
                const Least least = isHigh ? Least { 7, 3, 3 } : Least();
                for (const auto &[name, colour] : accents()) {
                    const QString description = u"%1, %2 contrast, %3"_s.arg(
                        scheme == Appearance::Scheme::Dark ? u"dark"_s : u"light"_s,
                        isHigh ? u"high"_s : u"normal"_s, name);
                    row(description.toUtf8(), { .scheme = scheme, .contrast = contrast, .accent = colour },
                        least);
                }
            }
        }
    }

    void everythingStandsOutFromWhatIsBehindIt()
    {
        QFETCH(const Appearance, appearance);
        QFETCH(const Least, least);
        const Tokens tokens = Tokens::of(appearance);

        const QList<QColor> grounds { tokens.window, tokens.sheet,
                                      painted(tokens.failurePanel, tokens.window) };
        for (const QColor &ground : grounds) {
            QList<QColor> behindText { ground };
            for (const QColor &surface :
                 { tokens.control, tokens.controlHover, tokens.controlPressed, tokens.well })
                behindText.append(painted(surface, ground));
            for (const QColor &behind : behindText) {
                for (const QColor &text : { tokens.ink, tokens.failure })
                    QCOMPARE_GE(Contrast::between(text, behind), least.text);
                QCOMPARE_GE(Contrast::between(tokens.redDot, behind), least.mark);
            }
            for (const QColor &text : { tokens.secondary, tokens.link })
                QCOMPARE_GE(Contrast::between(text, ground), least.text);
            // The focus ring, around a segment too.
            for (const QColor &behind : { ground, painted(tokens.segmentTrack, ground) })
                QCOMPARE_GE(Contrast::between(tokens.mark, behind), least.mark);
            // An entry that is not chosen, and the one that is.
            QCOMPARE_GE(Contrast::between(tokens.ink, painted(tokens.segmentTrack, ground)), least.text);
            QCOMPARE_GE(Contrast::between(tokens.accent, painted(tokens.segmentTrack, ground)), least.mark);
            QCOMPARE_GE(Contrast::between(tokens.accent, ground), least.mark);
            for (const QColor &dot : { tokens.greyDot, tokens.orangeDot, tokens.greenDot, tokens.redDot })
                QCOMPARE_GE(Contrast::between(dot, ground), least.mark);
            for (const QColor &behind : { ground, painted(tokens.well, ground) }) {
                for (const QColor &thumb : { tokens.scrollThumb, tokens.scrollThumbHover })
                    QCOMPARE_GE(Contrast::between(painted(thumb, behind), behind), least.mark);
            }

            const auto edgeStandsOut = [&](const QColor &edge, const QColor &fill) {
                return Contrast::between(painted(edge, painted(fill, ground)), ground) >= least.edge;
            };
            QVERIFY(edgeStandsOut(tokens.controlEdge, tokens.control));
            QVERIFY(edgeStandsOut(tokens.segmentEdge, tokens.segmentTrack));
            QVERIFY(edgeStandsOut(tokens.wellEdge, tokens.well));
            QVERIFY(edgeStandsOut(tokens.divider, Qt::transparent));
        }
        QCOMPARE_GE(
            Contrast::between(painted(tokens.failureEdge, painted(tokens.failurePanel, tokens.window)),
                              tokens.window),
            least.edge);
        QCOMPARE_GE(Contrast::between(tokens.mark, painted(tokens.barTrack, tokens.window)), least.mark);
        for (const QColor &fill : { tokens.accent, tokens.accentHover, tokens.accentPressed })
            QCOMPARE_GE(Contrast::between(tokens.onAccent, fill), least.text);
    }

    void anAccentColourThatIsLegibleIsUsedAsItIs()
    {
        constexpr QRgb purple = 0x9141ac;
        QCOMPARE(Tokens::of({ .accent = purple }).accent, QColor(purple));
        QCOMPARE(Tokens::of({ .accent = purple }).mark, QColor(purple));
    }

    void theLaunchersOwnAccentColoursCarryWhite()
    {
        for (const auto scheme : { Appearance::Scheme::Light, Appearance::Scheme::Dark })
            QCOMPARE(Tokens::of({ .scheme = scheme }).onAccent, QColor(Qt::white));
    }

    void theColoursOfTheWindowAreTheLaunchersOwn()
    {
        const Tokens light = Tokens::of({ .scheme = Appearance::Scheme::Light });
        QCOMPARE(light.window, QColor(0xf5f6f8));
        QCOMPARE(light.ink, QColor(0x16181d));
        QCOMPARE(light.accent, QColor(0x2a6fdb));
        const Tokens dark = Tokens::of({ .scheme = Appearance::Scheme::Dark });
        QCOMPARE(dark.window, QColor(0x202227));
        QCOMPARE(dark.ink, QColor(0xeceef2));
        QCOMPARE_LT(Contrast::luminance(dark.window), Contrast::luminance(dark.sheet));
    }

    void theWellIsTheSameInBothSchemes()
    {
        QCOMPARE(Tokens::of({ .scheme = Appearance::Scheme::Light }).well,
                 Tokens::of({ .scheme = Appearance::Scheme::Dark }).well);
    }
};

QTEST_GUILESS_MAIN(TokensTest)
#include "TokensTest.moc"
