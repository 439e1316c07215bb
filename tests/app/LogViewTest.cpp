#include "LogView.h"

#include "HarmlessText.h"
#include "LogStore.h"
#include "LogText.h"
#include "Samples.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

#include <algorithm>
#include <ctime>

namespace {

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
    explicit Shown(int width = 500)
    {
        view.resize(width, 180);
        view.show();
        if (!QTest::qWaitForWindowExposed(&view))
            qFatal("The view was not shown.");
        text = view.findChild<LogText *>();
        settle();
    }

    /// Waits until the view, which redraws at its own pace, shows everything.
    void settle() const
    {
        const auto *refresh = view.findChild<RefreshOnce *>();
        if (!QTest::qWaitFor([refresh] { return !refresh->isPending(); }, 20000))
            qFatal("The view did not come to rest.");
        QTest::qWait(5);
    }

    QScrollBar *bar() const { return text->verticalScrollBar(); }

    QString copied() const
    {
        text->selectAll();
        QGuiApplication::clipboard()->clear();
        text->copy();
        return QGuiApplication::clipboard()->text();
    }

    LogStore log;
    LogView view { log };
    LogText *text = nullptr;
};

}

class LogViewTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anEmptyLogSaysSoInTheSameFont();
    void theTextIsTheLinesJoinedByLineFeeds();
    void theBoxIs180HighWithAScrollBarThatIsAlwaysThere();
    void newLinesKeepTheViewAtTheEnd();
    void theViewBeginsAtTheEnd();
    void aLineThatReplacesTheOldestOneLeavesTheScrollPosition();
    void aLogThatIsEmptiedSaysSoAgain();
    void linesTakenAwayAtTheFrontGoFromTheFront();
    void equalLinesAreNotMistakenForEachOther();
    void theSelectionStaysWhenLinesCome();
    void nothingIsSelectedUnlessThePlayerSelects();
    void theCopiedTextIsExactWhateverItHolds();
    void aPartOfALongLineIsCopiedExactly();
    void aCharacterOfTwoHalvesIsNotCutInTwo();
    void harmfulCharactersAreShownAsSignsOfTheSameLength_data();
    void harmfulCharactersAreShownAsSignsOfTheSameLength();
    void aLineOfAnotherScriptStaysOnTheLeft();
    void aFloodOfLinesDoesNotFreezeTheWindow();
    void aFullLogOfLongLinesIsShownQuickly();
    void aLineOfAMillionCharactersIsShownQuickly();
    void aHiddenViewDoesNoWork();
    void aViewThatIsShownLaterTakesUpTheLog();
    void tabLeavesTheText();
};

void LogViewTest::anEmptyLogSaysSoInTheSameFont()
{
    const Shown shown;
    QCOMPARE(shown.text->toPlainText(), QStringLiteral("The log is empty."));
    QCOMPARE(shown.text->font().pointSizeF(), 11.0);
    QVERIFY(QFontInfo(shown.text->font()).fixedPitch());
}

void LogViewTest::theTextIsTheLinesJoinedByLineFeeds()
{
    Shown shown;
    shown.log.append(QStringLiteral("one"));
    shown.log.append(QString());
    shown.log.append(QStringLiteral("three"));
    QTRY_COMPARE(shown.text->toPlainText(), QStringLiteral("one\n\nthree"));
    QCOMPARE(shown.text->font().pointSizeF(), 11.0);
}

void LogViewTest::theBoxIs180HighWithAScrollBarThatIsAlwaysThere()
{
    const Shown shown;
    QCOMPARE(shown.view.height(), 180);
    QCOMPARE(shown.view.minimumHeight(), 180);
    QCOMPARE(shown.view.maximumHeight(), 180);
    QVERIFY(shown.bar()->isVisible());
    const QRect inside = shown.text->viewport()->geometry();
    QCOMPARE(inside.topLeft(), QPoint(8, 8));
    QCOMPARE(inside.bottom() + 1, 180 - 8);
    QVERIFY(shown.text->isReadOnly());
}

void LogViewTest::newLinesKeepTheViewAtTheEnd()
{
    Shown shown;
    for (int round = 0; round < 5; ++round) {
        for (int line = 0; line < 50; ++line)
            shown.log.append(QStringLiteral("round %1 line %2").arg(round).arg(line));
        shown.settle();
        QVERIFY(shown.bar()->maximum() > 0);
        QCOMPARE(shown.bar()->value(), shown.bar()->maximum());
        // The player scrolls away; the next line scrolls back to the end.
        shown.bar()->setValue(0);
    }
}

void LogViewTest::theViewBeginsAtTheEnd()
{
    LogStore log;
    log.lines = Samples::lines(500);
    LogView view(log);
    view.resize(500, 180);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const auto *bar = view.findChild<LogText *>()->verticalScrollBar();
    QTRY_VERIFY(bar->maximum() > 0 && bar->value() == bar->maximum());
}

void LogViewTest::aLineThatReplacesTheOldestOneLeavesTheScrollPosition()
{
    Shown shown;
    shown.log.lines = Samples::lines(LogStore::maxLines);
    shown.settle();
    shown.bar()->setValue(1000);
    shown.log.append(QStringLiteral("one more"));
    shown.settle();
    QCOMPARE(shown.log.lines->size(), LogStore::maxLines);
    QCOMPARE(shown.bar()->value(), 1000);
    QVERIFY(shown.text->toPlainText().endsWith(QStringLiteral("\none more")));
    QCOMPARE(shown.text->toPlainText(), shown.log.lines->join(u'\n'));
}

void LogViewTest::aLogThatIsEmptiedSaysSoAgain()
{
    Shown shown;
    shown.log.lines = Samples::lines(10);
    shown.settle();
    shown.log.lines = QStringList();
    shown.settle();
    QCOMPARE(shown.text->toPlainText(), QStringLiteral("The log is empty."));
    shown.log.append(QStringLiteral("again"));
    shown.settle();
    QCOMPARE(shown.text->toPlainText(), QStringLiteral("again"));
}

void LogViewTest::linesTakenAwayAtTheFrontGoFromTheFront()
{
    Shown shown;
    for (int round = 0; round < 20; ++round) {
        for (int line = 0; line < 700; ++line)
            shown.log.append(QStringLiteral("%1.%2").arg(round).arg(line));
        shown.settle();
        QCOMPARE(shown.text->toPlainText(), shown.log.lines->join(u'\n'));
    }
}

void LogViewTest::equalLinesAreNotMistakenForEachOther()
{
    Shown shown;
    for (int round = 0; round < 8; ++round) {
        for (int line = 0; line < 600; ++line)
            shown.log.append(line % 7 == 0 ? QString() : QStringLiteral("the same"));
        shown.settle();
        QCOMPARE(shown.text->toPlainText(), shown.log.lines->join(u'\n'));
    }
}

void LogViewTest::theSelectionStaysWhenLinesCome()
{
    Shown shown;
    shown.log.lines = QStringList { QStringLiteral("first"), QStringLiteral("last") };
    shown.settle();
    shown.text->selectAll();
    shown.log.append(QStringLiteral("later"));
    shown.settle();
    QCOMPARE(shown.text->textCursor().selectedText(), QStringLiteral("first\u2029last"));
}

void LogViewTest::nothingIsSelectedUnlessThePlayerSelects()
{
    Shown shown;
    shown.log.lines = Samples::lines(20);
    shown.settle();
    shown.log.append(QStringLiteral("later"));
    shown.settle();
    QVERIFY(!shown.text->textCursor().hasSelection());
}

void LogViewTest::theCopiedTextIsExactWhateverItHolds()
{
    Shown shown;
    shown.log.lines = Samples::oddLines();
    shown.settle();
    // A clipboard cannot hold a lone surrogate; everything else is copied exactly.
    QStringList lines = Samples::oddLines();
    lines.removeAt(6);
    shown.log.lines = lines;
    shown.settle();
    QCOMPARE(shown.copied(), lines.join(u'\n'));
    QVERIFY(shown.text->toPlainText() != lines.join(u'\n'));
}

void LogViewTest::aPartOfALongLineIsCopiedExactly()
{
    Shown shown;
    QString line;
    for (int number = 0; line.size() < 20000; ++number)
        line += QString::number(number) + QChar(u'\a');
    shown.log.append(line);
    shown.settle();
    QVERIFY(shown.text->document()->blockCount() > 1);

    // The document adds a separator after each block of a long line, which the line itself does not have.
    QTextCursor cursor(shown.text->document());
    const QTextBlock second = shown.text->document()->findBlockByNumber(1);
    const QTextBlock fourth = shown.text->document()->findBlockByNumber(3);
    cursor.setPosition(second.position() + 5);
    cursor.setPosition(fourth.position() + 7, QTextCursor::KeepAnchor);
    shown.text->setTextCursor(cursor);
    shown.text->copy();
    const qsizetype from = second.position() - 1 + 5;
    const qsizetype to = fourth.position() - 3 + 7;
    QCOMPARE(QGuiApplication::clipboard()->text(), line.mid(from, to - from));
}

void LogViewTest::aCharacterOfTwoHalvesIsNotCutInTwo()
{
    Shown shown;
    // Dividing both lines at the same places would cut a character of one of them in two.
    QString runners;
    while (runners.size() < 20000)
        runners += QStringLiteral("\U0001f3c3");
    shown.log.lines = QStringList { runners, QLatin1Char('x') + runners };
    shown.settle();
    QVERIFY(shown.text->document()->blockCount() > 2);
    QVERIFY(!shown.text->toPlainText().contains(QChar(QChar::ReplacementCharacter)));
    QCOMPARE(shown.copied(), shown.log.lines->join(u'\n'));
}

void LogViewTest::harmfulCharactersAreShownAsSignsOfTheSameLength_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("plain") << QStringLiteral("Grüße, 世界 \U0001f3c3")
                           << QStringLiteral("Grüße, 世界 \U0001f3c3");
    QTest::newRow("tab and line feed") << QStringLiteral("a\tb\nc") << QStringLiteral("a\tb\nc");
    QTest::newRow("escape") << QStringLiteral("\u001b[90m") << QStringLiteral("\u241b[90m");
    QTest::newRow("bell, nul, carriage return")
        << QStringLiteral("\a") + QChar(u'\0') + QStringLiteral("\r") << QStringLiteral("\u2407\u2400\u240d");
    QTest::newRow("delete and c1") << QStringLiteral("\u007f\u0085") << QStringLiteral("\u2421\ufffd");
    QTest::newRow("directions") << QStringLiteral("\u202e\u2067\u200f\u061c") << QString(4, QChar(0xfffd));
    QTest::newRow("separators") << QStringLiteral("\u2028\u2029") << QStringLiteral("\u2424\u2424");
    QTest::newRow("layout marks") << QStringLiteral("\ufdd0\ufdd1\ufffc") << QString(3, QChar(0xfffd));
    QTest::newRow("the first and the last of each kind")
        << QStringLiteral("\u009f\u200e\u202a\u202e\u2066\u2069\ufdef\ufffe\uffff")
        << QString(9, QChar(0xfffd));
    QTest::newRow("the neighbours of each kind")
        << QStringLiteral("~\u00a0\u200d\u2010\u202f\u2065\u206a\ufdcf\ufdf0\ufffb")
        << QStringLiteral("~\u00a0\u200d\u2010\u202f\u2065\u206a\ufdcf\ufdf0\ufffb");
    QTest::newRow("half a character at the end") << QString(QChar(0xd83d)) << QStringLiteral("\ufffd");
    QTest::newRow("half a character at the beginning") << QString(QChar(0xdc00)) << QStringLiteral("\ufffd");
    QTest::newRow("half characters") << QString(QChar(0xd83d)) + QChar(u'x') + QChar(0xdc00)
                                     << QStringLiteral("\ufffdx\ufffd");
}

void LogViewTest::harmfulCharactersAreShownAsSignsOfTheSameLength()
{
    QFETCH(const QString, text);
    QFETCH(const QString, shown);
    QCOMPARE(harmlessText(text), shown);
    QCOMPARE(harmlessText(text).size(), text.size());
}

void LogViewTest::aLineOfAnotherScriptStaysOnTheLeft()
{
    Shown shown;
    shown.log.append(QStringLiteral("\u05e9\u05dc\u05d5\u05dd"));
    shown.settle();
    const QTextBlock block = shown.text->document()->firstBlock();
    QVERIFY(block.layout()->lineCount() > 0);
    QVERIFY(block.layout()->lineAt(0).naturalTextRect().left() < 20);
}

void LogViewTest::aFloodOfLinesDoesNotFreezeTheWindow()
{
    Shown shown;
    const WorkTimer whole;
    double longestTurn = 0;
    for (int batch = 0; batch < 300; ++batch) {
        for (int line = 0; line < 1000; ++line)
            shown.log.append(QStringLiteral("batch %1 line %2 of a game that prints without a pause")
                                 .arg(batch)
                                 .arg(line));
        const WorkTimer turn;
        QCoreApplication::processEvents();
        longestTurn = std::max(longestTurn, turn.seconds());
    }
    QTRY_VERIFY(shown.text->toPlainText().endsWith(shown.log.lines->last()));
    qInfo("three hundred thousand lines: %.2f s, longest turn %.3f s", whole.seconds(), longestTurn);
    QVERIFY(longestTurn < 2);
    QCOMPARE(shown.text->toPlainText(), shown.log.lines->join(u'\n'));
}

void LogViewTest::aFullLogOfLongLinesIsShownQuickly()
{
    LogStore log;
    QStringList lines;
    for (int line = 0; line < 120; ++line)
        lines << QString(100000, QChar(u'a' + line % 26));
    log.lines = lines;
    LogView view(log);
    view.resize(500, 180);
    const WorkTimer timer;
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const auto *text = view.findChild<LogText *>();
    double longestTurn = 0;
    const auto *refresh = view.findChild<RefreshOnce *>();
    while (refresh->isPending()) {
        const WorkTimer turn;
        QCoreApplication::processEvents();
        longestTurn = std::max(longestTurn, turn.seconds());
    }
    QVERIFY(longestTurn < 2);
    view.grab();
    qInfo("twelve million characters: %.2f s", timer.seconds());
    QVERIFY(timer.seconds() < 15);
    QVERIFY(text->document()->characterCount() > 12'000'000);
    QCOMPARE(text->verticalScrollBar()->value(), text->verticalScrollBar()->maximum());
}

void LogViewTest::aLineOfAMillionCharactersIsShownQuickly()
{
    Shown shown;
    const WorkTimer timer;
    shown.log.append(QString(1024 * 1024, QLatin1Char('x')));
    QTRY_VERIFY(shown.text->document()->characterCount() > 1024 * 1024);
    shown.view.grab();
    qInfo("one line of a million characters: %.2f s", timer.seconds());
    QVERIFY(timer.seconds() < 5);
    QVERIFY(shown.copied() == shown.log.lines->first());
}

void LogViewTest::aHiddenViewDoesNoWork()
{
    Shown shown;
    shown.log.append(QStringLiteral("seen"));
    shown.settle();
    shown.view.hide();
    shown.log.append(QStringLiteral("unseen"));
    shown.settle();
    QCOMPARE(shown.text->toPlainText(), QStringLiteral("seen"));
}

void LogViewTest::aViewThatIsShownLaterTakesUpTheLog()
{
    Shown shown;
    shown.view.hide();
    shown.log.lines = Samples::lines(100);
    shown.settle();
    shown.view.show();
    shown.settle();
    QCOMPARE(shown.text->toPlainText(), shown.log.lines->join(u'\n'));
    QCOMPARE(shown.bar()->value(), shown.bar()->maximum());
}

void LogViewTest::tabLeavesTheText()
{
    const Shown shown;
    QVERIFY(shown.text->tabChangesFocus());
    QVERIFY(!shown.text->accessibleName().isEmpty());
}

QTEST_MAIN(LogViewTest)
#include "LogViewTest.moc"
