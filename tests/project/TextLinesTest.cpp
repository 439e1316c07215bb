#include "TextLines.h"

#include <QTest>

class TextLinesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyNewlineCharacterEndsALine();
    void emptyLinesAreSeenAndTheEmptyTextIsOneOfThem();
    void theWalkEndsWhenItIsToldTo();
    void onlySpacesAndTabsAreTrimmed();
    void markdownSignsAreRemovedOneKindAfterTheOther_data();
    void markdownSignsAreRemovedOneKindAfterTheOther();
    void whatTheRemovalJoinsIsNotRemovedAgain();

private:
    static QStringList linesOf(const QString &text)
    {
        QStringList lines;
        TextLines::forEachUntil(text, [&lines](QStringView line) {
            lines.append(line.toString());
            return true;
        });
        return lines;
    }
};

void TextLinesTest::everyNewlineCharacterEndsALine()
{
    QCOMPARE(linesOf(QStringLiteral("a\nb\vc\fd\re\u0085f\u2028g\u2029h")),
             QStringLiteral("a b c d e f g h").split(u' '));
    QCOMPARE(linesOf(QStringLiteral("a\u001cb\u00a0c\u200bd")).size(), 1);
}

void TextLinesTest::emptyLinesAreSeenAndTheEmptyTextIsOneOfThem()
{
    QCOMPARE(linesOf(QString()), QStringList { QString() });
    QCOMPARE(linesOf(QStringLiteral("a\r\nb\n")),
             (QStringList { QStringLiteral("a"), QString(), QStringLiteral("b"), QString() }));
    for (const QString &text : { QStringLiteral("\n\n"), QStringLiteral("x\r\n\r\ny"), QStringLiteral("z") })
        QCOMPARE(linesOf(text), TextFile::lines(text));
}

void TextLinesTest::theWalkEndsWhenItIsToldTo()
{
    int seen = 0;
    TextLines::forEachUntil(u"a\nb\nc", [&seen](QStringView line) {
        ++seen;
        return line != u"b";
    });
    QCOMPARE(seen, 2);
}

void TextLinesTest::onlySpacesAndTabsAreTrimmed()
{
    QCOMPARE(TextLines::trimmed(u" \t a b\t "), u"a b");
    QCOMPARE(TextLines::trimmed(u" \t "), u"");
    QCOMPARE(TextLines::trimmed(u"\u00a0a\u00a0"), u"\u00a0a\u00a0");
    for (const QString &text : { QStringLiteral("\t\tx "), QStringLiteral("\u3000x"), QString() })
        QCOMPARE(TextLines::trimmed(text), TextFile::trimmed(text));
}

void TextLinesTest::markdownSignsAreRemovedOneKindAfterTheOther_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("clean");
    QTest::newRow("plain") << QStringLiteral("Jump") << QStringLiteral("Jump");
    QTest::newRow("bold") << QStringLiteral("**Space**: jump") << QStringLiteral("Space: jump");
    QTest::newRow("bold with underscores")
        << QStringLiteral("__Space__: jump") << QStringLiteral("Space: jump");
    QTest::newRow("code") << QStringLiteral("`W` or `Up`") << QStringLiteral("W or Up");
    QTest::newRow("heading") << QStringLiteral("## My Game ##") << QStringLiteral("My Game");
    QTest::newRow("single signs stay")
        << QStringLiteral("*a* _b_ [c](d)") << QStringLiteral("*a* _b_ [c](d)");
    QTest::newRow("an odd asterisk stays") << QStringLiteral("*****") << QStringLiteral("*");
    QTest::newRow("an odd underscore stays") << QStringLiteral("___x") << QStringLiteral("_x");
    QTest::newRow("nothing is left") << QStringLiteral("** __ ` # \t") << QString();
    QTest::newRow("inner blanks stay") << QStringLiteral("`a`  `b`") << QStringLiteral("a  b");
    QTest::newRow("trimmed last") << QStringLiteral("# ** \t") << QString();
}

void TextLinesTest::markdownSignsAreRemovedOneKindAfterTheOther()
{
    QFETCH(QString, line);
    QFETCH(QString, clean);
    QCOMPARE(TextLines::withoutMarkdown(line), clean);
}

void TextLinesTest::whatTheRemovalJoinsIsNotRemovedAgain()
{
    // The backtick goes after the asterisks have been looked for.
    QCOMPARE(TextLines::withoutMarkdown(u"*`*a"), QStringLiteral("**a"));
    // But the underscores are looked for after the asterisks.
    QCOMPARE(TextLines::withoutMarkdown(u"_**_a"), QStringLiteral("a"));
}

QTEST_GUILESS_MAIN(TextLinesTest)
#include "TextLinesTest.moc"
