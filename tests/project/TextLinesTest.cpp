#include "TextLines.h"

#include "Rows.h"
#include "TextFile.h"

using namespace Qt::StringLiterals;

class TextLinesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyNewlineCharacterEndsALine()
    {
        QCOMPARE(linesOf("a\nb\vc\fd\re\u0085f\u2028g\u2029h"), u"a b c d e f g h"_s.split(u' '));
        QCOMPARE(linesOf("a\u001cb\u00a0c\u200bd\u0086e\u2027f\u202ag").size(), 1);
        // Nor does half a newline character at the end of the text, although its other half follows in
        // memory.
        for (const char *text : { "a\xc2\x85", "a\xe2\x80\xa8" }) {
            for (qsizetype size = 2; size < QByteArrayView(text).size(); ++size)
                QVERIFY(linesOf({ text, size }).first().size() > 1);
        }
    }

    void onlyNewlineCharactersEndALine()
    {
        // Every character, compared with what TextFile::lines() does.
        QString text;
        for (char16_t code = 1; code != 0; ++code) {
            if (!QChar::isSurrogate(code))
                text += u'x' + QChar(code);
        }
        QString expected;
        for (const QString &line : TextFile::lines(text))
            expected += TextLines::trimmed(QStringView(line));
        // Long lines are cut, so the text is read in parts.
        QString found;
        for (qsizetype start = 0; start < text.size(); start += 4096)
            found += linesOf(text.mid(start, 4096).toUtf8()).join(QString());
        QCOMPARE(found, expected);
    }

    void emptyLinesAreLeftOut()
    {
        QCOMPARE(linesOf({}), QStringList());
        QCOMPARE(linesOf("\n \t\r\n"), QStringList());
        QCOMPARE(linesOf("\r\na\r\n\n \n\tb "), (QStringList { u"a"_s, u"b"_s }));
    }

    void aLongLineIsCutBetweenTwoCharacters_data()
    {
        const auto row = rows([](const QByteArray &line, qsizetype size) {
            // Leading blanks do not count towards the length.
            const QStringList lines = linesOf("a\n" + QByteArray(100'000, ' ') + line + "\nb");
            QCOMPARE(lines, (QStringList { u"a"_s, QString::fromUtf8(line.first(size)), u"b"_s }));
        });
        const qsizetype most = TextLines::longestLine;
        row("just short enough", QByteArray(most, 'x'), most);
        row("one byte more", QByteArray(most + 1, 'x'), most);
        row("two bytes each", QByteArray("\xc3\xa4").repeated(most), most);
        row("three bytes each", QByteArray("\xe6\xb8\xb8").repeated(most), most / 3 * 3);
        row("four bytes each, and one", "x" + QByteArray("\xf0\x9f\x8e\xae").repeated(most), most - 3);
        row("a blank at the cut", QByteArray(most - 1, 'x') + " xx", most - 1);
    }
    void aLongLineIsCutBetweenTwoCharacters() { runRow(); }

    void theWalkEndsOnRequest()
    {
        int seen = 0;
        TextLines::forEachUntil("a\nb\nc", [&seen](QByteArrayView line) {
            ++seen;
            return line != "b";
        });
        QCOMPARE(seen, 2);
    }

    void onlySpacesAndTabsAreTrimmed()
    {
        QCOMPARE(TextLines::trimmed(u" \t a b\t "), u"a b");
        QCOMPARE(TextLines::trimmed(u" \t "), u"");
        QCOMPARE(TextLines::trimmed(u"\u00a0a\u00a0"), u"\u00a0a\u00a0");
        QCOMPARE(TextLines::trimmed(u" \r"), u"\r");
        QCOMPARE(TextLines::trimmed(u"\u3000x"), u"\u3000x");
        QCOMPARE(TextLines::trimmed(QByteArrayView(" \t a b\t ")), QByteArrayView("a b"));
        QCOMPARE(TextLines::trimmed(QByteArrayView(" \t ")), QByteArrayView(""));
    }

    void aByteOrderMarkWithinTheTextStays()
    {
        QCOMPARE(TextLines::decoded("\xef\xbb\xbfname"), u"\ufeffname"_s);
        QCOMPARE(TextLines::decoded("\xef\xbb\xbf"), u"\ufeff"_s);
    }

    void markdownSignsAreRemovedOneKindAfterTheOther_data()
    {
        const auto row = rows([](const QByteArray &line, const QString &clean) {
            QCOMPARE(TextLines::withoutMarkdown(line), clean);
        });
        row("plain", "Jump", u"Jump"_s);
        row("bold", "**Space**: jump", u"Space: jump"_s);
        row("bold with underscores", "__Space__: jump", u"Space: jump"_s);
        row("code", "`W` or `Up`", u"W or Up"_s);
        row("heading", "## My Game ##", u"My Game"_s);
        row("single signs stay", "*a* _b_ [c](d)", u"*a* _b_ [c](d)"_s);
        row("an odd asterisk stays", "*****", u"*"_s);
        row("an odd underscore stays", "___x", u"_x"_s);
        row("nothing is left", "** __ ` # \t", {});
        row("inner blanks stay", "`a`  `b`", u"a  b"_s);
        row("trimmed last", "# ** \t", {});
        row("asterisks that are joined by removing backticks stay", "*`*a", u"**a"_s);
        row("underscores that are joined by removing asterisks are removed", "_**_a", u"a"_s);
        row("a byte order mark stays", "\xef\xbb\xbfname", u"\ufeffname"_s);
        row("a byte order mark behind a sign stays", "# \xef\xbb\xbfname", u"\ufeffname"_s);
    }
    void markdownSignsAreRemovedOneKindAfterTheOther() { runRow(); }

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

QTEST_GUILESS_MAIN(TextLinesTest)
#include "TextLinesTest.moc"
