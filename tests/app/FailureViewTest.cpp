#include "FailureView.h"

#include "LogText.h"
#include "Panel.h"
#include "Samples.h"
#include "Stage.h"
#include "TextLabel.h"

#include <QScrollBar>

#include <ctime>

class FailureViewTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFailureWithoutLinesShowsTheMessageAndCopyButNoBox();
    void aFailureWithLinesShowsThemJoinedInFixedWidth();
    void theLinesCanBeSelectedButNotChanged();
    void copyPutsTheMessageAndTheLinesOnThePasteboard();
    void theViewIsThereOnlyWhileThereIsAFailure();
    void theBoxGrowsWithItsLinesAndThenScrolls();
    void theBoxStaysWhereThePlayerScrolledIt();
    void oddLinesAreShownQuicklyAndCopiedExactly();
    void aMessageOfAHundredThousandCharactersDoesNotFreezeTheWindow();
    void linesThatAreTooMuchForOneTurnComeInTheNext();
};

void FailureViewTest::aFailureWithoutLinesShowsTheMessageAndCopyButNoBox()
{
    Stage stage;
    stage.open();
    Samples::fail(stage.model, QStringLiteral("There is no network."), 0);
    Stage::settle();
    const auto *view = stage.visible<FailureView>();
    QVERIFY(view);
    QCOMPARE(view->findChild<TextLabel *>()->text(), QStringLiteral("There is no network."));
    QVERIFY(!view->findChild<LogText *>()->isVisible());
    QVERIFY(Stage::button(*view, QStringLiteral("Copy")));
}

void FailureViewTest::aFailureWithLinesShowsThemJoinedInFixedWidth()
{
    Stage stage;
    stage.open();
    Samples::fail(stage.model, Samples::earlyEnd, 5);
    Stage::settle();
    const auto *lines = stage.visible<FailureView>()->findChild<LogText *>();
    QVERIFY(lines->isVisible());
    QCOMPARE(lines->toPlainText(), Samples::lines(5).join(u'\n'));
    QCOMPARE(lines->font().pointSizeF(), 11.0);
    QVERIFY(QFontInfo(lines->font()).fixedPitch());
    QCOMPARE(lines->viewport()->geometry().topLeft(), QPoint(8, 8));
}

void FailureViewTest::theLinesCanBeSelectedButNotChanged()
{
    Stage stage;
    stage.open();
    Samples::fail(stage.model, Samples::earlyEnd, 3);
    Stage::settle();
    auto *lines = stage.visible<FailureView>()->findChild<LogText *>();
    QTest::mouseDClick(lines->viewport(), Qt::LeftButton, {}, QPoint(60, 16));
    QVERIFY(lines->textCursor().hasSelection());
    QTest::keyClicks(lines, QStringLiteral("x"));
    QCOMPARE(lines->toPlainText(), Samples::lines(3).join(u'\n'));
}

void FailureViewTest::copyPutsTheMessageAndTheLinesOnThePasteboard()
{
    Stage stage;
    stage.open();
    Samples::fail(stage.model, QStringLiteral("It failed."), 3);
    Stage::settle();
    Stage::click(*stage.visible<FailureView>(), QStringLiteral("Copy"));
    QCOMPARE(stage.player.pasteboard.texts,
             QStringList { QStringLiteral("It failed.\n") + Samples::lines(3).join(u'\n') });
}

void FailureViewTest::theViewIsThereOnlyWhileThereIsAFailure()
{
    Stage stage;
    stage.open();
    QVERIFY(!stage.visible<FailureView>());
    Samples::fail(stage.model, QStringLiteral("It failed."), 3);
    Stage::settle();
    QVERIFY(stage.visible<FailureView>());
    stage.model.failureMessage = std::nullopt;
    stage.model.failureLines = QStringList();
    Stage::settle();
    QVERIFY(!stage.visible<FailureView>());
}

void FailureViewTest::theBoxGrowsWithItsLinesAndThenScrolls()
{
    Stage stage;
    stage.open();
    Samples::fail(stage.model, Samples::earlyEnd, 2);
    Stage::settle();
    const auto *lines = stage.visible<FailureView>()->findChild<LogText *>();
    const int two = lines->height();
    QVERIFY(lines->verticalScrollBar()->maximum() == 0);
    Samples::fail(stage.model, Samples::earlyEnd, 5);
    Stage::settle();
    QVERIFY(lines->height() > two);
    QVERIFY(lines->verticalScrollBar()->maximum() == 0);
    Samples::fail(stage.model, Samples::earlyEnd, 30);
    Stage::settle();
    QCOMPARE(lines->verticalScrollBar()->pageStep(), 12);
    QVERIFY(lines->height() < 14 * lines->fontMetrics().lineSpacing() + 16);
    QVERIFY(lines->height() > 12 * lines->fontMetrics().lineSpacing() + 15);
    QVERIFY(lines->verticalScrollBar()->maximum() > 0);
    QCOMPARE(lines->verticalScrollBar()->value(), lines->verticalScrollBar()->maximum());
}

void FailureViewTest::theBoxStaysWhereThePlayerScrolledIt()
{
    Stage stage;
    stage.open();
    Samples::fail(stage.model, Samples::earlyEnd, 30);
    Stage::settle();
    auto *bar = stage.visible<FailureView>()->findChild<LogText *>()->verticalScrollBar();
    QCOMPARE(bar->value(), bar->maximum());
    bar->setValue(2);
    Stage::click(*stage.window, QStringLiteral("Show log"));
    QCOMPARE(bar->value(), 2);
    stage.model.notice = QStringLiteral("Nothing is downloaded yet.");
    Stage::settle();
    QCOMPARE(bar->value(), 2);
    // Another failure shows its own last lines.
    Samples::fail(stage.model, Samples::earlyEnd, 29);
    Stage::settle();
    QVERIFY(bar->maximum() > 2);
    QCOMPARE(bar->value(), bar->maximum());
}

void FailureViewTest::oddLinesAreShownQuicklyAndCopiedExactly()
{
    Stage stage;
    stage.open();
    const std::clock_t start = std::clock();
    stage.model.failureMessage = QStringLiteral("It \u202efailed.\a");
    stage.model.failureLines = Samples::oddLines();
    stage.model.state = AppState::needs(*stage.model.failureMessage.get());
    Stage::settle();
    stage.window->grab();
    QVERIFY(std::clock() - start < 5 * CLOCKS_PER_SEC);
    QCOMPARE(stage.visible<FailureView>()->findChild<TextLabel *>()->text(),
             QStringLiteral("It \ufffdfailed.\u2407"));
    Stage::click(*stage.visible<FailureView>(), QStringLiteral("Copy"));
    QCOMPARE(stage.player.pasteboard.texts.last(),
             QStringLiteral("It \u202efailed.\a\n") + Samples::oddLines().join(u'\n'));
}

void FailureViewTest::aMessageOfAHundredThousandCharactersDoesNotFreezeTheWindow()
{
    Stage stage;
    stage.open();
    const std::clock_t start = std::clock();
    stage.model.failureMessage = QString(100000, QLatin1Char('y'));
    Stage::settle();
    stage.window->grab();
    QVERIFY(std::clock() - start < 5 * CLOCKS_PER_SEC);
}

void FailureViewTest::linesThatAreTooMuchForOneTurnComeInTheNext()
{
    Stage stage;
    stage.open();
    QStringList lines;
    for (int line = 0; line < 30; ++line)
        lines << QString::number(line) + QString(40000, QLatin1Char('x'));
    stage.model.failureMessage = QStringLiteral("It failed.");
    stage.model.failureLines = lines;
    Stage::settle();
    const auto *text = stage.visible<FailureView>()->findChild<LogText *>();
    const auto shown = [text] { return text->toPlainText().remove(QLatin1Char('\n')); };
    QTRY_COMPARE(shown().size(), lines.join(QString()).size());
    QCOMPARE(shown(), lines.join(QString()));
}

QTEST_MAIN(FailureViewTest)
#include "FailureViewTest.moc"
