#include "Readme.h"

#include "GameFolder.h"
#include "Table.h"

#include <QTest>

using namespace Qt::StringLiterals;

class ReadmeTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theNameBeginsWithReadmeInAnyLetterCase_data()
    {
        const auto row = table<QString, bool>("name", "isReadme");
        for (const char *name : { "README.md", "readme.txt", "ReadMe", "README.rst", "README_de.md",
                                  "readme-first", "READMEMORE" })
            row(name, QString::fromLatin1(name), true);
        for (const char *name :
             { "my-readme.md", ".readme.md", "READ.me", "docs/README.md", "readme/a file in a folder" })
            row(("not " + QByteArray(name)).constData(), QString::fromLatin1(name), false);
    }

    void theNameBeginsWithReadmeInAnyLetterCase()
    {
        QFETCH(QString, name);
        QFETCH(bool, isReadme);
        const GameFolder game;
        game.write(name, "hello");
        QCOMPARE(readmeText(game.path()), QByteArray(isReadme ? "hello" : ""));
    }

    void ofSeveralTheFirstInListingOrderIsTaken()
    {
        const GameFolder game;
        for (int number = 0; number < 30; ++number) {
            const QString name = u"readme-%1.md"_s.arg(number * 7919 % 1000);
            game.write(name, name.toUtf8());
        }
        QCOMPARE(readmeText(game.path()), game.listed().first().toUtf8());
    }

    void withoutAFolderThatHoldsOneTheTextIsEmpty()
    {
        const GameFolder game;
        QCOMPARE(readmeText(game.path()), QByteArray());
        QCOMPARE(readmeText(game.path("missing")), QByteArray());
        QCOMPARE(readmeText(game.write("file", "")), QByteArray());
    }

    void aReadmeThatIsNotUtf8CountsAsEmpty()
    {
        const GameFolder game { { "README.md", "# Sch\xf6nes Spiel\n" } };
        QCOMPARE(readmeText(game.path()), QByteArray());
    }

    void aPipeWithTheNameDoesNotBlock()
    {
        const GameFolder game;
        game.makePipe("README");
        QCOMPARE(readmeText(game.path()), QByteArray());
    }

    void aLinkToAFileIsRead()
    {
        const GameFolder game { { "docs/intro.md", "hello" } };
        game.link("README.md", u"docs/intro.md"_s);
        QCOMPARE(readmeText(game.path()), QByteArray("hello"));
    }

    void theBlurbIsMadeOfHeadingAndParagraph_data()
    {
        const auto row = table<QString, QString>("readme", "expected");
        const QString sentence = u"one two three four five six seven"_s;
        const QString joined = u"Game \u2014 one two three four five six seven"_s;
        const QString fallback = u"Name"_s;
        row("nothing", {}, fallback);
        row("only blank lines", u"\n \t\n\r\n"_s, fallback);
        row("short lines only, with headings", u"# First\nshort\n## Second\nalso short\n"_s, u"First"_s);
        row("no headings and no seven words", u"one two three four five six\n"_s, fallback);
        row("seven words alone", sentence, sentence);
        row("a heading, a picture and a sentence",
            u"# My Game\n![a picture](a.png)\nThis is a game about coins in which you jump a lot.\n"_s,
            u"My Game \u2014 This is a game about coins in which you jump a lot."_s);
        row("a heading after the paragraph", sentence + u"\n\n## Game\n"_s, joined);
        row("the first of two paragraphs",
            u"# Game\n%1\nanother line with quite a few more words in it"_s.arg(sentence), joined);
        row("the first long line of a paragraph", u"# Game\nshort start\n%1\nand more"_s.arg(sentence),
            joined);
        row("inline markup is skipped",
            u"<p align=\"center\"> a b c d e f g h i j\n# Game\n%1"_s.arg(sentence), joined);
        row("an image is skipped however long", u"![a b c d e f g h](x.png)\n# Game\n%1"_s.arg(sentence),
            joined);
        row("an image that is a link is a line like any other", u"[![a b c d e f g](x)](y)"_s,
            u"[![a b c d e f g](x)](y)"_s);
        row("several spaces between words count once", u"one  two   three four five six"_s, fallback);
        row("a tab inside does not end a word", u"one\ttwo three four five six seven"_s, fallback);
        row("indented", u"\t # Game \n   %1  \t"_s.arg(sentence), joined);
        row("signs are cleaned away", u"## **Game** ##\n__one__ **two** `three` four# five six seven"_s,
            joined);
        row("signs do not count as words", u"** one two three four five six"_s, fallback);
        row("a heading of signs only is passed over", u"###\n# `**`\n# Game\n%1"_s.arg(sentence), joined);
        row("a heading needs no blank", u"#Game\n%1"_s.arg(sentence), joined);
        row("a heading is never the paragraph", u"# "_s + sentence, sentence);
        row("links stay", u"A [link](there) and *one* _two_ three four"_s,
            u"A [link](there) and *one* _two_ three four"_s);
        row("underlined headings of other markup are lines", u"Game\n====\n\n%1\n"_s.arg(sentence), sentence);
        row("a README in German",
            u"# Münzlauf\r\n\r\nEin kleines Spiel über Münzen, Sprünge und Größe.\r\n"_s,
            u"Münzlauf \u2014 Ein kleines Spiel über Münzen, Sprünge und Größe."_s);
    }

    void theBlurbIsMadeOfHeadingAndParagraph()
    {
        QFETCH(QString, readme);
        QTEST(blurb(readme.toUtf8(), u"Name"_s), "expected");
    }
};

QTEST_GUILESS_MAIN(ReadmeTest)
#include "ReadmeTest.moc"
