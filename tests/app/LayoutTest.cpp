#include "Banner.h"
#include "FailureView.h"
#include "HeaderView.h"
#include "LogText.h"
#include "LogView.h"
#include "Look.h"
#include "PlayArea.h"
#include "ScrollColumn.h"
#include "Stage.h"
#include "Table.h"

#include <QScopeGuard>
#include <QScrollBar>

#include <cstdlib>

namespace {

QString nameOf(const QWidget &widget)
{
    const auto *label = qobject_cast<const QLabel *>(&widget);
    const auto *button = qobject_cast<const QAbstractButton *>(&widget);
    const QString text = label ? label->text() : button ? button->text() : QString();
    return u"%1 \"%2\""_s.arg(QLatin1StringView(widget.metaObject()->className()), text);
}

bool isCut(const QWidget &widget)
{
    if (const auto *label = qobject_cast<const TextLabel *>(&widget))
        return !label->text().isEmpty() && label->height() < label->heightForWidth(label->width());
    if (const auto *button = qobject_cast<const QAbstractButton *>(&widget)) {
        QSize wanted = button->fontMetrics().size(Qt::TextShowMnemonic, button->text());
        if (button->hasHeightForWidth() && button->width() < wanted.width())
            wanted = QSize(button->width(), button->heightForWidth(button->width()));
        return button->width() < wanted.width() || button->height() < wanted.height();
    }
    return false;
}

/// What is cut off, reaches out of its parent or overlaps a sibling, below `top`; and whether it needs to
/// scroll sideways.
QString faults(const QWidget &top)
{
    QStringList result;
    const auto *column = top.findChild<ScrollColumn *>();
    QList<QWidget *> widgets = top.findChildren<QWidget *>();
    // What is not seen overlaps nothing, and the focus ring has to.
    widgets.removeIf(
        [](const QWidget *widget) { return !widget->isVisible() || widget->inherits("QFocusFrame"); });
    if (column->widget()->width() > column->viewport()->width()) {
        const auto narrower = [](const QWidget *one, const QWidget *other) {
            return one->minimumSizeHint().width() < other->minimumSizeHint().width();
        };
        QList<QWidget *> parts = column->widget()->findChildren<QWidget *>();
        parts.removeIf([](const QWidget *part) { return part->layout() || !part->isVisible(); });
        result << u"the column is too wide, mostly for "_s
                + nameOf(**std::max_element(parts.cbegin(), parts.cend(), narrower));
    }
    for (const QWidget *widget : std::as_const(widgets)) {
        if (isCut(*widget))
            result << nameOf(*widget) + u" is cut"_s;
        const QWidget *parent = widget->parentWidget();
        if (widget->inherits("QScrollBar") || qobject_cast<const QAbstractScrollArea *>(parent)
            || parent->inherits("QAbstractScrollAreaScrollBarContainer") || widget->isWindow())
            continue;
        const bool scrolls = parent->objectName() == "qt_scrollarea_viewport"_L1;
        if (!scrolls && !parent->rect().contains(widget->geometry()))
            result << nameOf(*widget) + u" reaches out of "_s + nameOf(*parent);
        for (const QWidget *sibling : std::as_const(widgets)) {
            if (sibling > widget && sibling->parentWidget() == parent && !sibling->isWindow()
                && sibling->geometry().intersects(widget->geometry()))
                result << nameOf(*widget) + u" overlaps "_s + nameOf(*sibling);
        }
    }
    return result.join(u'\n');
}

}

class LayoutTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void nothingIsCutOrOverlapsInAnyState_data()
    {
        const auto row = table<Samples::Scene, QSize, double>("scene", "size", "points");
        for (const Samples::Scene &scene : Samples::scenes()) {
            for (const QSize &size : { narrow, usual, QSize(1920, 1080) }) {
                for (const double points : { 8.0, 10.0, 16.0, 20.0 })
                    row(qPrintable(u"%1 %2 wide %3 pt"_s.arg(scene.name).arg(size.width()).arg(points)),
                        scene, size, points);
            }
        }
    }

    void nothingIsCutOrOverlapsInAnyState()
    {
        QFETCH(const Samples::Scene, scene);
        QFETCH(const QSize, size);
        QFETCH(const double, points);
        const Look::Desktop desktop(Look::font(points));
        scene.set(model);
        QCOMPARE(faults(open(size)), QString());
        verifyThatTheActionStandsInTheMiddle();
        verifyThatTheFailureShowsFourLines();
        const QRect column = place(visible<ScrollColumn>()->widget());
        QCOMPARE(place(button(Button::about)).bottom() + padding, column.bottom());
        QCOMPARE(place(visible<Banner>()).width() + 2 * padding, column.width());
    }

    void theUsualWindowShowsAllWithoutScrolling_data()
    {
        const auto row = table<Samples::Scene, int>("scene", "pixels");
        for (const Samples::Scene &scene : Samples::scenes()) {
            // Too much for any window of this size.
            if (QStringList { u"everything"_s, u"ready-wordy"_s, u"failure-log"_s }.contains(scene.name))
                continue;
            for (const int pixels : { 11, 13 })
                row(qPrintable(u"%1 %2 px"_s.arg(scene.name).arg(pixels)), scene, pixels);
        }
    }

    void theUsualWindowShowsAllWithoutScrolling()
    {
        QFETCH(const Samples::Scene, scene);
        QFETCH(const int, pixels);
        QFont font = QApplication::font();
        font.setPixelSize(pixels);
        const Look::Desktop desktop(font);
        scene.set(model);
        open();
        QCOMPARE(visible<ScrollColumn>()->verticalScrollBar()->maximum(), 0);
    }

    void aFailureTakesWhatIsLeftAndNoMoreThanItsLines()
    {
        model.info = Samples::game();
        Samples::fail(model, Samples::earlyEnd, 30);
        open();
        const auto lines = [this] { return visible<LogText>(*visible<FailureView>()); };
        QVERIFY(lines()->verticalScrollBar()->maximum() > 0);
        const int few = lines()->height();
        window().resize(600, 800);
        settle();
        QCOMPARE(lines()->height(), few + 80);
        window().resize(600, 1600);
        settle();
        QCOMPARE(lines()->verticalScrollBar()->maximum(), 0);
        const int all = lines()->height();
        window().resize(600, 1700);
        settle();
        QCOMPARE(lines()->height(), all);
        verifyThatTheActionStandsInTheMiddle();
        // Back in the usual window its end is shown again.
        window().resize(usual);
        settle();
        const auto *bar = lines()->verticalScrollBar();
        QCOMPARE(bar->value(), bar->maximum());
    }

    void theFocusIsInViewHoweverLargeTheText()
    {
        const Look::Desktop desktop(Look::font(20));
        model.info = Samples::game();
        Samples::fail(model, Samples::earlyEnd, 30);
        model.log.lines = Samples::lines(200);
        model.showLog = true;
        open(narrow);
        for (const Qt::Key key : { Qt::Key_Tab, Qt::Key_Backtab }) {
            for (int step = 0; step < 8; ++step) {
                const QWidget *focused = QApplication::focusWidget();
                constexpr int ring = 5;
                const QRect ringed = place(focused).adjusted(-ring, -ring, ring, ring);
                QVERIFY2(window().rect().contains(ringed), qPrintable(nameOf(*focused)));
                press(key);
            }
        }
        window().resize(560, 660);
        button(Button::about)->setFocus();
        window().resize(narrow);
        settle();
        QVERIFY(isInView(button(Button::about)));
    }

    void theFocusIsInViewInAWindowThatOpensDuringADownload()
    {
        const Look::Desktop desktop(Look::font(20));
        model.info = Samples::game();
        model.state = AppState::downloading(u"Godot 4.6"_s);
        open(narrow);
        button(Button::cancel)->setFocus();
        window().resize(usual);
        settle();
        model.stepText = u"Step 2 of 4: downloading Godot 4.6"_s;
        model.info = std::nullopt;
        settle();
        window().resize(narrow);
        set(model.info, Samples::game());
        QVERIFY(isInView(button(Button::cancel)));
    }

    void nothingMovesUnderThePointer()
    {
        open(narrow);
        window().setMinimumSize(0, 0);
        // The foot is half in view.
        const auto *about = button(Button::about);
        window().resize(560, 300);
        settle();
        auto *bar = visible<ScrollColumn>()->verticalScrollBar();
        bar->setValue(bar->maximum() - padding - about->height() / 2);
        const int value = bar->value();
        QVERIFY(!isInView(about));
        const QPoint upperEdge = place(about).topLeft() + QPoint(20, 2);
        QTest::mousePress(window().windowHandle(), Qt::LeftButton, {}, upperEdge);
        QCOMPARE(QApplication::focusWidget(), about);
        QCOMPARE(bar->value(), value);
        QTest::mouseMove(window().windowHandle(), QPoint(1, 1));
        QTest::mouseRelease(window().windowHandle(), Qt::LeftButton, {}, QPoint(1, 1));
    }

    void aDesktopThatReadsFromTheRightMirrorsTheColumn()
    {
        QApplication::setLayoutDirection(Qt::RightToLeft);
        const auto restore = qScopeGuard([] { QApplication::setLayoutDirection(Qt::LeftToRight); });
        fail(3);
        QVERIFY(place(button(Button::showLog)).left() > place(button(Button::about)).left());
        QVERIFY(place(button(Button::copy)).left() > window().width() / 2);
        const QRect title = place(label(window().windowTitle()));
        QCOMPARE(title.right(), window().width() - padding - 1);
        QCOMPARE(faults(window()), QString());
    }

    void nothingIsCutInTheSheets_data()
    {
        const auto row = table<double>("points");
        for (const double points : { 8.0, 10.0, 16.0, 18.0, 20.0 })
            row(qPrintable(u"%1 pt"_s.arg(points)), points);
    }

    void nothingIsCutInTheSheets()
    {
        QFETCH(const double, points);
        const Look::Desktop desktop(Look::font(points));
        QCOMPARE(faults(*openSettings()), QString());
        // The names of the choices stay on one line, beside their choice or above it.
        for (const TextLabel *name : labels(*front()).mid(1, 2))
            QCOMPARE_LT(name->height(), 2 * name->minimumSizeHint().height());
        click(Button::done);
        QCOMPARE(faults(*openAbout()), QString());
    }

    void aWindowThatIsTooShortScrolls()
    {
        open(narrow);
        const auto *bar = visible<ScrollColumn>()->verticalScrollBar();
        QCOMPARE(bar->maximum(), 0);
        window().setMinimumSize(0, 0);
        window().resize(560, 300);
        settle();
        QVERIFY(bar->maximum() > 0);
        // What the keyboard reaches is scrolled into view.
        const auto *about = button(Button::about);
        while (QApplication::focusWidget() != about)
            press(Qt::Key_Tab);
        QVERIFY(isInView(about));
    }

    void theTextsFollowTheDesktopsFontWhileRunning()
    {
        const auto *text = visible<TextLabel>();
        const int before = text->sizeHint().height();
        const Look::Desktop larger(Look::font(QApplication::font().pointSizeF() * 1.5));
        settle();
        QVERIFY(text->sizeHint().height() > before * 1.3);
        QCOMPARE(faults(window()), QString());
    }

    void aWordWiderThanTheWindowIsBroken()
    {
        model.info = Samples::game();
        model.info.change([](auto &game) { game->blurb = QString(500, u'w'); });
        QCOMPARE(faults(open(narrow)), QString());
        const auto *blurb = label(model.info.get()->blurb);
        QVERIFY(blurb->height() > 5 * blurb->minimumSizeHint().height());
    }

    void linesOfTextStayReadableOnAWholeScreen()
    {
        TextLabel text(TextStyle::Body);
        text.display(Samples::wordyGame().blurb);
        QVERIFY(text.heightForWidth(4000) >= 3 * text.minimumSizeHint().height());
        QCOMPARE(text.heightForWidth(4000), text.heightForWidth(2000));
    }

private:
    static constexpr int padding = 20;
    static constexpr int blockSpacing = 16;

    /// Between the facts and what comes next below it.
    void verifyThatTheActionStandsInTheMiddle()
    {
        QRect action;
        const auto parts = visible<PlayArea>()->findChildren<QWidget *>();
        for (const QWidget *part : parts) {
            if (part->isVisible())
                action |= place(part);
        }
        int next = place(button(model.showLog ? Button::hideLog : Button::showLog)).top();
        if (model.showLog)
            next = place(visible<LogView>()).top();
        if (model.notice->has_value())
            next = place(label(*model.notice.get())).top();
        if (model.failureMessage->has_value())
            next = place(visible<FailureView>()).top();
        const int above = action.top() - place(visible<HeaderView>()).bottom() - 1;
        const int below = next - action.bottom() - 1;
        QCOMPARE_GE(above, blockSpacing);
        QCOMPARE_LE(std::abs(above - below), 1);
    }

    void verifyThatTheFailureShowsFourLines()
    {
        if (model.failureLines->isEmpty())
            return;
        const auto *lines = visible<LogText>(*visible<FailureView>());
        QCOMPARE_GE(lines->verticalScrollBar()->pageStep(),
                    std::min<qsizetype>(4, model.failureLines->size()));
    }
};

QTEST_MAIN(FreshForEach<LayoutTest>)
#include "LayoutTest.moc"
