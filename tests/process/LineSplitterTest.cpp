#include "LineSplitter.h"

#include <QRandomGenerator>
#include <QTest>

#include <memory>

class LineSplitterTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();

    void aCarriageReturnWithALineFeedEndsOneLine();
    void aLoneCarriageReturnEndsALine();
    void aLastLineWithoutABreakComesFromFlush();
    void lineFeedsAloneGiveNoLines();
    void aLineSplitAcrossTwoReadsIsEmittedOnce();
    void aBreakSplitAcrossTwoReadsGivesNoEmptyLine();
    void anInvalidByteBecomesAReplacementCharacter();
    void aCharacterSplitAcrossTwoReadsIsWhole();
    void spacesTabsAndTerminalSequencesStay();
    void otherLineSeparatorsStayInTheLine();
    void aByteOrderMarkAtALinesStartStays();
    void aNulByteStays();
    void noBytesGiveNoLine();
    void flushingTwiceEmitsOnce();
    void aFlushedSplitterStartsAnew();
    void linesComeInOrder();
    void anEndlessLineComesInPieces();
    void aPieceNeverCutsACharacter();
    void aLineOfExactlyTheLongestLengthIsOneLine_data();
    void aLineOfExactlyTheLongestLengthIsOneLine();
    void aLineThatReachesTheLongestLengthDoesNotWaitForMore();
    void anOverlongLineIsCutTheSameHoweverItArrives();
    void theHandlerMayFeedTheSplitterAgain();
    void chunksOfAnySizeGiveTheSameLines();

private:
    void feed(const QByteArray &bytes) { m_splitter->feed(bytes); }

    QStringList m_lines;
    std::unique_ptr<LineSplitter> m_splitter;
};

void LineSplitterTest::init()
{
    m_lines.clear();
    m_splitter = std::make_unique<LineSplitter>([this](const QString &line) { m_lines.append(line); });
}

void LineSplitterTest::aCarriageReturnWithALineFeedEndsOneLine()
{
    feed("a\r\nb\n");
    QCOMPARE(m_lines, QStringList({ QStringLiteral("a"), QStringLiteral("b") }));
}

void LineSplitterTest::aLoneCarriageReturnEndsALine()
{
    feed("10%\r20%\r");
    QCOMPARE(m_lines, QStringList({ QStringLiteral("10%"), QStringLiteral("20%") }));
}

void LineSplitterTest::aLastLineWithoutABreakComesFromFlush()
{
    feed("x");
    QVERIFY(m_lines.isEmpty());
    m_splitter->flush();
    QCOMPARE(m_lines, QStringList(QStringLiteral("x")));
}

void LineSplitterTest::lineFeedsAloneGiveNoLines()
{
    feed("\n\n\n");
    m_splitter->flush();
    QVERIFY(m_lines.isEmpty());
}

void LineSplitterTest::aLineSplitAcrossTwoReadsIsEmittedOnce()
{
    feed("ab");
    feed("c\n");
    QCOMPARE(m_lines, QStringList(QStringLiteral("abc")));
}

void LineSplitterTest::aBreakSplitAcrossTwoReadsGivesNoEmptyLine()
{
    feed("a\r");
    feed("\nb\n");
    QCOMPARE(m_lines, QStringList({ QStringLiteral("a"), QStringLiteral("b") }));
}

void LineSplitterTest::anInvalidByteBecomesAReplacementCharacter()
{
    feed("\xFF\x41\x0A");
    QCOMPARE(m_lines, QStringList(QStringLiteral("\uFFFDA")));
}

void LineSplitterTest::aCharacterSplitAcrossTwoReadsIsWhole()
{
    feed("\xF0\x9F");
    feed("\x98\x80\n");
    QCOMPARE(m_lines, QStringList(QStringLiteral("😀")));
}

void LineSplitterTest::spacesTabsAndTerminalSequencesStay()
{
    feed(" \t\x1B[90m  text \t\n \n");
    QCOMPARE(m_lines, QStringList({ QStringLiteral(" \t\x1B[90m  text \t"), QStringLiteral(" ") }));
}

void LineSplitterTest::otherLineSeparatorsStayInTheLine()
{
    feed("a\v\f\xC2\x85\xE2\x80\xA8z\n");
    QCOMPARE(m_lines, QStringList(QStringLiteral("a\v\f\u0085\u2028z")));
}

void LineSplitterTest::aByteOrderMarkAtALinesStartStays()
{
    feed("\xEF\xBB\xBFx\n");
    QCOMPARE(m_lines, QStringList(QStringLiteral("\uFEFFx")));
}

void LineSplitterTest::aNulByteStays()
{
    feed(QByteArray("a\0b\n", 4));
    QCOMPARE(m_lines.size(), 1);
    QCOMPARE(m_lines.first().size(), 3);
}

void LineSplitterTest::noBytesGiveNoLine()
{
    feed({});
    m_splitter->flush();
    QVERIFY(m_lines.isEmpty());
}

void LineSplitterTest::flushingTwiceEmitsOnce()
{
    feed("x");
    m_splitter->flush();
    m_splitter->flush();
    QCOMPARE(m_lines.size(), 1);
}

void LineSplitterTest::aFlushedSplitterStartsAnew()
{
    feed("a longer beginning");
    m_splitter->flush();
    feed("b\nc\n");
    QCOMPARE(m_lines.mid(1), QStringList({ QStringLiteral("b"), QStringLiteral("c") }));
}

void LineSplitterTest::linesComeInOrder()
{
    QByteArray bytes;
    for (int i = 0; i < 10'000; ++i)
        bytes += QByteArray::number(i) + '\n';
    feed(bytes);
    QCOMPARE(m_lines.size(), 10'000);
    for (int i = 0; i < 10'000; ++i)
        QCOMPARE(m_lines.at(i), QString::number(i));
}

void LineSplitterTest::anEndlessLineComesInPieces()
{
    const QByteArray chunk(32 * 1024, 'x');
    const qsizetype total = 10 * LineSplitter::longestLine + 1;
    qsizetype fed = 0;
    while (fed < total) {
        feed(chunk.left(total - fed));
        fed += std::min(chunk.size(), total - fed);
    }
    QCOMPARE(m_lines.size(), 10);
    m_splitter->flush();
    QCOMPARE(m_lines.size(), 11);
    for (const QString &line : std::as_const(m_lines).first(10))
        QCOMPARE(line.size(), LineSplitter::longestLine);
    QCOMPARE(m_lines.last(), QStringLiteral("x"));
}

void LineSplitterTest::aPieceNeverCutsACharacter()
{
    for (const qsizetype shift : { 0, 1, 2, 3 }) {
        init();
        const QByteArray bytes
            = QByteArray(shift, 'x') + QByteArray("😀").repeated(LineSplitter::longestLine / 2);
        for (qsizetype at = 0; at < bytes.size(); at += 4099)
            feed(bytes.mid(at, 4099));
        feed("\n");
        QVERIFY(m_lines.size() >= 2);
        QCOMPARE(m_lines.join(QString()), QString::fromUtf8(bytes));
    }
}

void LineSplitterTest::aLineOfExactlyTheLongestLengthIsOneLine_data()
{
    QTest::addColumn<bool>("breakComesLater");
    QTest::newRow("break with the line") << false;
    QTest::newRow("break later") << true;
}

void LineSplitterTest::aLineOfExactlyTheLongestLengthIsOneLine()
{
    QFETCH(bool, breakComesLater);
    const QByteArray line(LineSplitter::longestLine, 'x');
    if (breakComesLater) {
        feed(line);
        feed("\n");
    } else {
        feed(line + '\n');
    }
    m_splitter->flush();
    QCOMPARE(m_lines, QStringList(QString::fromLatin1(line)));
}

void LineSplitterTest::aLineThatReachesTheLongestLengthDoesNotWaitForMore()
{
    const QByteArray line(LineSplitter::longestLine, 'x');
    feed(line.chopped(1));
    QVERIFY(m_lines.isEmpty());
    feed("x");
    QCOMPARE(m_lines, QStringList(QString::fromLatin1(line)));
}

void LineSplitterTest::anOverlongLineIsCutTheSameHoweverItArrives()
{
    const QByteArray bytes = QByteArray("€😀x\xFF").repeated(500'000) + "\nend\n";
    feed(bytes);
    const QStringList whole = m_lines;
    init();
    for (qsizetype at = 0; at < bytes.size(); at += 30'011)
        feed(bytes.mid(at, 30'011));
    QVERIFY(whole.size() > 3);
    QVERIFY(m_lines == whole);
}

void LineSplitterTest::theHandlerMayFeedTheSplitterAgain()
{
    m_splitter = std::make_unique<LineSplitter>([this](const QString &line) {
        m_lines.append(line);
        if (m_lines.size() == 1)
            m_splitter->feed("again\n");
    });
    feed("first\n");
    QCOMPARE(m_lines, QStringList({ QStringLiteral("first"), QStringLiteral("again") }));
}

void LineSplitterTest::chunksOfAnySizeGiveTheSameLines()
{
    QRandomGenerator random(20'240'601);
    const QByteArray alphabet = "a\r\n\n \xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xFF";
    for (int round = 0; round < 200; ++round) {
        QByteArray bytes;
        for (int i = 0; i < 500; ++i)
            bytes += alphabet.at(random.bounded(static_cast<int>(alphabet.size())));
        init();
        feed(bytes);
        m_splitter->flush();
        const QStringList whole = m_lines;
        init();
        for (qsizetype at = 0; at < bytes.size();) {
            const qsizetype size = 1 + random.bounded(20);
            feed(bytes.mid(at, size));
            at += size;
        }
        m_splitter->flush();
        QCOMPARE(m_lines, whole);
        QVERIFY(!whole.contains(QString()));
    }
}

QTEST_GUILESS_MAIN(LineSplitterTest)
#include "LineSplitterTest.moc"
