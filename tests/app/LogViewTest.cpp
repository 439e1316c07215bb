#include "LogView.h"

#include "FailsCleanly.h"
#include "HarmlessText.h"
#include "LogStore.h"
#include "LogText.h"
#include "Samples.h"

#include <QClipboard>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QScrollBar>
#include <QTextBlock>

#include <algorithm>
#include <ctime>
#include <memory>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace {

const QString emptyLog = u"The log is empty."_s;

/// Measures processor time, so that other load on the machine does not count.
class WorkTimer final {
public:
    double seconds() const { return static_cast<double>(std::clock() - m_start) / CLOCKS_PER_SEC; }

private:
    const std::clock_t m_start = std::clock();
};

/// A log view in a window of its own.
class Shown final {
public:
    explicit Shown(const QStringList &lines = {})
    {
        log.lines = lines;
        view = std::make_unique<LogView>(log);
        view->resize(500, 180);
        view->show();
        if (!QTest::qWaitForWindowExposed(view.get()))
            throw std::runtime_error("The view was not shown.");
        text = view->findChild<LogText *>();
        refresh = view->findChild<RefreshOnce *>();
        bar = text->verticalScrollBar();
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

    void append(const QString &line)
    {
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
    std::unique_ptr<LogView> view;
    LogText *text = nullptr;
    RefreshOnce *refresh = nullptr;
    QScrollBar *bar = nullptr;
    double longestTurn = 0; // in seconds
};

}

class LogViewTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anEmptyLogSaysSoInTheSameFont()
    {
        const Shown shown;
        QCOMPARE(shown.seen(), emptyLog);
        QCOMPARE(shown.text->font().pointSizeF(), 11.0);
        QVERIFY(QFontInfo(shown.text->font()).fixedPitch());
    }

    void theTextIsTheLinesJoinedByLineFeeds()
    {
        Shown shown;
        for (const QString &line : { u"one"_s, QString(), u"three"_s })
            shown.log.append(line);
        QTRY_COMPARE(shown.seen(), u"one\n\nthree"_s);
        QCOMPARE(shown.text->font().pointSizeF(), 11.0);
    }

    void theBoxIs180HighWithAScrollBarThatIsAlwaysThere()
    {
        const Shown shown;
        QCOMPARE(shown.view->height(), 180);
        QCOMPARE(shown.view->minimumHeight(), 180);
        QCOMPARE(shown.view->maximumHeight(), 180);
        QVERIFY(shown.bar->isVisible());
        const QRect inside = shown.text->viewport()->geometry();
        QCOMPARE(inside.topLeft(), QPoint(8, 8));
        QCOMPARE(inside.bottom() + 1, 180 - 8);
        QVERIFY(shown.text->isReadOnly());
    }

    void newLinesKeepTheViewAtTheEnd()
    {
        Shown shown;
        for (int round = 0; round < 5; ++round) {
            for (int line = 0; line < 50; ++line)
                shown.log.append(u"round %1 line %2"_s.arg(round).arg(line));
            shown.settle();
            QVERIFY(shown.isAtEnd());
            // The player scrolls away; the next line scrolls back to the end.
            shown.bar->setValue(0);
        }
    }

    void theViewBeginsAtTheEnd() { QVERIFY(Shown(Samples::lines(500)).isAtEnd()); }

    void aLineThatReplacesTheOldestOneLeavesTheScrollPosition()
    {
        Shown shown(Samples::lines(LogStore::maxLines));
        shown.bar->setValue(1000);
        shown.append(u"one more"_s);
        QCOMPARE(shown.log.lines->size(), LogStore::maxLines);
        QCOMPARE(shown.bar->value(), 1000);
        QVERIFY(shown.seen().endsWith("\none more"_L1));
        QCOMPARE(shown.seen(), shown.wholeLog());
    }

    void aLogThatIsEmptiedSaysSoAgain()
    {
        Shown shown(Samples::lines(10));
        shown.replace({});
        QCOMPARE(shown.seen(), emptyLog);
        shown.append(u"again"_s);
        QCOMPARE(shown.seen(), u"again"_s);
    }

    void linesThatTheLogDropsAtTheFrontDisappearThere()
    {
        Shown shown;
        for (int round = 0; round < 20; ++round) {
            for (int line = 0; line < 700; ++line)
                shown.log.append(u"%1.%2"_s.arg(round).arg(line));
            shown.settle();
            QCOMPARE(shown.seen(), shown.wholeLog());
        }
    }

    void equalLinesAreNotMistakenForEachOther()
    {
        Shown shown;
        for (int round = 0; round < 8; ++round) {
            for (int line = 0; line < 600; ++line)
                shown.log.append(line % 7 == 0 ? QString() : u"the same"_s);
            shown.settle();
            QCOMPARE(shown.seen(), shown.wholeLog());
        }
    }

    void theSelectionStaysWhenLinesCome()
    {
        Shown shown({ u"first"_s, u"last"_s });
        shown.text->selectAll();
        shown.append(u"later"_s);
        QCOMPARE(shown.text->textCursor().selectedText(), u"first\u2029last"_s);
    }

    void nothingIsSelectedUnlessThePlayerSelects()
    {
        Shown shown(Samples::lines(20));
        shown.append(u"later"_s);
        QVERIFY(!shown.text->textCursor().hasSelection());
    }

    void theCopiedTextIsExactWhateverItHolds()
    {
        QStringList lines = Samples::oddLines();
        Shown shown(lines);
        // A clipboard cannot hold a lone surrogate; everything else is copied exactly.
        lines.removeAt(6);
        shown.replace(lines);
        QCOMPARE(shown.copied(), shown.wholeLog());
        QVERIFY(shown.seen() != shown.wholeLog());
    }

    void aPartOfALongLineIsCopiedExactly()
    {
        Shown shown;
        QString line;
        for (int number = 0; line.size() < 20000; ++number)
            line += QString::number(number) + u'\a';
        shown.append(line);
        const QTextDocument *document = shown.text->document();
        QVERIFY(document->blockCount() > 3);

        // The document adds a separator after each block of a long line, which the line itself does not have.
        const int second = document->findBlockByNumber(1).position();
        const int fourth = document->findBlockByNumber(3).position();
        QTextCursor cursor = shown.text->textCursor();
        cursor.setPosition(second + 5);
        cursor.setPosition(fourth + 7, QTextCursor::KeepAnchor);
        shown.text->setTextCursor(cursor);
        shown.text->copy();
        const int from = second - 1 + 5;
        const int to = fourth - 3 + 7;
        QCOMPARE(QGuiApplication::clipboard()->text(), line.mid(from, to - from));
    }

    void aCharacterOfTwoHalvesIsNotCutInTwo()
    {
        const QString runners = u"\U0001f3c3"_s.repeated(10000);
        // Dividing both lines at the same places would cut a character of one of them in two.
        const Shown shown({ runners, u'x' + runners });
        QVERIFY(shown.text->document()->blockCount() > 2);
        QVERIFY(!shown.seen().contains(QChar::ReplacementCharacter));
        QCOMPARE(shown.copied(), shown.wholeLog());
    }

    void harmfulCharactersAreShownAsSignsOfTheSameLength_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char *name, const QString &text, const QString &shown) {
            QTest::newRow(name) << text << shown;
        };
        const auto unchanged = [row](const char *name, const QString &text) { row(name, text, text); };
        const auto unknown = [row](const char *name, const QString &text) {
            row(name, text, QString(text.size(), QChar::ReplacementCharacter));
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
        QFETCH(const QString, text);
        QFETCH(const QString, shown);
        QCOMPARE(harmlessText(text), shown);
        QCOMPARE(harmlessText(text).size(), text.size());
    }

    void aLineOfAnotherScriptStaysOnTheLeft()
    {
        Shown shown;
        shown.append(u"\u05e9\u05dc\u05d5\u05dd"_s);
        const QTextLayout *layout = shown.text->document()->firstBlock().layout();
        QVERIFY(layout->lineCount() > 0);
        QVERIFY(layout->lineAt(0).naturalTextRect().left() < 20);
    }

    void aFloodOfLinesDoesNotFreezeTheWindow()
    {
        Shown shown;
        const WorkTimer whole;
        for (int batch = 0; batch < 300; ++batch) {
            for (int line = 0; line < 1000; ++line)
                shown.log.append(
                    u"batch %1 line %2 of a game that prints without a pause"_s.arg(batch).arg(line));
            shown.turn();
        }
        QTRY_VERIFY(shown.seen().endsWith(shown.log.lines->last()));
        qInfo("three hundred thousand lines: %.2f s, longest turn %.3f s", whole.seconds(),
              shown.longestTurn);
        QVERIFY(shown.longestTurn < 2);
        QCOMPARE(shown.seen(), shown.wholeLog());
    }

    void aFullLogOfLongLinesIsShownQuickly()
    {
        QStringList lines;
        for (int line = 0; line < 120; ++line)
            lines << QString(100000, QChar(u'a' + line % 26));
        const WorkTimer timer;
        const Shown shown(lines);
        QVERIFY(shown.longestTurn < 2);
        shown.view->grab();
        qInfo("twelve million characters: %.2f s", timer.seconds());
        QVERIFY(timer.seconds() < 15);
        QVERIFY(shown.text->document()->characterCount() > 12'000'000);
        QVERIFY(shown.isAtEnd());
    }

    void aLineOfAMillionCharactersIsShownQuickly()
    {
        Shown shown;
        const WorkTimer timer;
        shown.log.append(QString(1024 * 1024, u'x'));
        QTRY_VERIFY(shown.text->document()->characterCount() > 1024 * 1024);
        shown.view->grab();
        qInfo("one line of a million characters: %.2f s", timer.seconds());
        QVERIFY(timer.seconds() < 5);
        QVERIFY(shown.copied() == shown.log.lines->first());
    }

    void aHiddenViewDoesNoWorkAndCatchesUpWhenItIsShown()
    {
        Shown shown;
        shown.append(u"seen"_s);
        shown.view->hide();
        shown.replace(Samples::lines(100));
        QCOMPARE(shown.seen(), u"seen"_s);
        shown.view->show();
        shown.settle();
        QCOMPARE(shown.seen(), shown.wholeLog());
        QVERIFY(shown.isAtEnd());
    }

    void tabLeavesTheText()
    {
        const Shown shown;
        QVERIFY(shown.text->tabChangesFocus());
        QVERIFY(!shown.text->accessibleName().isEmpty());
    }
};

QTEST_MAIN(FailsCleanly<LogViewTest>)
#include "LogViewTest.moc"
