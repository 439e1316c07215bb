#include "Look.h"
#include "ScrollColumn.h"
#include "Stage.h"
#include "Table.h"

#include <QFocusFrame>
#include <QScrollBar>

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
    const auto widgets = top.findChildren<QWidget *>();
    if (column->widget()->width() > column->viewport()->width()) {
        const auto narrower = [](const QWidget *one, const QWidget *other) {
            return one->minimumSizeHint().width() < other->minimumSizeHint().width();
        };
        QList<QWidget *> parts = column->widget()->findChildren<QWidget *>();
        parts.removeIf([](const QWidget *part) { return part->layout() || !part->isVisible(); });
        result << u"the column is too wide, mostly for "_s
                + nameOf(**std::max_element(parts.cbegin(), parts.cend(), narrower));
    }
    for (const QWidget *widget : widgets) {
        // The focus ring lies over what is around its widget.
        if (!widget->isVisible() || qobject_cast<const QFocusFrame *>(widget))
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
                && !qobject_cast<const QFocusFrame *>(sibling)
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
                for (const double points : { 8.0, 10.0, 16.0 })
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
};

QTEST_MAIN(FreshForEach<LayoutTest>)
#include "LayoutTest.moc"
