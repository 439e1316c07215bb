#include "Contrast.h"
#include "FocusRing.h"
#include "LauncherStyle.h"
#include "Measures.h"
#include "Pixels.h"
#include "Table.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QFocusFrame>
#include <QMenu>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyleOptionSlider>
#include <QVBoxLayout>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr Qt::Corner corners[] { Qt::TopLeftCorner, Qt::TopRightCorner, Qt::BottomLeftCorner,
                                 Qt::BottomRightCorner };

/// A dialog with the launcher's style, in which each widget stands alone in a row.
class Bench final {
public:
    explicit Bench(const Appearance &appearance = {})
    {
        setAppearance(appearance);
        auto *rows = new QVBoxLayout(&m_dialog);
        rows->setContentsMargins(margin, margin, margin, margin);
        rows->setSpacing(margin);
        rows->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    }

    static constexpr int margin = 20;

    static LauncherStyle &style() { return *qobject_cast<LauncherStyle *>(QApplication::style()); }
    static const Tokens &tokens() { return style().tokens(); }
    static void setAppearance(const Appearance &appearance)
    {
        if (!qobject_cast<LauncherStyle *>(QApplication::style()))
            QApplication::setStyle(new LauncherStyle(appearance));
        style().setAppearance(appearance);
    }

    template <typename Widget, typename... Arguments> Widget *add(Arguments &&...arguments)
    {
        auto *widget = new Widget(std::forward<Arguments>(arguments)...);
        m_dialog.layout()->addWidget(widget);
        return widget;
    }
    /// One that neither has nor takes the focus by itself.
    QPushButton *addButton(const QString &text = u"About"_s)
    {
        auto *button = add<QPushButton>(text);
        button->setAutoDefault(false);
        return button;
    }

    QDialog &dialog() { return m_dialog; }
    void show()
    {
        m_dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&m_dialog));
    }
    QImage picture(const QWidget &part, int around = 0) { return Pixels::of(m_dialog, part, around); }

private:
    QDialog m_dialog;
};

/// What a translucent colour looks like on the window.
QColor onWindow(const QColor &colour)
{
    return QColor::fromRgb(Contrast::over(colour, Bench::tokens().window).rgb());
}

/// A fully covered pixel of the filling: inside the edge, and beside any text.
QColor fillOf(const QImage &control) { return control.pixelColor(5, control.height() / 2); }

Pixels::Predicate isNear(const QColor &colour)
{
    return [colour](const QColor &pixel) { return Pixels::distance(pixel, colour) <= 3; };
}

QFocusFrame *ringIn(QWidget &window)
{
    const auto rings = window.findChildren<QFocusFrame *>();
    for (QFocusFrame *ring : rings) {
        if (ring->isVisible())
            return ring;
    }
    return nullptr;
}

QRect placeIn(const QWidget &window, const QWidget &part)
{
    return { part.mapTo(&window, QPoint(0, 0)), part.size() };
}

constexpr int reach = Measures::focusGap + Measures::focusRing;

}

class StyleTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QFont font = QApplication::font();
        font.setPixelSize(13);
        QApplication::setFont(font);
    }

    void controlsAreThirtyHighAndHigherWithALargerText_data()
    {
        const auto row = table<int, int>("pixels", "beyondText");
        const auto asItComes = 0;
        row("a small text", 10, asItComes);
        row("the usual text", 13, asItComes);
        row("a large text", 26, 12);
    }

    void controlsAreThirtyHighAndHigherWithALargerText()
    {
        QFETCH(const int, pixels);
        QFETCH(const int, beyondText);
        Bench bench;
        QFont font = QApplication::font();
        font.setPixelSize(pixels);
        auto *choice = bench.add<QComboBox>();
        choice->addItem(u"Game default"_s);
        for (QWidget *control :
             { static_cast<QWidget *>(bench.addButton()), static_cast<QWidget *>(choice) }) {
            control->setFont(font);
            QCOMPARE(control->sizeHint().height(),
                     beyondText > 0 ? QFontMetrics(font).height() + beyondText : 30);
        }
    }

    void aButtonIsAtLeastAsWideAsItsNeighboursAndHasRoomBesideItsText()
    {
        Bench bench;
        QCOMPARE(bench.addButton(u"OK"_s)->sizeHint().width(), 84);
        const QPushButton *wide = bench.addButton(u"A button with a long text"_s);
        QCOMPARE(wide->sizeHint().width(),
                 wide->fontMetrics().size(Qt::TextShowMnemonic, wide->text()).width() + 30);
    }

    void aButtonIsFlatAndRoundWithAHairline_data()
    {
        const auto row = table<Appearance::Scheme>("scheme");
        row("light", Appearance::Scheme::Light);
        row("dark", Appearance::Scheme::Dark);
    }

    void aButtonIsFlatAndRoundWithAHairline()
    {
        QFETCH(const Appearance::Scheme, scheme);
        Bench bench({ .scheme = scheme });
        const QPushButton *button = bench.addButton();
        bench.show();
        const QImage image = bench.picture(*button);
        const Tokens &tokens = Bench::tokens();
        QCOMPARE_LE(Pixels::distance(fillOf(image), onWindow(tokens.control)), 1);
        // From above to below it is the same.
        QCOMPARE(image.pixelColor(12, 2), image.pixelColor(12, image.height() - 3));
        const QColor edge
            = QColor::fromRgb(Contrast::over(tokens.controlEdge, onWindow(tokens.control)).rgb());
        for (const QPoint &place :
             { QPoint(image.width() / 2, 0), QPoint(image.width() / 2, image.height() - 1),
               QPoint(0, image.height() / 2), QPoint(image.width() - 1, image.height() / 2) })
            QCOMPARE_LE(Pixels::distance(image.pixelColor(place), edge), 1);
        QCOMPARE_LE(Pixels::distance(image.pixelColor(image.width() / 2, 1), onWindow(tokens.control)), 1);
    }

    void theDefaultButtonIsRoundAndFilledWithTheAccentColour()
    {
        Bench bench;
        auto *done = bench.add<QPushButton>(u"Done"_s);
        done->setDefault(true);
        done->setFocusPolicy(Qt::NoFocus);
        bench.show();
        const QImage image = bench.picture(*done);
        QCOMPARE(fillOf(image), Bench::tokens().accent);
        Pixels::verifyCorners(image, Bench::tokens().window, static_cast<int>(Measures::buttonRadius));
        QCOMPARE_GT(Contrast::between(Pixels::ink(image, fillOf(image)), fillOf(image)), 4);
    }

    void aButtonDoesNotMoveItsNeighboursWhenItBecomesTheDefaultOne()
    {
        Bench bench;
        auto *done = bench.add<QPushButton>(u"A button with a long text"_s);
        const QSize before = done->sizeHint();
        done->setDefault(true);
        QCOMPARE(done->sizeHint(), before);
    }

    void theFocusFillsAButtonOfADialogOnly()
    {
        Bench bench;
        auto *inDialog = bench.add<QPushButton>(u"Keep Playing"_s);
        bench.show();
        inDialog->setFocus();
        QCOMPARE(fillOf(bench.picture(*inDialog)), Bench::tokens().accent);

        QWidget window;
        auto *rows = new QVBoxLayout(&window);
        auto *inWindow = new QPushButton(u"Settings"_s);
        inWindow->setAutoDefault(true); // Return presses it while it has the focus
        rows->addWidget(inWindow);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        inWindow->setFocus();
        QVERIFY(inWindow->isDefault());
        QCOMPARE_LE(
            Pixels::distance(fillOf(Pixels::of(window, *inWindow)), onWindow(Bench::tokens().control)), 1);
    }

    void aButtonShowsThatItIsPointedAtAndPressedAndDisabled()
    {
        Bench bench;
        QPushButton *button = bench.addButton();
        bench.show();
        const auto seen = [&] { return fillOf(bench.picture(*button)); };
        const Tokens &tokens = Bench::tokens();
        button->setAttribute(Qt::WA_UnderMouse);
        QCOMPARE_LE(Pixels::distance(seen(), onWindow(tokens.controlHover)), 1);
        button->setDown(true);
        QCOMPARE_LE(Pixels::distance(seen(), onWindow(tokens.controlPressed)), 1);
        button->setDown(false);
        button->setAttribute(Qt::WA_UnderMouse, false);
        const QColor inkBefore = Pixels::ink(bench.picture(*button), tokens.window);
        button->setEnabled(false);
        QColor faded = tokens.control;
        faded.setAlphaF(faded.alphaF() * 0.4F);
        QCOMPARE_LE(Pixels::distance(seen(), onWindow(faded)), 1);
        QCOMPARE_LT(Contrast::between(Pixels::ink(bench.picture(*button), tokens.window), tokens.window),
                    Contrast::between(inkBefore, tokens.window) / 2);
    }

    void anEllipsisStaysAtTheEndOnADesktopThatReadsFromTheRight()
    {
        Bench bench;
        QPushButton *button = bench.addButton(u"Settings\u2026"_s);
        bench.show();
        const QImage fromLeft = bench.picture(*button);
        button->setLayoutDirection(Qt::RightToLeft);
        QCOMPARE(bench.picture(*button), fromLeft);
    }

    void aDestructiveButtonIsWrittenInRed()
    {
        Bench bench;
        QPushButton *button = bench.addButton(u"Remove everything\u2026"_s);
        button->setProperty(LauncherStyle::destructiveProperty, true);
        bench.show();
        const QImage image = bench.picture(*button);
        QCOMPARE_LE(Pixels::distance(fillOf(image), onWindow(Bench::tokens().control)), 1);
        QCOMPARE_GT(
            Pixels::find(image, image.rect().adjusted(12, 6, -12, -6), isNear(Bench::tokens().failure)).count,
            5);
    }

    void aBarIsFilledFromItsBeginning_data()
    {
        const auto row = table<Qt::LayoutDirection, int, QRect>("direction", "value", "filled");
        row("nothing yet", Qt::LeftToRight, 0, {});
        row("42 percent", Qt::LeftToRight, 42, { 0, 0, 84, 8 });
        row("all", Qt::LeftToRight, 100, { 0, 0, 200, 8 });
        row("42 percent from the right", Qt::RightToLeft, 42, { 116, 0, 84, 8 });
    }

    void aBarIsFilledFromItsBeginning()
    {
        QFETCH(const Qt::LayoutDirection, direction);
        QFETCH(const int, value);
        QFETCH(const QRect, filled);
        Bench bench;
        auto *bar = bench.add<QProgressBar>();
        QCOMPARE(bar->sizeHint().height(), 8);
        bar->setFixedSize(200, 8);
        bar->setLayoutDirection(direction);
        bar->setValue(value);
        bench.show();
        const QImage image = bench.picture(*bar);
        // The pixels at its round ends are covered in part.
        const auto isFilled
            = [](const QColor &pixel) { return Pixels::distance(pixel, Bench::tokens().mark) < 32; };
        QCOMPARE(Pixels::find(image, image.rect(), isFilled).bounds, filled);
        if (value < 50) {
            const QColor track = image.pixelColor(direction == Qt::LeftToRight ? 150 : 50, 4);
            QCOMPARE_LE(Pixels::distance(track, onWindow(Bench::tokens().barTrack)), 1);
        }
        for (const Qt::Corner corner : corners)
            QCOMPARE_LT(std::abs(Pixels::cornerRadius(image, corner, Bench::tokens().window, 5) - 4), 1);
    }

    void aBarOfUnknownLengthMovesWhileItIsSeen()
    {
        Bench bench;
        auto *bar = bench.add<QProgressBar>();
        bar->setFixedSize(200, 8);
        bar->setRange(0, 0);
        QVERIFY(!Bench::style().isMoving());
        bench.show();
        const QImage before = bench.picture(*bar);
        QTRY_VERIFY(bench.picture(*bar) != before);
        QVERIFY(Bench::style().isMoving());

        bar->setRange(0, 100);
        QTRY_VERIFY(!Bench::style().isMoving());
        bar->setRange(0, 0);
        QTRY_VERIFY(Bench::style().isMoving());
        bench.dialog().hide();
        QTRY_VERIFY(!Bench::style().isMoving());
    }

    void withReducedMotionABarOfUnknownLengthIsStripedAndNothingMoves()
    {
        Bench bench({ .motion = Appearance::Motion::Reduced });
        auto *bar = bench.add<QProgressBar>();
        bar->setFixedSize(200, 8);
        bar->setRange(0, 0);
        bench.show();
        const QImage before = bench.picture(*bar);
        const Pixels::Found stripes = Pixels::find(before, before.rect(), isNear(Bench::tokens().mark));
        QVERIFY(stripes.count > 200 * 8 / 4 && stripes.count < 200 * 8 * 3 / 4);
        QCOMPARE_GT(stripes.bounds.width(), 190);
        QTest::qWait(100);
        QCOMPARE(bench.picture(*bar), before);
        QVERIFY(!Bench::style().isMoving());
        QCOMPARE(Bench::style().styleHint(QStyle::SH_Widget_Animation_Duration), 0);
        Bench::setAppearance({});
        QCOMPARE(Bench::style().styleHint(QStyle::SH_Widget_Animation_Duration), 160);
        QTRY_VERIFY(Bench::style().isMoving());
    }

    void aScrollBarIsThinAndCanStillBeGrabbed_data()
    {
        const auto row = table<Qt::Orientation>("orientation");
        row("vertical", Qt::Vertical);
        row("horizontal", Qt::Horizontal);
    }

    void aScrollBarIsThinAndCanStillBeGrabbed()
    {
        QFETCH(const Qt::Orientation, orientation);
        const bool isVertical = orientation == Qt::Vertical;
        Bench bench;
        auto *bar = bench.add<QScrollBar>(orientation);
        bar->setRange(0, 100);
        bar->setPageStep(100);
        bar->setFixedSize(isVertical ? QSize(bar->sizeHint().width(), 200)
                                     : QSize(200, bar->sizeHint().height()));
        bench.show();
        const auto along = [&](int from, int length) {
            return isVertical ? QRect(0, from, 12, length) : QRect(from, 0, length, 12);
        };
        QStyleOptionSlider option;
        option.initFrom(bar);
        option.orientation = orientation;
        option.maximum = 100;
        option.pageStep = 100;
        const auto part = [&](QStyle::SubControl control) {
            return Bench::style().subControlRect(QStyle::CC_ScrollBar, &option, control, bar);
        };
        QCOMPARE(part(QStyle::SC_ScrollBarSlider), along(0, 100));
        QCOMPARE(part(QStyle::SC_ScrollBarAddPage), along(100, 100));
        QVERIFY(part(QStyle::SC_ScrollBarAddLine).isEmpty());

        const QImage image = bench.picture(*bar);
        const QColor thumb = onWindow(Bench::tokens().scrollThumb);
        // The pixels at its round ends are covered in part.
        const QRect seen = along(1, 98).adjusted(3, 3, -3, -3);
        QCOMPARE(Pixels::find(image, image.rect(), isNear(thumb)).bounds, seen);
        QCOMPARE(image.pixelColor(isVertical ? QPoint(6, 150) : QPoint(150, 6)), Bench::tokens().window);

        // Beside what is seen of it, it is grabbed as well.
        const QPoint beside = isVertical ? QPoint(0, 50) : QPoint(50, 0);
        QTest::mousePress(bar, Qt::LeftButton, {}, beside);
        QVERIFY(bar->isSliderDown());
        QCOMPARE_GE(Pixels::find(bench.picture(*bar), image.rect(),
                                 isNear(onWindow(Bench::tokens().scrollThumbHover)))
                        .count,
                    400);
        QTest::mouseRelease(bar, Qt::LeftButton, {}, beside);
    }

    void aChoiceHasItsArrowsAtItsEnd_data()
    {
        const auto row = table<Qt::LayoutDirection>("direction");
        row("left to right", Qt::LeftToRight);
        row("right to left", Qt::RightToLeft);
    }

    void aChoiceHasItsArrowsAtItsEnd()
    {
        QFETCH(const Qt::LayoutDirection, direction);
        Bench bench;
        auto *choice = bench.add<QComboBox>();
        choice->addItems({ u"Game default"_s, u"1280x720"_s });
        choice->setFocusPolicy(Qt::NoFocus);
        choice->setLayoutDirection(direction);
        choice->setFixedWidth(200);
        bench.show();
        const QImage image = bench.picture(*choice);
        QCOMPARE_LE(Pixels::distance(fillOf(image), onWindow(Bench::tokens().control)), 1);
        const auto isInk
            = [](const QColor &pixel) { return Contrast::between(pixel, Bench::tokens().window) > 3; };
        const auto [left, right] = Pixels::cutAtWidestGap(image, image.rect().adjusted(2, 2, -2, -2), isInk);
        const bool fromRight = direction == Qt::RightToLeft;
        const QRect arrows = fromRight ? left.bounds : right.bounds;
        const QRect text = fromRight ? right.bounds : left.bounds;
        QCOMPARE_LE(arrows.width(), 10);
        QCOMPARE_LE(std::abs(arrows.center().y() - image.height() / 2), 1);
        const int beside = fromRight ? arrows.left() : image.width() - 1 - arrows.right();
        QVERIFY(beside >= 10 && beside <= 13);
        const int before = fromRight ? image.width() - 1 - text.right() : text.left();
        QVERIFY(before >= 9 && before <= 12);
    }

    void theChosenEntryOfAListIsFilled()
    {
        Bench bench;
        auto *choice = bench.add<QComboBox>();
        choice->addItems({ u"Game default"_s, u"1280x720"_s });
        bench.show();
        choice->showPopup();
        QTRY_VERIFY(QApplication::activePopupWidget());
        QWidget *list = QApplication::activePopupWidget();
        const QImage image = list->grab().toImage();
        QCOMPARE_GT(Pixels::find(image, image.rect(), isNear(Bench::tokens().accent)).count, 500);
        QCOMPARE_GT(Pixels::find(image, image.rect(), isNear(Bench::tokens().sheet)).count, 500);
        choice->hidePopup();
    }

    void theFocusRingLiesAroundTheWidget()
    {
        Bench bench;
        QPushButton *button = bench.addButton();
        bench.show();
        button->setFocus(Qt::TabFocusReason);
        const QImage image = bench.picture(*button, Bench::margin);
        const QRect expected = QRect(QPoint(Bench::margin, Bench::margin), button->size())
                                   .adjusted(-reach, -reach, reach, reach);
        const auto isRing = isNear(Bench::tokens().mark);
        QCOMPARE(Pixels::find(image, image.rect(), isRing).bounds, expected);
        const int middle = expected.center().y();
        for (int x = 0; x < reach; ++x) {
            const QColor pixel = image.pixelColor(expected.left() + x, middle);
            QCOMPARE(isRing(pixel), x < Measures::focusRing);
            if (x >= Measures::focusRing)
                QCOMPARE(pixel, Bench::tokens().window);
        }
    }

    void theFocusRingHasTheRadiusOfItsWidget()
    {
        Bench bench;
        QPushButton *button = bench.addButton();
        button->setFixedSize(120, 60);
        QCOMPARE(FocusRing::radiusOf(*button), 8.0);
        QCOMPARE(FocusRing::radiusOf(*bench.add<QPlainTextEdit>()), 6.0);
        bench.show();
        button->setFocus(Qt::TabFocusReason);
        for (const int radius : { 8, 14 }) {
            button->setProperty(FocusRing::radiusProperty, static_cast<double>(radius));
            // On the way in from the ring's corner along the diagonal.
            QImage image = bench.picture(*button, reach);
            int way = 0;
            while (!isNear(Bench::tokens().mark)(image.pixelColor(way, way)))
                ++way;
            const double expected = (radius + reach) * (1 - 1 / std::sqrt(2.0));
            QCOMPARE_LE(std::abs(way - expected), 1.5);
        }
    }

    void theFocusRingIsShownUnlessTheMouseBroughtTheFocus_data()
    {
        const auto row = table<Qt::FocusReason, bool>("reason", "isShown");
        row("the Tab key", Qt::TabFocusReason, true);
        row("the Tab key backwards", Qt::BacktabFocusReason, true);
        row("a shortcut", Qt::ShortcutFocusReason, true);
        row("the program", Qt::OtherFocusReason, true);
        row("the mouse", Qt::MouseFocusReason, false);
    }

    void theFocusRingIsShownUnlessTheMouseBroughtTheFocus()
    {
        QFETCH(const Qt::FocusReason, reason);
        QFETCH(const bool, isShown);
        Bench bench;
        bench.addButton();
        QPushButton *button = bench.addButton();
        bench.show();
        button->setFocus(reason);
        QCOMPARE(ringIn(bench.dialog()) != nullptr, isShown);

        // The same after another window had the focus.
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QVERIFY(!ringIn(bench.dialog()));
        bench.dialog().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&bench.dialog()));
        QCOMPARE(ringIn(bench.dialog()) != nullptr, isShown);
    }

    void theFocusRingFollowsItsWidget()
    {
        Bench bench;
        QPushButton *first = bench.addButton();
        QPushButton *second = bench.addButton();
        bench.show();
        const auto surrounds = [&](const QWidget &widget) {
            const QFocusFrame *ring = ringIn(bench.dialog());
            return ring
                && placeIn(bench.dialog(), *ring)
                == placeIn(bench.dialog(), widget).adjusted(-reach, -reach, reach, reach);
        };
        first->setFocus();
        QVERIFY(surrounds(*first));
        second->setFocus();
        QVERIFY(surrounds(*second));
        second->setFixedSize(200, 50);
        QTRY_VERIFY(surrounds(*second));
        delete first;
        QTRY_VERIFY(surrounds(*second));
        second->hide();
        QVERIFY(!ringIn(bench.dialog()));
        second->show();
        second->setFocus();
        QTRY_VERIFY(surrounds(*second));
        delete second;
        QVERIFY(!ringIn(bench.dialog()));
    }

    void theFocusRingScrollsWithItsWidgetAndIsBackOnceThatIsInView()
    {
        Bench bench;
        auto *area = bench.add<QScrollArea>();
        auto *content = new QWidget;
        content->setFixedSize(200, 2000);
        auto *button = new QPushButton(u"About"_s, content);
        button->setGeometry(20, 1500, 84, 30);
        area->setWidget(content);
        area->setFixedSize(240, 200);
        bench.show();
        button->setFocus(Qt::TabFocusReason); // which is out of view
        area->ensureWidgetVisible(button);
        const auto surrounds = [&] {
            const QFocusFrame *ring = ringIn(bench.dialog());
            return ring
                && placeIn(bench.dialog(), *ring)
                == placeIn(bench.dialog(), *button).adjusted(-reach, -reach, reach, reach);
        };
        QVERIFY(surrounds());
        area->verticalScrollBar()->setValue(area->verticalScrollBar()->value() - 20);
        QVERIFY(surrounds());
        // It ends with the area, and so it never lies over what is around that.
        QVERIFY(area->viewport()->isAncestorOf(ringIn(bench.dialog())));
    }

    void aWindowThatIsDestroyedTakesItsRingWithItAndTheNextHasItsOwn()
    {
        for (int round = 0; round < 2; ++round) {
            Bench bench;
            QPushButton *button = bench.addButton();
            bench.show();
            button->setFocus();
            QVERIFY(ringIn(bench.dialog()));
        }
    }

    void aChangeOfTheDesktopIsDrawnWhileTheWindowIsOpen()
    {
        Bench bench;
        const QPushButton *button = bench.addButton();
        bench.show();
        const QColor light = fillOf(bench.picture(*button));
        Bench::setAppearance({ .scheme = Appearance::Scheme::Dark, .accent = QColor(0x9141ac) });
        QTRY_COMPARE(bench.dialog().palette().color(QPalette::Window), Bench::tokens().window);
        QCOMPARE(QApplication::palette().color(QPalette::Highlight), Bench::tokens().accent);
        QCOMPARE_LE(std::abs(Bench::tokens().accent.hslHue() - QColor(0x9141ac).hslHue()), 2);
        QCOMPARE_GT(Pixels::distance(fillOf(bench.picture(*button)), light), 100);
        QCOMPARE_LE(Pixels::distance(fillOf(bench.picture(*button)), onWindow(Bench::tokens().control)), 1);
        Bench::setAppearance({});
        QTRY_COMPARE(fillOf(bench.picture(*button)), light);
    }

    void nothingMovesInAWindowThatNobodyUses()
    {
        Bench bench;
        bench.addButton()->setFocus();
        auto *bar = bench.add<QProgressBar>();
        bar->setValue(42);
        bench.add<QComboBox>();
        bench.show();
        QTest::qWait(50);
        QVERIFY(!Bench::style().isMoving());
    }
};

QTEST_MAIN(StyleTest)
#include "StyleTest.moc"
