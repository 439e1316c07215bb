#include "Look.h"
#include "ScrollColumn.h"
#include "Stage.h"

#include <QScrollBar>

using namespace Qt::StringLiterals;

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
    if (column->widget()->width() > column->viewport()->width())
        result << u"the column is too wide"_s;
    for (const QWidget *widget : top.findChildren<QWidget *>()) {
        if (!widget->isVisible())
            continue;
        if (isCut(*widget))
            result << nameOf(*widget) + u" is cut"_s;
        const QWidget *parent = widget->parentWidget();
        if (widget->inherits("QScrollBar") || qobject_cast<const QAbstractScrollArea *>(parent)
            || parent->inherits("QAbstractScrollAreaScrollBarContainer") || widget->isWindow())
            continue;
        const bool scrolls = parent->objectName() == "qt_scrollarea_viewport"_L1;
        if (!scrolls && !parent->rect().contains(widget->geometry()))
            result << nameOf(*widget) + u" reaches out of "_s + nameOf(*parent);
        for (const QWidget *sibling :
             parent->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
            if (sibling > widget && sibling->isVisible() && !sibling->isWindow()
                && sibling->geometry().intersects(widget->geometry()))
                result << nameOf(*widget) + u" overlaps "_s + nameOf(*sibling);
        }
    }
    return result.join(u'\n');
}

}

class LayoutTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nothingIsCutOrOverlapsInAnyState_data()
    {
        QTest::addColumn<Samples::Scene>("scene");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<double>("points");
        for (const Samples::Scene &scene : Samples::scenes()) {
            for (const QSize &size : { Stage::narrow, Stage::usual, QSize(1920, 1080) }) {
                for (const double points : { 8.0, 10.0, 16.0 })
                    QTest::addRow("%s %dx%d %.0f pt", qPrintable(scene.name), size.width(), size.height(),
                                  points)
                        << scene << size << points;
            }
        }
    }

    void nothingIsCutOrOverlapsInAnyState()
    {
        QFETCH(const Samples::Scene, scene);
        QFETCH(const QSize, size);
        QFETCH(const double, points);
        const Look::Font desktop(points);
        Stage stage;
        scene.set(stage.model);
        stage.open(size);
        QCOMPARE(faults(*stage.window), QString());
    }

    void nothingIsCutInTheSheets_data()
    {
        QTest::addColumn<double>("points");
        for (const double points : { 8.0, 10.0, 16.0, 18.0, 20.0 })
            QTest::addRow("%.0f pt", points) << points;
    }

    void nothingIsCutInTheSheets()
    {
        QFETCH(const double, points);
        const Look::Font desktop(points);
        Stage stage;
        QCOMPARE(faults(*stage.openSettings()), QString());
        // The names of the choices stay on one line, beside their choice or above it.
        for (const TextLabel *name : Stage::labels(*stage.front()).mid(1, 2))
            QCOMPARE_LT(name->height(), 2 * name->minimumSizeHint().height());
        stage.click(Button::done);
        QCOMPARE(faults(*stage.openAbout()), QString());
    }

    void aWindowThatIsTooShortScrolls()
    {
        const Stage stage(Stage::narrow);
        const auto *bar = stage.visible<ScrollColumn>()->verticalScrollBar();
        QCOMPARE(bar->maximum(), 0);
        stage.window->setMinimumSize(0, 0);
        stage.window->resize(560, 300);
        Stage::settle();
        QVERIFY(bar->maximum() > 0);
        // What the keyboard reaches is scrolled into view.
        const auto *about = stage.button(Button::about);
        while (QApplication::focusWidget() != about)
            stage.press(Qt::Key_Tab);
        QVERIFY(stage.window->rect().contains(stage.place(about)));
    }

    void theTextsFollowTheDesktopsFontWhileRunning()
    {
        const Stage stage(Stage::usual);
        const auto *label = stage.visible<TextLabel>();
        const int before = label->sizeHint().height();
        const Look::Font larger(QApplication::font().pointSizeF() * 1.5);
        Stage::settle();
        QVERIFY(label->sizeHint().height() > before * 1.3);
        QCOMPARE(faults(*stage.window), QString());
    }

    void aWordWiderThanTheWindowIsBroken()
    {
        Stage stage;
        ProjectInfo game = Samples::game();
        game.blurb = QString(500, u'w');
        stage.model.info = game;
        stage.open(Stage::narrow);
        QCOMPARE(faults(*stage.window), QString());
        const auto *blurb = Stage::label(*stage.window, game.blurb);
        QVERIFY(blurb->height() > 5 * blurb->minimumSizeHint().height());
    }

    void linesOfTextStayReadableOnAWholeScreen()
    {
        TextLabel label(TextStyle::Body);
        label.display(Samples::wordyGame().blurb);
        QVERIFY(label.heightForWidth(4000) >= 3 * label.minimumSizeHint().height());
        QCOMPARE(label.heightForWidth(4000), label.heightForWidth(2000));
    }
};

QTEST_MAIN(FailsCleanly<LayoutTest>)
#include "LayoutTest.moc"
