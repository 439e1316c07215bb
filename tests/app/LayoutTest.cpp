#include "ContentView.h"
#include "PlayArea.h"
#include "Samples.h"
#include "ScrollColumn.h"
#include "Stage.h"
#include "TextLabel.h"

#include <QScrollBar>
#include <QStackedWidget>

namespace {

QString nameOf(const QWidget &widget)
{
    const auto *label = qobject_cast<const QLabel *>(&widget);
    const auto *button = qobject_cast<const QAbstractButton *>(&widget);
    return QStringLiteral("%1 \"%2\"")
        .arg(QLatin1StringView(widget.metaObject()->className()),
             label        ? label->text()
                 : button ? button->text()
                          : QString());
}

/// What is cut off, reaches out of its parent or overlaps a sibling, below `top`.
QStringList faults(const QWidget &top)
{
    QStringList result;
    const auto widgets = top.findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        if (!widget->isVisible())
            continue;
        if (const auto *label = qobject_cast<const TextLabel *>(widget)) {
            if (!label->text().isEmpty() && label->height() < label->heightForWidth(label->width()))
                result << nameOf(*label) + QStringLiteral(" is cut");
        }
        if (const auto *button = qobject_cast<const QAbstractButton *>(widget)) {
            QSize wanted = button->fontMetrics().size(Qt::TextShowMnemonic, button->text());
            if (button->hasHeightForWidth() && button->width() < wanted.width())
                wanted = QSize(button->width(), button->heightForWidth(button->width()));
            if (button->width() < wanted.width() || button->height() < wanted.height())
                result << nameOf(*button) + QStringLiteral(" is cut");
        }
        if (widget->inherits("QScrollBar")
            || qobject_cast<const QAbstractScrollArea *>(widget->parentWidget())
            || widget->parentWidget()->inherits("QAbstractScrollAreaScrollBarContainer"))
            continue;
        const QWidget *parent = widget->parentWidget();
        const bool scrolls = parent->objectName() == QLatin1StringView("qt_scrollarea_viewport");
        if (!widget->isWindow() && !scrolls && !parent->rect().contains(widget->geometry()))
            result << nameOf(*widget) + QStringLiteral(" reaches out of ") + nameOf(*parent);
        const auto siblings = parent->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
        for (const QWidget *sibling : siblings) {
            if (sibling > widget && sibling->isVisible() && !sibling->isWindow() && !widget->isWindow()
                && sibling->geometry().intersects(widget->geometry()))
                result << nameOf(*widget) + QStringLiteral(" overlaps ") + nameOf(*sibling);
        }
    }
    return result;
}

bool fitsItsWidth(const ScrollColumn &column)
{
    return column.widget()->width() <= column.viewport()->width();
}

}

class LayoutTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nothingIsCutOrOverlapsInAnyState_data();
    void nothingIsCutOrOverlapsInAnyState();
    void nothingIsCutInTheSheets_data();
    void nothingIsCutInTheSheets();
    void aWindowThatIsTooShortScrolls();
    void theTextsFollowTheDesktopsFontWhileRunning();
    void aWordWiderThanTheWindowIsBroken();
    void linesOfTextStayReadableOnAWholeScreen();
};

void LayoutTest::nothingIsCutOrOverlapsInAnyState_data()
{
    QTest::addColumn<int>("scene");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<double>("points");
    const auto scenes = Samples::scenes();
    for (int scene = 0; scene < scenes.size(); ++scene) {
        for (const QSize &size : { QSize(560, 640), QSize(600, 720), QSize(1920, 1080) }) {
            for (const double points : { 8.0, 10.0, 16.0 })
                QTest::addRow("%s %dx%d %.0f pt", qPrintable(scenes.at(scene).name), size.width(),
                              size.height(), points)
                    << scene << size << points;
        }
    }
}

void LayoutTest::nothingIsCutOrOverlapsInAnyState()
{
    QFETCH(const int, scene);
    QFETCH(const QSize, size);
    QFETCH(const double, points);
    const QFont before = QApplication::font();
    QFont font = before;
    font.setPointSizeF(points);
    QApplication::setFont(font);
    {
        Stage stage;
        Samples::scenes().at(scene).set(stage.model);
        stage.open(size);
        QCOMPARE(faults(*stage.window), QStringList());
        QVERIFY(fitsItsWidth(*stage.visible<ScrollColumn>()));
    }
    QApplication::setFont(before);
}

void LayoutTest::nothingIsCutInTheSheets_data()
{
    QTest::addColumn<double>("points");
    for (const double points : { 8.0, 10.0, 16.0, 18.0, 20.0 })
        QTest::addRow("%.0f pt", points) << points;
}

void LayoutTest::nothingIsCutInTheSheets()
{
    QFETCH(const double, points);
    const QFont before = QApplication::font();
    QFont font = before;
    font.setPointSizeF(points);
    QApplication::setFont(font);
    {
        Stage stage;
        stage.open();
        stage.window->findChild<ContentView *>()->showSettings();
        Stage::settle();
        QCOMPARE(faults(*QApplication::activeModalWidget()).join(u'\n'), QString());
        QVERIFY(fitsItsWidth(*QApplication::activeModalWidget()->findChild<ScrollColumn *>()));
        QApplication::activeModalWidget()->close();
        Stage::settle();
        stage.window->findChild<ContentView *>()->showAbout();
        Stage::settle();
        QCOMPARE(faults(*QApplication::activeModalWidget()).join(u'\n'), QString());
        QVERIFY(fitsItsWidth(*QApplication::activeModalWidget()->findChild<ScrollColumn *>()));
    }
    QApplication::setFont(before);
}

void LayoutTest::aWindowThatIsTooShortScrolls()
{
    Stage stage;
    stage.open(QSize(560, 640));
    const auto *bar = stage.visible<ScrollColumn>()->verticalScrollBar();
    QCOMPARE(bar->maximum(), 0);
    stage.window->setMinimumSize(0, 0);
    stage.window->resize(560, 300);
    Stage::settle();
    QVERIFY(bar->maximum() > 0);
    // What the keyboard reaches is scrolled into view.
    auto *about = Stage::button(*stage.window, QStringLiteral("About"));
    while (QApplication::focusWidget() != about)
        QTest::keyClick(stage.window->windowHandle(), Qt::Key_Tab);
    QVERIFY(
        stage.window->rect().contains(QRect(about->mapTo(stage.window.get(), QPoint(0, 0)), about->size())));
}

void LayoutTest::theTextsFollowTheDesktopsFontWhileRunning()
{
    Stage stage;
    stage.open();
    const auto labels = stage.window->findChildren<TextLabel *>();
    const int before = labels.first()->sizeHint().height();
    const QFont desktop = QApplication::font();
    QFont larger = desktop;
    larger.setPointSizeF(desktop.pointSizeF() * 1.5);
    QApplication::setFont(larger);
    Stage::settle();
    QVERIFY(labels.first()->sizeHint().height() > before * 1.3);
    QCOMPARE(faults(*stage.window), QStringList());
    QApplication::setFont(desktop);
}

void LayoutTest::aWordWiderThanTheWindowIsBroken()
{
    Stage stage;
    ProjectInfo game = Samples::game();
    game.blurb = QString(500, QLatin1Char('w'));
    stage.model.info = game;
    stage.open(QSize(560, 640));
    QCOMPARE(faults(*stage.window), QStringList());
    const auto labels = stage.window->findChildren<TextLabel *>();
    const auto blurb = std::find_if(labels.begin(), labels.end(),
                                    [&game](const TextLabel *label) { return label->text() == game.blurb; });
    QVERIFY((*blurb)->height() > 5 * (*blurb)->minimumSizeHint().height());
}

void LayoutTest::linesOfTextStayReadableOnAWholeScreen()
{
    TextLabel label(TextStyle::Body);
    label.display(Samples::wordyGame().blurb);
    QVERIFY(label.heightForWidth(4000) >= 3 * label.minimumSizeHint().height());
    QCOMPARE(label.heightForWidth(4000), label.heightForWidth(2000));
}

QTEST_MAIN(LayoutTest)
#include "LayoutTest.moc"
