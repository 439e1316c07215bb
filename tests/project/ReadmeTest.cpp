#include "Readme.h"
#include "TestHome.h"

#include <QTest>

#include <filesystem>

#include <sys/stat.h>

class ReadmeTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theNameBeginsWithReadmeInAnyLetterCase_data();
    void theNameBeginsWithReadmeInAnyLetterCase();
    void aNameThatOnlyHoldsTheWordIsNoReadme();
    void ofSeveralTheFirstInListingOrderIsTaken();
    void aFolderWithTheNameGivesTheEmptyText();
    void aFolderThatCannotBeListedOrIsEmptyGivesTheEmptyText();
    void aReadmeThatIsNotUtf8GivesTheEmptyText();
    void aPipeWithTheNameDoesNotBlock();
    void aLinkToAFileIsRead();
    void aReadmeInASubfolderIsNotTaken();

    void headingAndSentenceAreJoinedByADash();
    void theBlurbIsMadeOfHeadingAndParagraph_data();
    void theBlurbIsMadeOfHeadingAndParagraph();
};

namespace {

const QString sentence = QStringLiteral("one two three four five six seven");

}

void ReadmeTest::theNameBeginsWithReadmeInAnyLetterCase_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name :
         { "README.md", "readme.txt", "ReadMe", "README.rst", "README_de.md", "readme-first", "READMEMORE" })
        QTest::newRow(name) << QString::fromLatin1(name);
}

void ReadmeTest::theNameBeginsWithReadmeInAnyLetterCase()
{
    QFETCH(QString, name);
    const TestHome home;
    home.write(name, "hello");
    QCOMPARE(readmeText(home.path()), QByteArray("hello"));
}

void ReadmeTest::aNameThatOnlyHoldsTheWordIsNoReadme()
{
    const TestHome home;
    home.write(QStringLiteral("my-readme.md"), "hello");
    home.write(QStringLiteral(".readme.md"), "hello");
    home.write(QStringLiteral("READ.me"), "hello");
    QCOMPARE(readmeText(home.path()), QByteArray());
}

void ReadmeTest::ofSeveralTheFirstInListingOrderIsTaken()
{
    const TestHome home;
    for (int number = 0; number < 30; ++number) {
        const QString name = QStringLiteral("readme-%1.md").arg(number * 7919 % 1000);
        home.write(name, name.toUtf8());
    }
    const std::filesystem::path folder = QFile::encodeName(home.path()).toStdString();
    const std::string first = std::filesystem::directory_iterator(folder)->path().filename().string();
    QCOMPARE(readmeText(home.path()), QByteArray::fromStdString(first));
}

void ReadmeTest::aFolderWithTheNameGivesTheEmptyText()
{
    const TestHome home;
    home.write(QStringLiteral("readme/index.md"), "hello");
    QCOMPARE(readmeText(home.path()), QByteArray());
}

void ReadmeTest::aFolderThatCannotBeListedOrIsEmptyGivesTheEmptyText()
{
    const TestHome home;
    QCOMPARE(readmeText(home.path()), QByteArray());
    QCOMPARE(readmeText(home.filePath(QStringLiteral("missing"))), QByteArray());
    QCOMPARE(readmeText(home.write(QStringLiteral("file"), "")), QByteArray());
}

void ReadmeTest::aReadmeThatIsNotUtf8GivesTheEmptyText()
{
    const TestHome home;
    home.write(QStringLiteral("README.md"), "# Sch\xf6nes Spiel\n");
    QCOMPARE(readmeText(home.path()), QByteArray());
}

void ReadmeTest::aPipeWithTheNameDoesNotBlock()
{
    const TestHome home;
    QCOMPARE(::mkfifo(QFile::encodeName(home.filePath(QStringLiteral("README"))).constData(), 0600), 0);
    QCOMPARE(readmeText(home.path()), QByteArray());
}

void ReadmeTest::aLinkToAFileIsRead()
{
    const TestHome home;
    home.write(QStringLiteral("docs/intro.md"), "hello");
    QVERIFY(QFile::link(QStringLiteral("docs/intro.md"), home.filePath(QStringLiteral("README.md"))));
    QCOMPARE(readmeText(home.path()), QByteArray("hello"));
}

void ReadmeTest::aReadmeInASubfolderIsNotTaken()
{
    const TestHome home;
    home.write(QStringLiteral("docs/README.md"), "hello");
    QCOMPARE(readmeText(home.path()), QByteArray());
}

void ReadmeTest::headingAndSentenceAreJoinedByADash()
{
    const QString twelve = QStringLiteral("This is a game about coins in which you jump a lot.");
    QCOMPARE(twelve.split(u' ').size(), 12);
    QCOMPARE(blurb("# My Game\n![a picture](a.png)\n" + twelve.toUtf8() + "\n", QStringLiteral("Name")),
             QStringLiteral("My Game \u2014 ") + twelve);
}

void ReadmeTest::theBlurbIsMadeOfHeadingAndParagraph_data()
{
    QTest::addColumn<QString>("readme");
    QTest::addColumn<QString>("expected");
    const QString joined = QStringLiteral("Game \u2014 ") + sentence;
    QTest::newRow("nothing") << QString() << QStringLiteral("Name");
    QTest::newRow("only blank lines") << QStringLiteral("\n \t\n\r\n") << QStringLiteral("Name");
    QTest::newRow("short lines only, with headings")
        << QStringLiteral("# First\nshort\n## Second\nalso short\n") << QStringLiteral("First");
    QTest::newRow("no headings and no seven words")
        << QStringLiteral("one two three four five six\n") << QStringLiteral("Name");
    QTest::newRow("seven words alone") << sentence << sentence;
    QTest::newRow("a heading after the paragraph") << sentence + QStringLiteral("\n\n## Game\n") << joined;
    QTest::newRow("the first of two paragraphs")
        << QStringLiteral("# Game\n%1\nanother line with quite a few more words in it").arg(sentence)
        << joined;
    QTest::newRow("a paragraph of several lines gives its first long line")
        << QStringLiteral("# Game\nshort start\n%1\nand more").arg(sentence) << joined;
    QTest::newRow("inline markup is skipped")
        << QStringLiteral("<p align=\"center\"> a b c d e f g h i j\n# Game\n%1").arg(sentence) << joined;
    QTest::newRow("an image is skipped however long")
        << QStringLiteral("![a b c d e f g h](x.png)\n# Game\n%1").arg(sentence) << joined;
    QTest::newRow("an image that is a link is a line like any other")
        << QStringLiteral("[![a b c d e f g](x)](y)") << QStringLiteral("[![a b c d e f g](x)](y)");
    QTest::newRow("words are cut at spaces, several of them cut once")
        << QStringLiteral("one  two   three four five six") << QStringLiteral("Name");
    QTest::newRow("a tab inside does not cut")
        << QStringLiteral("one\ttwo three four five six seven") << QStringLiteral("Name");
    QTest::newRow("indented") << QStringLiteral("\t # Game \n   %1  \t").arg(sentence) << joined;
    QTest::newRow("signs are cleaned away")
        << QStringLiteral("## **Game** ##\n__one__ **two** `three` four# five six seven") << joined;
    QTest::newRow("signs do not count as words")
        << QStringLiteral("** one two three four five six") << QStringLiteral("Name");
    QTest::newRow("a heading of signs only is passed over")
        << QStringLiteral("###\n# `**`\n# Game\n%1").arg(sentence) << joined;
    QTest::newRow("a heading needs no blank") << QStringLiteral("#Game\n%1").arg(sentence) << joined;
    QTest::newRow("a heading is never the paragraph") << QStringLiteral("# %1").arg(sentence) << sentence;
    QTest::newRow("links stay") << QStringLiteral("A [link](there) and *one* _two_ three four")
                                << QStringLiteral("A [link](there) and *one* _two_ three four");
    QTest::newRow("underlined headings of other markup are lines")
        << QStringLiteral("Game\n====\n\n%1\n").arg(sentence) << sentence;
    QTest::newRow("a README in German")
        << QStringLiteral("# Münzlauf\r\n\r\nEin kleines Spiel über Münzen, Sprünge und Größe.\r\n")
        << QStringLiteral("Münzlauf \u2014 Ein kleines Spiel über Münzen, Sprünge und Größe.");
}

void ReadmeTest::theBlurbIsMadeOfHeadingAndParagraph()
{
    QFETCH(QString, readme);
    QFETCH(QString, expected);
    QCOMPARE(blurb(readme.toUtf8(), QStringLiteral("Name")), expected);
}

QTEST_GUILESS_MAIN(ReadmeTest)
#include "ReadmeTest.moc"
