#include "FailureView.h"

#include "LogText.h"
#include "Stage.h"

#include <QScrollBar>

#include <ctime>

using namespace Qt::StringLiterals;

class FailureViewTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_stage = std::make_unique<Stage>(Stage::usual); }
    void cleanup() { m_stage.reset(); }

    void aFailureWithoutLinesShowsTheMessageAndCopyButNoBox()
    {
        m_stage->fail(0, u"There is no network."_s);
        QCOMPARE(message(), u"There is no network."_s);
        QVERIFY(!view()->findChild<LogText *>()->isVisible());
        QVERIFY(Stage::hasButton(*view(), Button::copy));
    }

    void aFailureWithLinesShowsThemJoinedInFixedWidth()
    {
        m_stage->fail(5);
        QCOMPARE(lines()->toPlainText(), Samples::lines(5).join(u'\n'));
        QCOMPARE(lines()->font().pointSizeF(), 11.0);
        QVERIFY(QFontInfo(lines()->font()).fixedPitch());
        QCOMPARE(lines()->viewport()->geometry().topLeft(), QPoint(8, 8));
    }

    void theLinesCanBeSelectedButNotChanged()
    {
        m_stage->fail(3);
        QTest::mouseDClick(lines()->viewport(), Qt::LeftButton, {}, QPoint(60, 16));
        QVERIFY(lines()->textCursor().hasSelection());
        QTest::keyClicks(lines(), u"x"_s);
        QCOMPARE(lines()->toPlainText(), Samples::lines(3).join(u'\n'));
    }

    void theViewIsThereOnlyWhileThereIsAFailure()
    {
        QVERIFY(!m_stage->shows<FailureView>());
        m_stage->fail(3);
        QVERIFY(m_stage->shows<FailureView>());
        m_stage->model.failureMessage = std::nullopt;
        m_stage->model.failureLines = QStringList();
        Stage::settle();
        QVERIFY(!m_stage->shows<FailureView>());
    }

    void theBoxGrowsWithItsLinesAndThenScrolls()
    {
        m_stage->fail(2);
        const int two = lines()->height();
        QCOMPARE(bar()->maximum(), 0);
        m_stage->fail(5);
        QVERIFY(lines()->height() > two);
        QCOMPARE(bar()->maximum(), 0);
        m_stage->fail(30);
        QCOMPARE(bar()->pageStep(), 12);
        QVERIFY(lines()->height() < 14 * lines()->fontMetrics().lineSpacing() + 16);
        QVERIFY(lines()->height() > 12 * lines()->fontMetrics().lineSpacing() + 15);
        QVERIFY(bar()->maximum() > 0);
        QCOMPARE(bar()->value(), bar()->maximum());
    }

    void theBoxStaysWhereThePlayerScrolledIt()
    {
        m_stage->fail(30);
        QCOMPARE(bar()->value(), bar()->maximum());
        bar()->setValue(2);
        m_stage->click(Button::showLog);
        QCOMPARE(bar()->value(), 2);
        m_stage->model.notice = u"a notice"_s;
        Stage::settle();
        QCOMPARE(bar()->value(), 2);
        // Another failure shows its own last lines.
        m_stage->fail(29);
        QVERIFY(bar()->maximum() > 2);
        QCOMPARE(bar()->value(), bar()->maximum());
    }

    void oddLinesAreShownQuicklyAndCopiedExactly()
    {
        const std::clock_t start = std::clock();
        m_stage->model.failureMessage = u"It \u202efailed.\a"_s;
        m_stage->model.failureLines = Samples::oddLines();
        m_stage->show(AppState::needs(*m_stage->model.failureMessage.get()));
        m_stage->window->grab();
        QVERIFY(std::clock() - start < 5 * CLOCKS_PER_SEC);
        QCOMPARE(message(), u"It \ufffdfailed.\u2407"_s);
        Stage::click(*view(), Button::copy);
        QCOMPARE(m_stage->player.pasteboard.texts,
                 QStringList { u"It \u202efailed.\a\n"_s + Samples::oddLines().join(u'\n') });
    }

    void aMessageOfAHundredThousandCharactersDoesNotFreezeTheWindow()
    {
        const std::clock_t start = std::clock();
        m_stage->fail(0, QString(100000, u'y'));
        m_stage->window->grab();
        QVERIFY(std::clock() - start < 5 * CLOCKS_PER_SEC);
    }

    void linesThatAreTooMuchForOneTurnAreAddedInTheNext()
    {
        QStringList all;
        for (int line = 0; line < 30; ++line)
            all << QString::number(line) + QString(40000, u'x');
        m_stage->model.failureMessage = u"It failed."_s;
        m_stage->model.failureLines = all;
        Stage::settle();
        const auto shown = [this] { return lines()->toPlainText().remove(u'\n'); };
        QTRY_COMPARE(shown().size(), all.join(QString()).size());
        QCOMPARE(shown(), all.join(QString()));
    }

private:
    FailureView *view() { return m_stage->visible<FailureView>(); }
    QString message() { return Stage::visible<TextLabel>(*view())->text(); }
    LogText *lines() { return Stage::visible<LogText>(*view()); }
    QScrollBar *bar() { return lines()->verticalScrollBar(); }

    std::unique_ptr<Stage> m_stage;
};

QTEST_MAIN(FailsCleanly<FailureViewTest>)
#include "FailureViewTest.moc"
