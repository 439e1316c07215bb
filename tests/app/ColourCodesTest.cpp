#include "ColourCodes.h"

#include "Table.h"

using namespace Qt::StringLiterals;

namespace {

/// The colours of a text, as "begin-end:number" for each run.
QString runsOf(const ColourCodes::Text &text)
{
    QStringList result;
    for (const ColourCodes::Text::Run &run : text.runs)
        result << u"%1-%2:%3"_s.arg(run.begin).arg(run.end).arg(run.colour);
    return result.join(u' ');
}

/// Puts back what was left out, from the text that it was left out of.
QString restored(const ColourCodes::Text &text, const QString &exact)
{
    QString result;
    qsizetype at = 0;
    for (const ColourCodes::Text::Gap &gap : text.gaps) {
        result += text.shown.sliced(at, gap.at - at);
        result += exact.sliced(result.size(), gap.length);
        at = gap.at;
    }
    return result + text.shown.sliced(at);
}

}

class ColourCodesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void codesAreLeftOutAndColourWhatFollows_data()
    {
        const auto row = table<QString, QString, QString>("exact", "shown", "runs");
        row("no code", u"plain"_s, u"plain"_s, {});
        row("nothing", {}, {}, {});
        row("red and back", u"a \u001b[31mred\u001b[0m end"_s, u"a red end"_s, u"2-5:1"_s);
        row("bright and bold", u"\u001b[1;91mE\u001b[0;93mW\u001b[39m."_s, u"EW."_s, u"0-1:9 1-2:11"_s);
        row("an empty number resets", u"\u001b[32mon\u001b[moff"_s, u"onoff"_s, u"0-2:2"_s);
        row("the same colour again", u"\u001b[32mon\u001b[32mon"_s, u"onon"_s, u"0-4:2"_s);
        row("without an end", u"\u001b[36mto the end"_s, u"to the end"_s, u"0-10:6"_s);
        row("bold alone", u"\u001b[1mGodot\u001b[22m"_s, u"Godot"_s, {});
        row("one of 256", u"\u001b[38;5;208mx"_s, u"x"_s, u"0-1:208"_s);
        row("red, green and blue", u"\u001b[38;2;255;0;0mx"_s, u"x"_s, u"0-1:196"_s);
        row("with colons", u"\u001b[38:5:208mx"_s, u"x"_s, u"0-1:208"_s);
        row("a ground has no effect", u"\u001b[41;48;5;31;48;2;31;32;33mx"_s, u"x"_s, {});
        row("other codes for terminals", u"\u001b[2K\u001b[?25la\u001b[10;5Hb\u001b[ qc"_s, u"abc"_s, {});
        row("numbers beyond all limits", u"\u001b[99999999999999999999;38;5;99999999999mx"_s, u"x"_s,
            u"0-1:255"_s);
        row("a colour that is cut short", u"\u001b[38;5mx\u001b[38mx\u001b[38;2;255mx"_s, u"xxx"_s,
            u"0-1:0 1-2:16 2-3:196"_s);
        row("unfinished at the end", u"a\u001b[3"_s, u"a"_s, {});
        row("unfinished at once", u"a\u001b["_s, u"a"_s, {});
        row("only the escape", u"a\u001b"_s, u"a"_s, {});
        row("many escapes", u"\u001b\u001b\u001b[31\u001b[32mx"_s, u"x"_s, u"0-1:2"_s);
        row("malformed", u"\u001b[31\u00e4\u001b[;\tb"_s, u"\u00e4\tb"_s, {});
        row("another kind of code", u"\u001b]0;title\a\u001b(B"_s, u"]0;title\a(B"_s, {});
        row("as long as a code can be", u"\u001b["_s + u"1;"_s.repeated(32) + u"mx"_s, u"x"_s, {});
        row("too long", u"\u001b["_s + u"1;"_s.repeated(33) + u"mx"_s,
            u"["_s + u"1;"_s.repeated(33) + u"mx"_s, {});
    }

    void codesAreLeftOutAndColourWhatFollows()
    {
        QFETCH(const QString, exact);
        int colour = ColourCodes::plain;
        const ColourCodes::Text text = ColourCodes::read(exact, colour);
        QTEST(text.shown, "shown");
        QTEST(runsOf(text), "runs");
        QCOMPARE(restored(text, exact), exact);
    }

    void aTextGoesOnInTheColourOfTheOneBefore()
    {
        int colour = ColourCodes::plain;
        (void)ColourCodes::read(u"\u001b[31mred"_s, colour);
        QCOMPARE(colour, 1);
        QCOMPARE(runsOf(ColourCodes::read(u"still\u001b[0m not"_s, colour)), u"0-5:1"_s);
        QCOMPARE(colour, ColourCodes::plain);
    }

    void everyNumberIsAColour()
    {
        for (int number = -1000; number < 1000; ++number)
            QVERIFY(ColourCodes::colour(number).isValid());
        QCOMPARE(ColourCodes::colour(196), QColor(255, 0, 0));
        QCOMPARE(ColourCodes::colour(231), QColor(255, 255, 255));
        QCOMPARE(ColourCodes::colour(232), QColor(8, 8, 8));
        QCOMPARE(ColourCodes::colour(255), QColor(238, 238, 238));
    }
};

QTEST_MAIN(ColourCodesTest)
#include "ColourCodesTest.moc"
