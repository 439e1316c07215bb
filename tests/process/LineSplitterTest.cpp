#include "LineSplitter.h"

#include "Table.h"

#include <QRandomGenerator>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

class LineSplitterTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_lines.clear();
        m_splitter = std::make_unique<LineSplitter>([this](const QString &line) { m_lines.append(line); });
    }

    void chunksAreSplitIntoLines_data()
    {
        const auto row = table<QByteArrayList, QStringList, QStringList>("chunks", "lines", "flushed");
        row("a carriage return with a line feed ends one line", { "a\r\nb\n" }, { u"a"_s, u"b"_s }, {});
        row("a lone carriage return ends a line", { "10%\r20%\r" }, { u"10%"_s, u"20%"_s }, {});
        row("a last line without a break is passed on by flush", { "x" }, {}, { u"x"_s });
        row("line feeds alone are no lines", { "\n\n\n" }, {}, {});
        row("a line split across two chunks is one", { "ab", "c\n" }, { u"abc"_s }, {});
        row("a break split across two chunks is one", { "a\r", "\nb\n" }, { u"a"_s, u"b"_s }, {});
        row("an invalid byte becomes a replacement character", { "\xFF\x41\x0A" }, { u"\uFFFDA"_s }, {});
        row("a character split across two chunks is whole", { "\xF0\x9F", "\x98\x80\n" }, { u"😀"_s }, {});
        row("spaces, tabs and terminal sequences stay", { " \t\x1B[90m  text \t\n \n" },
            { u" \t\x1B[90m  text \t"_s, u" "_s }, {});
        row("other line separators stay in the line", { "a\v\f\xC2\x85\xE2\x80\xA8z\n" },
            { u"a\v\f\u0085\u2028z"_s }, {});
        row("a byte order mark at a line's start stays", { "\xEF\xBB\xBFx\n" }, { u"\uFEFFx"_s }, {});
        row("a NUL byte stays", { QByteArray("a\0b\n", 4) }, { QString::fromUtf16(u"a\0b", 3) }, {});
        row("no bytes are no line", { {} }, {}, {});

        const QByteArray longest(LineSplitter::longestLine, 'x');
        const QByteArray shorter = longest.chopped(1);
        const QString whole = QString::fromLatin1(longest);
        row("the longest line with its break is one line", { longest + '\n' }, { whole }, {});
        row("the longest line before its break is one line", { longest, "\n" }, { whole }, {});
        row("the longest line does not wait for more", { shorter, "x" }, { whole }, {});
        row("a shorter line waits for more", { shorter }, {}, { whole.chopped(1) });
    }

    void chunksAreSplitIntoLines()
    {
        QFETCH(QByteArrayList, chunks);
        QFETCH(QStringList, lines);
        QFETCH(QStringList, flushed);
        for (const QByteArray &chunk : chunks)
            m_splitter->feed(chunk);
        QCOMPARE(m_lines, lines);
        m_splitter->flush();
        QCOMPARE(m_lines, lines + flushed);
        m_splitter->flush();
        QCOMPARE(m_lines, lines + flushed);
    }

    void aFlushedSplitterStartsAnew()
    {
        m_splitter->feed("a longer beginning");
        m_splitter->flush();
        m_splitter->feed("b\nc\n");
        QCOMPARE(m_lines.mid(1), QStringList({ u"b"_s, u"c"_s }));
    }

    void linesArriveInOrder()
    {
        QStringList lines;
        for (int i = 0; i < 10'000; ++i)
            lines += QString::number(i);
        const QByteArray bytes = lines.join(u'\n').toLatin1();
        QCOMPARE(split(bytes, bytes.size()), lines);
    }

    void anEndlessLineIsCutIntoLongestLines()
    {
        const QStringList lines = split(QByteArray(10 * LineSplitter::longestLine + 1, 'x'), 32 * 1024);
        QCOMPARE(lines, QStringList(10, QString(LineSplitter::longestLine, u'x')) + QStringList(u"x"_s));
    }

    void aCutNeverSplitsACharacter()
    {
        for (const qsizetype shift : { 0, 1, 2, 3 }) {
            const QByteArray bytes
                = QByteArray(shift, 'x') + QByteArray("😀").repeated(LineSplitter::longestLine / 2);
            const QStringList lines = split(bytes + '\n', 4099);
            QVERIFY(lines.size() >= 2);
            QCOMPARE(lines.join(QString()), QString::fromUtf8(bytes));
        }
    }

    void anOverlongLineIsCutTheSameHoweverItArrives()
    {
        const QByteArray bytes = QByteArray("€😀x\xFF").repeated(500'000) + "\nend\n";
        const QStringList whole = split(bytes, bytes.size());
        QVERIFY(whole.size() > 3);
        QVERIFY(split(bytes, 30'011) == whole);
    }

    void theHandlerMayFeedTheSplitterAgain()
    {
        m_splitter = std::make_unique<LineSplitter>([this](const QString &line) {
            m_lines.append(line);
            if (m_lines.size() == 1)
                m_splitter->feed("again\n");
        });
        m_splitter->feed("first\n");
        QCOMPARE(m_lines, QStringList({ u"first"_s, u"again"_s }));
    }

    void chunksOfAnySizeAreSplitIntoTheSameLines()
    {
        QRandomGenerator random(20'240'601);
        const QByteArray alphabet = "a\r\n\n \xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xFF";
        for (int round = 0; round < 200; ++round) {
            QByteArray bytes;
            for (int i = 0; i < 500; ++i)
                bytes += alphabet.at(random.bounded(static_cast<int>(alphabet.size())));
            const QStringList whole = split(bytes, bytes.size());
            init();
            for (qsizetype at = 0; at < bytes.size();) {
                const qsizetype size = 1 + random.bounded(20);
                m_splitter->feed(bytes.mid(at, size));
                at += size;
            }
            m_splitter->flush();
            QCOMPARE(m_lines, whole);
            QVERIFY(!whole.contains(QString()));
        }
    }

private:
    /// The lines that a new splitter makes of `bytes` when they arrive in chunks of `size`.
    QStringList split(const QByteArray &bytes, qsizetype size)
    {
        init();
        for (qsizetype at = 0; at < bytes.size(); at += size)
            m_splitter->feed(bytes.mid(at, size));
        m_splitter->flush();
        return m_lines;
    }

    QStringList m_lines;
    std::unique_ptr<LineSplitter> m_splitter;
};

QTEST_GUILESS_MAIN(LineSplitterTest)
#include "LineSplitterTest.moc"
