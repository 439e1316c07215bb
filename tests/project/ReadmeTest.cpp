#include "Readme.h"

#include "GameFolder.h"
#include "Rows.h"

using namespace Qt::StringLiterals;

class ReadmeTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theNameBeginsWithReadmeInAnyLetterCase_data()
    {
        const auto row = rows([](const QString &name, bool isReadme) {
            const GameFolder game;
            game.write(name, "hello");
            QCOMPARE(readmeText(game.path()), QByteArray(isReadme ? "hello" : ""));
        });
        for (const char *name : { "README.md", "readme.txt", "ReadMe", "README.rst", "README_de.md",
                                  "readme-first", "READMEMORE" })
            row(name, QString::fromLatin1(name), true);
        for (const char *name :
             { "my-readme.md", ".readme.md", "READ.me", "docs/README.md", "readme/a file in a folder" })
            row(("not " + QByteArray(name)).constData(), QString::fromLatin1(name), false);
    }
    void theNameBeginsWithReadmeInAnyLetterCase() { runRow(); }

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

    void aLinkToAFileIsRead()
    {
        const GameFolder game { { "docs/intro.md", "hello" } };
        game.link("README.md", u"docs/intro.md"_s);
        QCOMPARE(readmeText(game.path()), QByteArray("hello"));
    }

    void theBlurbIsMadeOfHeadingAndParagraph_data()
    {
        const QByteArray sentence = "one two three four five six seven";
        const auto row = rows([sentence](const QByteArray &readme, const QByteArray &expected) {
            const QByteArray whole = QByteArray(readme).replace("SENTENCE", sentence);
            QCOMPARE(blurb(whole, u"Name"_s), QString::fromUtf8(expected));
        });
        const QByteArray joined = "Game \u2014 " + sentence;
        const QByteArray fallback = "Name";
        row("nothing", "", fallback);
        row("only blank lines", "\n \t\n\r\n", fallback);
        row("short lines only, with headings", "# First\nshort\n## Second\nalso short\n", "First");
        row("no headings and no seven words", "one two three four five six\n", fallback);
        row("seven words alone", "SENTENCE", sentence);
        row("a heading, a picture and a sentence",
            "# My Game\n![a picture](a.png)\nThis is a game about coins in which you jump a lot.\n",
            "My Game \u2014 This is a game about coins in which you jump a lot.");
        row("a heading after the paragraph", "SENTENCE\n\n## Game\n", joined);
        row("the first of two paragraphs", "# Game\nSENTENCE\nanother line with quite a few more words in it",
            joined);
        row("the first long line of a paragraph", "# Game\nshort start\nSENTENCE\nand more", joined);
        row("inline markup is skipped", "<p align=\"center\"> a b c d e f g h i j\n# Game\nSENTENCE", joined);
        row("an image is skipped however long", "![a b c d e f g h](x.png)\n# Game\nSENTENCE", joined);
        row("an image that is a link is a line", "[![a b c d e f g](x)](y)", "[![a b c d e f g](x)](y)");
        row("several spaces between words count once", "one  two   three four five six", fallback);
        row("a tab inside does not end a word", "one\ttwo three four five six seven", fallback);
        row("indented", "\t # Game \n   SENTENCE  \t", joined);
        row("signs are cleaned away", "## **Game** ##\n__one__ **two** `three` four# five six seven", joined);
        row("signs do not count as words", "** one two three four five six", fallback);
        row("a heading of signs only is passed over", "###\n# `**`\n# Game\nSENTENCE", joined);
        row("a heading needs no blank", "#Game\nSENTENCE", joined);
        row("a heading is never the paragraph", "# SENTENCE", sentence);
        row("links stay", "A [link](there) and *one* _two_ three four",
            "A [link](there) and *one* _two_ three four");
        row("underlined headings of other markup are lines", "Game\n====\n\nSENTENCE\n", sentence);
        row("a README in German", "# Münzlauf\r\n\r\nEin kleines Spiel über Münzen, Sprünge und Größe.\r\n",
            "Münzlauf \u2014 Ein kleines Spiel über Münzen, Sprünge und Größe.");
    }
    void theBlurbIsMadeOfHeadingAndParagraph() { runRow(); }
};

QTEST_GUILESS_MAIN(ReadmeTest)
#include "ReadmeTest.moc"
