#include "TextLines.h"

#include "TextFile.h"

#include <QTest>

class TextLinesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyNewlineCharacterEndsALine();
    void onlyNewlineCharactersEndALine();
    void emptyLinesAreLeftOut();
    void aLongLineIsCutBetweenTwoCharacters_data();
    void aLongLineIsCutBetweenTwoCharacters();
    void theWalkEndsWhenItIsToldTo();
    void onlySpacesAndTabsAreTrimmed();
    void aByteOrderMarkWithinTheTextStays();
    void markdownSignsAreRemovedOneKindAfterTheOther_data();
    void markdownSignsAreRemovedOneKindAfterTheOther();
    void whatTheRemovalJoinsIsNotRemovedAgain();

private:
    static QStringList linesOf(QByteArrayView text)
    {
        QStringList lines;
        TextLines::forEachUntil(text, [&lines](QByteArrayView line) {
            lines.append(QString::fromUtf8(line));
            return true;
        });
        return lines;
    }
};

void TextLinesTest::everyNewlineCharacterEndsALine()
{
    QCOMPARE(linesOf("a\nb\vc\fd\re\u0085f\u2028g\u2029h"), QStringLiteral("a b c d e f g h").split(u' '));
    QCOMPARE(linesOf("a\u001cb\u00a0c\u200bd\u0086e\u2027f\u202ag").size(), 1);
    // Nor does half a newline character at the end of the text, although its other half follows in memory.
    for (const char *text : { "a\xc2\x85", "a\xe2\x80\xa8" }) {
        for (qsizetype size = 2; size < QByteArrayView(text).size(); ++size)
            QVERIFY(linesOf({ text, size }).first().size() > 1);
    }
}

void TextLinesTest::onlyNewlineCharactersEndALine()
{
    // Every character, compared with what TextFile::lines() does.
    QString text;
    for (char16_t code = 1; code != 0; ++code) {
        if (!QChar::isSurrogate(code))
            text += u'x' + QChar(code);
    }
    QStringList expected;
    for (const QString &line : TextFile::lines(text))
        expected.append(TextLines::trimmed(QStringView(line)).toString());
    expected.removeAll(QString());
    // Long lines are cut, so the text is read in parts.
    QStringList found;
    for (qsizetype start = 0; start < text.size(); start += 4096)
        found += linesOf(text.mid(start, 4096).toUtf8());
    QCOMPARE(found.join(QString()), expected.join(QString()));
}

void TextLinesTest::theWalkEndsWhenItIsToldTo()
{
    int seen = 0;
    TextLines::forEachUntil("a\nb\nc", [&seen](QByteArrayView line) {
        ++seen;
        return line != "b";
    });
    QCOMPARE(seen, 2);
}

void TextLinesTest::emptyLinesAreLeftOut()
{
    QCOMPARE(linesOf({}), QStringList());
    QCOMPARE(linesOf("\n \t\r\n"), QStringList());
    QCOMPARE(linesOf("\r\na\r\n\n \n\tb "), (QStringList { QStringLiteral("a"), QStringLiteral("b") }));
}

void TextLinesTest::aLongLineIsCutBetweenTwoCharacters_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<qsizetype>("size");
    const qsizetype most = TextLines::longestLine;
    QTest::newRow("just short enough") << QByteArray(most, 'x') << most;
    QTest::newRow("one byte more") << QByteArray(most + 1, 'x') << most;
    QTest::newRow("two bytes each") << QByteArray("\xc3\xa4").repeated(most) << most;
    QTest::newRow("three bytes each") << QByteArray("\xe6\xb8\xb8").repeated(most) << most / 3 * 3;
    QTest::newRow("four bytes each, and one")
        << "x" + QByteArray("\xf0\x9f\x8e\xae").repeated(most) << most - 3;
    QTest::newRow("a blank at the cut") << QByteArray(most - 1, 'x') + " xx" << most - 1;
}

void TextLinesTest::aLongLineIsCutBetweenTwoCharacters()
{
    QFETCH(QByteArray, line);
    QFETCH(qsizetype, size);
    // Leading blanks do not count towards the length.
    const QByteArray text = "a\n" + QByteArray(100'000, ' ') + line + "\nb";
    const QStringList lines = linesOf(text);
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines[1].toUtf8(), line.first(size));
    QCOMPARE(lines[2], QStringLiteral("b"));
}

void TextLinesTest::onlySpacesAndTabsAreTrimmed()
{
    QCOMPARE(TextLines::trimmed(u" \t a b\t "), u"a b");
    QCOMPARE(TextLines::trimmed(u" \t "), u"");
    QCOMPARE(TextLines::trimmed(u"\u00a0a\u00a0"), u"\u00a0a\u00a0");
    QCOMPARE(TextLines::trimmed(u" \r"), u"\r");
    QCOMPARE(TextLines::trimmed(u"\u3000x"), u"\u3000x");
    QCOMPARE(TextLines::trimmed(QByteArrayView(" \t a b\t ")), QByteArrayView("a b"));
    QCOMPARE(TextLines::trimmed(QByteArrayView(" \t ")), QByteArrayView(""));
}

void TextLinesTest::aByteOrderMarkWithinTheTextStays()
{
    QCOMPARE(TextLines::decoded("\xef\xbb\xbfname"), QStringLiteral("\ufeffname"));
    QCOMPARE(TextLines::decoded("\xef\xbb\xbf"), QStringLiteral("\ufeff"));
    QCOMPARE(TextLines::withoutMarkdown("# \xef\xbb\xbfname"), QStringLiteral("\ufeffname"));
    QCOMPARE(TextLines::withoutMarkdown("\xef\xbb\xbfname"), QStringLiteral("\ufeffname"));
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
    QCOMPARE(TextLines::withoutMarkdown(line.toUtf8()), clean);
}

void TextLinesTest::whatTheRemovalJoinsIsNotRemovedAgain()
{
    // Backticks are removed after asterisks, so a pair of asterisks that this joins stays.
    QCOMPARE(TextLines::withoutMarkdown("*`*a"), QStringLiteral("**a"));
    // Underscores are also removed after asterisks, so a pair of underscores that this joins is removed.
    QCOMPARE(TextLines::withoutMarkdown("_**_a"), QStringLiteral("a"));
}

QTEST_GUILESS_MAIN(TextLinesTest)
#include "TextLinesTest.moc"
