#include "LogView.h"

#include "FreshForEach.h"
#include "HarmlessText.h"
#include "LogStore.h"
#include "LogText.h"
#include "Samples.h"
#include "Table.h"
#include "TypeScale.h"

#include <QAbstractTextDocumentLayout>
#include <QClipboard>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QScrollBar>
#include <QTextBlock>

#include <algorithm>
#include <ctime>
#include <functional>
#include <stdexcept>

namespace {

/// Measures processor time, so that other load on the machine does not count.
class WorkTimer final {
public:
    double seconds() const { return static_cast<double>(std::clock() - m_start) / CLOCKS_PER_SEC; }

private:
    const std::clock_t m_start = std::clock();
};

/// A log view in a window of its own.
class Shown {
public:
    explicit Shown(const QStringList &lines = {})
    {
        log.lines = lines;
        view.resize(500, 180);
        view.show();
        if (!QTest::qWaitForWindowExposed(&view))
            throw std::runtime_error("The view was not shown.");
        settle();
    }

    /// Waits until the view, which redraws at its own pace, shows everything.
    void settle()
    {
        const QDeadlineTimer limit(20000);
        while (refresh->isPending()) {
            if (limit.hasExpired())
                throw std::runtime_error("The view did not come to rest.");
            turn();
        }
        QTest::qWait(5);
    }

    /// One turn of the event loop.
    void turn()
    {
        const WorkTimer timer;
        QCoreApplication::processEvents();
        longestTurn = std::max(longestTurn, timer.seconds());
    }

    void append(const QStringList &lines)
    {
        for (const QString &line : lines)
            log.append(line);
        settle();
    }
    void replace(const QStringList &lines)
    {
        log.lines = lines;
        settle();
    }

    QString seen() const { return text->toPlainText(); }
    QString wholeLog() const { return log.lines->join(u'\n'); }
    bool isAtEnd() const { return bar->maximum() > 0 && bar->value() == bar->maximum(); }

    QString copied() const
    {
        text->selectAll();
        QGuiApplication::clipboard()->clear();
        text->copy();
        return QGuiApplication::clipboard()->text();
    }

    LogStore log;
    LogView view { log };
    LogText *const text = view.findChild<LogText *>();
    RefreshOnce *const refresh = view.findChild<RefreshOnce *>();
    QScrollBar *const bar = text->verticalScrollBar();
    double longestTurn = 0; // in seconds
};

using Line = std::function<QString(int)>;

}

class LogViewTest final : public QObject, private Shown {
    Q_OBJECT

private Q_SLOTS:
    void theTextIsTheLinesJoinedByLineFeedsOrSaysThatThereAreNone()
    {
        for (const bool isEmpty : { true, false, true, false }) {
            replace({});
            if (!isEmpty)
                append({ u"one"_s, QString(), u"three"_s });
            QCOMPARE(seen(), isEmpty ? u"The log is empty."_s : u"one\n\nthree"_s);
            QCOMPARE(text->font().pointSizeF(), TypeScale::fixedWidth().pointSizeF());
            QVERIFY(QFontInfo(text->font()).fixedPitch());
        }
    }

    void theBoxIs180HighWithAScrollBarThatIsAlwaysThere()
    {
        QCOMPARE(view.height(), 180);
        QCOMPARE(view.minimumHeight(), 180);
        QCOMPARE(view.maximumHeight(), 180);
        QVERIFY(bar->isVisible());
        const QRect inside = text->viewport()->geometry();
        QCOMPARE(inside.topLeft(), QPoint(8, 8));
        QCOMPARE(inside.bottom() + 1, 180 - 8);
        QVERIFY(text->isReadOnly());
        QVERIFY(text->tabChangesFocus());
    }

    void theLinesHaveTheirDistance()
    {
        append({ u"one"_s, QString(500, u'x'), u"three"_s });
        const double height = std::round(TypeScale::fixedWidthLineHeight());
        const QTextDocument *document = text->document();
        const auto *layout = document->documentLayout();
        const auto linesOf
            = [document](int number) { return document->findBlockByNumber(number).layout()->lineCount(); };
        QCOMPARE_GT(linesOf(1), 1);
        for (int number = 0; number < 3; ++number) {
            const QTextBlock block = document->findBlockByNumber(number);
            QCOMPARE(layout->blockBoundingRect(block).height(), linesOf(number) * height);
        }
    }

    void aPressBetweenTwoLinesIsMeantForTheLetterBesideIt()
    {
        append({ QString(40, u'x'), QString(40, u'x'), QString(40, u'x') });
        const int top = text->cursorRect().center().y();
        // All the way from the first line to the last.
        QTest::mousePress(text->viewport(), Qt::LeftButton, {}, QPoint(100, top));
        const int column = text->textCursor().positionInBlock();
        QVERIFY(column > 0 && column < 40);
        for (int y = top; y < top + 2 * qRound(TypeScale::fixedWidthLineHeight()); ++y) {
            QTest::mouseMove(text->viewport(), QPoint(100, y));
            QTest::qWait(1);
            QCOMPARE(text->textCursor().positionInBlock(), column);
        }
        QTest::mouseRelease(text->viewport(), Qt::LeftButton, {}, QPoint(100, top));
    }

    void nothingIsLeftWhiteBetweenSelectedLines()
    {
        // Read where there are no letters.
        append(QStringList(3, u"  HHHH"_s));
        text->selectAll();
        const QImage picture = text->viewport()->grab().toImage();
        const QColor selected = picture.pixelColor(1, qRound(TypeScale::fixedWidthLineHeight()) / 2);
        QCOMPARE(selected, text->palette().color(QPalette::Highlight));
        for (int y = 0; y < 3 * qRound(TypeScale::fixedWidthLineHeight()); ++y)
            QCOMPARE(picture.pixelColor(1, y), selected);
    }

    void newLinesKeepTheViewAtTheEnd()
    {
        for (int round = 0; round < 5; ++round) {
            append(Samples::lines(50));
            QVERIFY(isAtEnd());
            // The player scrolls away; the next line scrolls back to the end.
            bar->setValue(0);
        }
    }

    void theViewBeginsAtTheEnd() { QVERIFY(Shown(Samples::lines(500)).isAtEnd()); }

    void aLineThatReplacesTheOldestOneLeavesTheScrollPosition()
    {
        replace(Samples::lines(LogStore::maxLines));
        bar->setValue(1000);
        append({ u"one more"_s });
        QCOMPARE(log.lines->size(), LogStore::maxLines);
        QCOMPARE(bar->value(), 1000);
        QVERIFY(seen().endsWith("\none more"_L1));
        QCOMPARE(seen(), wholeLog());
    }

    void linesThatTheLogDropsAtTheFrontDisappearThere_data()
    {
        const auto row = table<Line>("line");
        row("different lines", [](int number) { return QString::number(number); });
        row("equal lines", [](int number) { return number % 7 == 0 ? QString() : u"the same"_s; });
    }

    void linesThatTheLogDropsAtTheFrontDisappearThere()
    {
        QFETCH(const Line, line);
        for (int number = 0; number < 2 * LogStore::maxLines;) {
            for (const int end = number + 700; number < end; ++number)
                log.append(line(number));
            settle();
            QCOMPARE(seen(), wholeLog());
        }
    }

    void newLinesLeaveTheSelectionAsItIs()
    {
        append({ u"first"_s, u"last"_s });
        QVERIFY(!text->textCursor().hasSelection());
        text->selectAll();
        append({ u"later"_s });
        QCOMPARE(text->textCursor().selectedText(), u"first\u2029last"_s);
    }

    void theCopiedTextIsExactWhateverItHolds()
    {
        QStringList lines = Samples::oddLines();
        replace(lines);
        // A clipboard cannot hold a lone surrogate; everything else is copied exactly.
        lines.removeAt(6);
        replace(lines);
        QCOMPARE(copied(), wholeLog());
        QVERIFY(seen() != wholeLog());
    }

    void aPartOfALongLineIsCopiedExactly()
    {
        QString line;
        for (int number = 0; line.size() < 20000; ++number)
            line += QString::number(number) + u'\a';
        append({ line });
        const QTextDocument *document = text->document();
        QVERIFY(document->blockCount() > 3);

        // The document adds a separator after each block of a long line, which the line itself does not have.
        const int second = document->findBlockByNumber(1).position();
        const int fourth = document->findBlockByNumber(3).position();
        QTextCursor cursor = text->textCursor();
        cursor.setPosition(second + 5);
        cursor.setPosition(fourth + 7, QTextCursor::KeepAnchor);
        text->setTextCursor(cursor);
        text->copy();
        const int from = second - 1 + 5;
        const int to = fourth - 3 + 7;
        QCOMPARE(QGuiApplication::clipboard()->text(), line.mid(from, to - from));
    }

    void aCharacterOfTwoHalvesIsNotCutInTwo()
    {
        const QString runners = u"\U0001f3c3"_s.repeated(10000);
        // Dividing both lines at the same places would cut a character of one of them in two.
        append({ runners, u'x' + runners });
        QVERIFY(text->document()->blockCount() > 2);
        QVERIFY(!seen().contains(QChar::ReplacementCharacter));
        QCOMPARE(copied(), wholeLog());
    }

    void harmfulCharactersAreShownAsSignsOfTheSameLength_data()
    {
        const auto row = table<QString, QString>("harmful", "harmless");
        const auto unchanged
            = [row](const char *name, const QString &harmful) { row(name, harmful, harmful); };
        const auto unknown = [row](const char *name, const QString &harmful) {
            row(name, harmful, QString(harmful.size(), QChar::ReplacementCharacter));
        };
        unchanged("plain", u"Grüße, 世界 \U0001f3c3"_s);
        unchanged("tab and line feed", u"a\tb\nc"_s);
        row("escape", u"\u001b[90m"_s, u"\u241b[90m"_s);
        row("bell, nul, carriage return", u"\a\0\r"_s, u"\u2407\u2400\u240d"_s);
        row("delete and c1", u"\u007f\u0085"_s, u"\u2421\ufffd"_s);
        unknown("directions", u"\u202e\u2067\u200f\u061c"_s);
        row("separators", u"\u2028\u2029"_s, u"\u2424\u2424"_s);
        unknown("layout marks", u"\ufdd0\ufdd1\ufffc"_s);
        unknown("the first and the last of each kind",
                u"\u009f\u200e\u202a\u202e\u2066\u2069\ufdef\ufffe\uffff"_s);
        unchanged("the neighbours of each kind",
                  u"~\u00a0\u200d\u2010\u202f\u2065\u206a\ufdcf\ufdf0\ufffb"_s);
        unknown("half a character at the end", QChar(0xd83d));
        unknown("half a character at the beginning", QChar(0xdc00));
        row("half characters", QString(QChar(0xd83d)) + u'x' + QChar(0xdc00), u"\ufffdx\ufffd"_s);
    }

    void harmfulCharactersAreShownAsSignsOfTheSameLength()
    {
        QFETCH(const QString, harmful);
        QTEST(harmlessText(harmful), "harmless");
    }

    void aLineOfAnotherScriptStaysOnTheLeft()
    {
        append({ u"\u05e9\u05dc\u05d5\u05dd"_s });
        const QTextLayout *layout = text->document()->firstBlock().layout();
        QVERIFY(layout->lineCount() > 0);
        QVERIFY(layout->lineAt(0).naturalTextRect().left() < 20);
    }

    void aFloodOfLinesDoesNotFreezeTheWindow()
    {
        const WorkTimer whole;
        for (int batch = 0; batch < 300; ++batch) {
            for (int line = 0; line < 1000; ++line)
                log.append(u"batch %1 line %2 of a game that prints without a pause"_s.arg(batch).arg(line));
            turn();
        }
        QTRY_VERIFY(seen().endsWith(log.lines->last()));
        qInfo("three hundred thousand lines: %.2f s, longest turn %.3f s", whole.seconds(), longestTurn);
        QVERIFY(longestTurn < 2);
        QCOMPARE(seen(), wholeLog());
    }

    void longLinesAreShownQuickly_data()
    {
        const auto row = table<int, int, double>("count", "length", "limit"); // in seconds
        row("a full log of long lines", 120, 100'000, 15);
        row("a line of a million characters", 1, 1'000'000, 5);
    }

    void longLinesAreShownQuickly()
    {
        QFETCH(const int, count);
        QFETCH(const int, length);
        QFETCH(const double, limit);
        const WorkTimer timer;
        for (int line = 0; line < count; ++line)
            log.append(QString(length, QChar(u'a' + line % 26)));
        settle();
        QVERIFY(longestTurn < 2);
        view.grab();
        qInfo("%s: %.2f s", QTest::currentDataTag(), timer.seconds());
        QVERIFY(timer.seconds() < limit);
        QVERIFY(text->document()->characterCount() > count * length);
        QVERIFY(isAtEnd());
        QVERIFY(copied() == wholeLog());
    }

    void aHiddenViewDoesNoWorkAndCatchesUpWhenItIsShown()
    {
        append({ u"seen"_s });
        view.hide();
        replace(Samples::lines(100));
        QCOMPARE(seen(), u"seen"_s);
        view.show();
        settle();
        QCOMPARE(seen(), wholeLog());
        QVERIFY(isAtEnd());
    }
};

QTEST_MAIN(FreshForEach<LogViewTest>)
#include "LogViewTest.moc"
