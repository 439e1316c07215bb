#include "FailureView.h"

#include "LogText.h"
#include "Stage.h"
#include "TypeScale.h"

#include <QScrollBar>

#include <ctime>

class FailureViewTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void aFailureWithoutLinesShowsTheMessageAndCopyButNoBox()
    {
        fail(0, u"There is no network."_s);
        QCOMPARE(message(), u"There is no network."_s);
        QVERIFY(!view()->findChild<LogText *>()->isVisible());
        QVERIFY(hasButton(Button::copy));
    }

    void aFailureWithLinesShowsThemJoinedInFixedWidthToBeSelectedButNotChanged()
    {
        fail(5);
        QCOMPARE(lines()->font().pointSizeF(), TypeScale::fixedWidth().pointSizeF());
        QVERIFY(QFontInfo(lines()->font()).fixedPitch());
        QCOMPARE(lines()->viewport()->geometry().topLeft(), QPoint(8, 8));
        QTest::mouseDClick(lines()->viewport(), Qt::LeftButton, {}, QPoint(60, 12));
        QVERIFY(lines()->textCursor().hasSelection());
        QTest::keyClicks(lines(), u"x"_s);
        QCOMPARE(lines()->toPlainText(), Samples::lines(5).join(u'\n'));
    }

    void theViewIsThereOnlyWhileThereIsAFailure()
    {
        QVERIFY(!shows<FailureView>());
        fail(3);
        QVERIFY(shows<FailureView>());
        model.failureLines = QStringList();
        set(model.failureMessage, std::nullopt);
        QVERIFY(!shows<FailureView>());
    }

    void theBoxGrowsWithItsLinesAndThenScrolls()
    {
        set(model.info, Samples::game());
        fail(2);
        const int two = lines()->height();
        QCOMPARE(bar()->maximum(), 0);
        fail(5);
        QVERIFY(lines()->height() > two);
        QCOMPARE(bar()->maximum(), 0);
        fail(30);
        QVERIFY(bar()->maximum() > 0);
        QVERIFY(isAtEnd());
        QVERIFY(bar()->pageStep() >= 4);
    }

    void theBoxStaysWhereThePlayerScrolledIt()
    {
        fail(30);
        QVERIFY(isAtEnd());
        bar()->setValue(2);
        click(Button::showLog);
        set(model.notice, u"a notice"_s);
        QCOMPARE(bar()->value(), 2);
        // Another failure shows its own last lines.
        fail(29);
        QVERIFY(bar()->maximum() > 2);
        QVERIFY(isAtEnd());
    }

    void oddLinesAreShownQuicklyAndCopiedExactly()
    {
        const std::clock_t start = std::clock();
        model.failureMessage = u"It \u202efailed.\a"_s;
        model.failureLines = Samples::oddLines();
        show(AppState::needs(*model.failureMessage.get()));
        window().grab();
        QVERIFY(std::clock() - start < 5 * CLOCKS_PER_SEC);
        QCOMPARE(message(), u"It \ufffdfailed.\u2407"_s);
        click(Button::copy);
        QCOMPARE(player.pasteboard.texts,
                 QStringList { u"It \u202efailed.\a\n"_s + Samples::oddLines().join(u'\n') });
    }

    void aMessageOfAHundredThousandCharactersDoesNotFreezeTheWindow()
    {
        const std::clock_t start = std::clock();
        fail(0, QString(100000, u'y'));
        window().grab();
        QVERIFY(std::clock() - start < 5 * CLOCKS_PER_SEC);
    }

    void linesThatAreTooMuchForOneTurnAreAddedInTheNext()
    {
        QStringList all;
        for (int line = 0; line < 30; ++line)
            all << QString::number(line) + QString(40000, u'x');
        model.failureMessage = u"It failed."_s;
        set(model.failureLines, all);
        const auto shown = [this] { return lines()->toPlainText().remove(u'\n'); };
        QTRY_COMPARE(shown().size(), all.join(QString()).size());
        QCOMPARE(shown(), all.join(QString()));
    }

private:
    FailureView *view() { return visible<FailureView>(); }
    QString message() { return visible<TextLabel>(*view())->text(); }
    LogText *lines() { return visible<LogText>(*view()); }
    QScrollBar *bar() { return lines()->verticalScrollBar(); }
    bool isAtEnd() { return bar()->maximum() > 0 && bar()->value() == bar()->maximum(); }
};

QTEST_MAIN(FreshForEach<FailureViewTest>)
#include "FailureViewTest.moc"
