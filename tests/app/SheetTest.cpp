#include "CodeHost.h"
#include "ContentView.h"
#include "Fade.h"
#include "LinkButton.h"
#include "LogText.h"
#include "Look.h"
#include "Measures.h"
#include "Question.h"
#include "Stage.h"
#include "Table.h"

#include <QClipboard>
#include <QComboBox>
#include <QElapsedTimer>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollArea>
#include <QSet>
#include <QVariantAnimation>
#include <QWheelEvent>

namespace {

/// Presses the mouse where the desktop would deliver it, whatever lies there.
void clickAt(const QWidget &window, const QPoint &place)
{
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, place);
    Stage::settle();
}

/// Whether something takes a turn of the wheel there.
bool takesWheelAt(const QWidget &window, const QPoint &place)
{
    QWidget *receiver = window.childAt(place);
    QWheelEvent turn(receiver->mapFrom(&window, place), window.mapToGlobal(place), QPoint(), QPoint(0, -120),
                     Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(receiver, &turn);
    return turn.isAccepted();
}

}

class SheetTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void aWindowMayBeDestroyedWhileSheetsAreOpen()
    {
        openSettings();
        click(Button::removeEverything);
        QVERIFY(hasButton(Button::cancel));
        destroyWindow(); // A sanitizer sees what is used too late.
    }

    void aSheetIsOpenOnceInsideItsWindowUntilDoneReturnOrEscape()
    {
        for (const auto &leave : { clicking(Button::done), pressing(Qt::Key_Return), pressing(Qt::Key_Enter),
                                   pressing(Qt::Key_Escape) }) {
            for (const QString &name : { Button::settings, Button::about }) {
                const auto *sheet = openSheet(name);
                QCOMPARE(sheet->window(), &window());
                QVERIFY(isInView(sheet));
                auto *content = visible<ContentView>();
                name == Button::settings ? content->showSettings() : content->showAbout();
                QCOMPARE(window().findChildren<Sheet *>().size(), 1);
                leave();
                QTRY_VERIFY(!window().findChild<Sheet *>());
            }
        }
        // Even when something other than "Done" has the focus.
        openSettings();
        visible<QComboBox>()->setFocus();
        press(Qt::Key_Return);
        QVERIFY(!shows<Sheet>());
    }

    void tabGoesAroundInTheSheetOnTop_data()
    {
        const auto row = table<QStringList, int>("buttons", "stops");
        row("settings", { Button::settings }, 8);
        row("about", { Button::about }, 2);
        row("the question in the settings", { Button::settings, Button::removeEverything }, 2);
    }

    void tabGoesAroundInTheSheetOnTop()
    {
        QFETCH(const QStringList, buttons);
        QFETCH(const int, stops);
        for (const QString &name : buttons)
            click(name);
        for (const auto modifiers : { Qt::NoModifier, Qt::ShiftModifier }) {
            const QWidget *first = window().focusWidget();
            QSet<const QWidget *> visited;
            for (int step = 0; step < stops; ++step) {
                visited.insert(window().focusWidget());
                QVERIFY(front()->isAncestorOf(window().focusWidget()));
                press(modifiers ? Qt::Key_Backtab : Qt::Key_Tab, modifiers);
            }
            QCOMPARE(visited.size(), stops);
            QCOMPARE(window().focusWidget(), first);
        }
    }

    void whatHadTheFocusHasItAgainAfterwards()
    {
        for (const auto &leave :
             { clicking(Button::done), pressing(Qt::Key_Return), pressing(Qt::Key_Escape) }) {
            for (const QString &name : { Button::showLog, Button::play }) {
                QWidget *before = button(name);
                before->setFocus();
                visible<ContentView>()->showSettings();
                settle();
                QCOMPARE(window().focusWidget(), button(Button::done));

                QWidget *remove = button(Button::removeEverything);
                remove->setFocus();
                press(Qt::Key_Space);
                QCOMPARE(front(), visible<Question>());
                QCOMPARE(window().focusWidget(), button(Button::cancel));
                press(Qt::Key_Escape);
                QCOMPARE(window().focusWidget(), remove);

                QStringList changes;
                const QObject watching;
                connect(qApp, &QApplication::focusChanged, &watching,
                        [&changes](QWidget *, const QWidget *now) {
                            if (const auto *button = qobject_cast<const QAbstractButton *>(now))
                                changes << button->text();
                        });
                leave();
                QCOMPARE(window().focusWidget(), before);
                // And nothing else in between, which a screen reader would announce.
                changes.removeAll(Button::done); // a click gives it the focus
                QCOMPARE(changes, QStringList(name));
            }
        }
    }

    void theFocusGoesToWhatTookThePlaceMeanwhile()
    {
        show(AppState::playing());
        button(Button::stop)->setFocus();
        visible<ContentView>()->showSettings();
        show(AppState::ready());
        press(Qt::Key_Escape);
        QCOMPARE(window().focusWidget(), button(Button::play));
    }

    void theVeilTakesEveryPressAndTurnOfTheWheel()
    {
        open(usual);
        const QPoint corner(5, 5);
        const QPoint logButton = place(button(Button::showLog)).center();
        QVERIFY(!takesWheelAt(window(), corner)); // there is nothing to scroll
        const auto *sheet = openAbout();
        for (const QPoint &beside : { corner, logButton }) {
            QVERIFY(!place(sheet).contains(beside));
            QVERIFY(takesWheelAt(window(), beside));
            clickAt(window(), beside);
        }
        QVERIFY(!model.showLog);
        QVERIFY(sheet->isVisible());

        // A question takes those to the sheet below it.
        click(Button::done);
        openSettings();
        const QPoint done = place(button(Button::done)).center();
        click(Button::removeEverything);
        QVERIFY(!place(front()).contains(done));
        clickAt(window(), done);
        QVERIFY(shows<Question>());
        QVERIFY(shows<SettingsView>());
    }

    void theOtherShortcutsOfTheWindowDoNothingMeanwhile()
    {
        fail(3);
        model.log.lines = Samples::lines(3);
        set(model.showLog, true);
        visible<LogText>()->selectAll();
        QGuiApplication::clipboard()->clear();
        openAbout();
        press(Qt::Key_Comma, Qt::ControlModifier);
        press(Qt::Key_C, Qt::ControlModifier);
        QVERIFY(!shows<SettingsView>());
        QVERIFY(player.pasteboard.texts.isEmpty());
        QCOMPARE(QGuiApplication::clipboard()->text(), QString());
        press(Qt::Key_Escape);
        press(Qt::Key_Comma, Qt::ControlModifier);
        QVERIFY(shows<SettingsView>());
    }

    void returnPressesTheAnswerThatHasTheFocus()
    {
        openSettings();
        click(Button::removeEverything);
        const auto isDefault
            = [this](const QString &text) { return qobject_cast<QPushButton *>(button(text))->isDefault(); };
        QVERIFY(isDefault(Button::cancel));
        press(Qt::Key_Tab);
        QVERIFY(!isDefault(Button::cancel));
        press(Qt::Key_Return);
        QTRY_VERIFY(!shows<Sheet>()); // all is removed
        QVERIFY(model.notice->has_value());
    }

    void theSheetStaysInTheMiddleOfTheWindowWithAMarginAround_data()
    {
        const auto row = table<QString, double>("sheet", "points");
        for (const QString &name : { Button::settings, Button::about }) {
            for (const double points : { 8.0, 10.0, 20.0, 32.0 })
                row(qPrintable(u"%1, %2 points"_s.arg(name).arg(points)), name, points);
        }
    }

    void theSheetStaysInTheMiddleOfTheWindowWithAMarginAround()
    {
        QFETCH(const QString, sheet);
        QFETCH(const double, points);
        const Look::Desktop desktop(Look::font(points));
        open(usual);
        const QWidget *shown = openSheet(sheet);
        for (const QSize &size : { usual, narrow, QSize(1000, 800), narrow }) {
            window().resize(size);
            settle();
            const QRect room = window().rect().adjusted(20, 20, -20, -20);
            QVERIFY(room.contains(place(shown)));
            QCOMPARE(shown->width(), 440);
            QCOMPARE_LE((place(shown).center() - room.center()).manhattanLength(), 2);
            QVERIFY(place(shown).contains(place(button(Button::done))));
        }
        // The keyboard brings into view what does not fit.
        const int stops = sheet == Button::settings ? 8 : 2;
        for (int step = 0; step < stops; ++step) {
            press(Qt::Key_Tab);
            const QWidget *focused = window().focusWidget();
            QVERIFY2(focused->visibleRegion().boundingRect().height() == focused->height(),
                     focused->metaObject()->className());
        }
    }

    void aNoticeMovesNothingThatCanBePressed()
    {
        openSettings();
        const auto places = [this] {
            QList<QRect> all;
            for (const QString &name :
                 { Button::windowed, Button::update, Button::removeEverything, Button::done })
                all << place(button(name));
            return all;
        };
        const QList<QRect> before = places();
        for (const int words : { 5, 20, 60 }) {
            set(model.notice, u"notice "_s.repeated(words));
            QVERIFY(texts().contains(*model.notice.get()));
            QCOMPARE(places(), before);
        }
    }

    void itFadesInUnderThePointerAndThenNothingMovesAnyMore_data()
    {
        const auto row = table<Appearance::Motion, bool>("motion", "fades");
        row("full", Appearance::Motion::Full, true);
        row("reduced", Appearance::Motion::Reduced, false);
    }

    void itFadesInUnderThePointerAndThenNothingMovesAnyMore()
    {
        QFETCH(const Appearance::Motion, motion);
        QFETCH(const bool, fades);
        auto *style = qobject_cast<LauncherStyle *>(QApplication::style());
        style->setAppearance({ .motion = motion });
        const auto restore
            = qScopeGuard([style] { style->setAppearance({ .motion = Appearance::Motion::Reduced }); });
        open();
        visible<ContentView>()->showAbout();
        QCOMPARE(shows<Fade>(), fades);
        const QRect done = place(button(Button::done));
        // It can be pressed at once, where it stays.
        QTest::mouseClick(window().windowHandle(), Qt::LeftButton, {}, done.center());
        QVERIFY(!shows<Sheet>());
        QCOMPARE(shows<Fade>(), fades);
        QElapsedTimer clock;
        clock.start();
        QTRY_VERIFY(!shows<Fade>());
        QCOMPARE_LT(clock.elapsed(), 2 * Measures::longestMotion);
        QTRY_VERIFY(window().findChildren<QVariantAnimation *>().isEmpty());
    }

    void theWheelOverTheWindowSizeChangesNothing()
    {
        const QString size = u"1280x720"_s;
        player.preferences.setResolution(size);
        openSettings();
        auto *choice = visible<QComboBox>();
        for (const bool isFocused : { false, true }) {
            if (isFocused)
                choice->setFocus();
            const QPointF middle = choice->rect().center();
            QWheelEvent turn(middle, choice->mapToGlobal(middle), QPoint(), QPoint(0, -120), Qt::NoButton,
                             Qt::NoModifier, Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(choice, &turn);
            settle();
            QCOMPARE(choice->currentText(), size);
            QCOMPARE(player.preferences.resolution(), size);
        }
    }

    void aNoticeIsShownInTheSheetThatCoversIt_data()
    {
        const auto row = table<QString, QString>("sheet", "choice");
        row("reveal", Button::settings, Button::reveal);
        row("saves", Button::settings, Button::showSaves);
        row("link", Button::about, CodeHost::url(u"/Kestrelwood/Vantor"_s).toString());
    }

    void aNoticeIsShownInTheSheetThatCoversIt()
    {
        QFETCH(const QString, sheet);
        QFETCH(const QString, choice);
        player.workspace.opensNothing = true;
        QString notice;
        // The same notice is news again the second time.
        for (int time = 0; time < 2; ++time) {
            QWidget *shown = openSheet(sheet);
            QVERIFY(notice.isEmpty() || !texts().contains(notice));
            click(choice);
            QTRY_VERIFY(model.notice->has_value());
            notice = model.notice->value();
            QTRY_VERIFY(texts().contains(notice));
            settle();
            const auto *text = label(notice);
            QVERIFY(shown->rect().contains(placeIn(*shown, *text)));
            QVERIFY(text->height() >= text->heightForWidth(text->width()));
            click(Button::done);
            QVERIFY(texts().contains(notice));
        }
    }

    void aNoticeFromBeforeIsNotRepeatedInTheSheet()
    {
        model.notice = u"from before"_s;
        openSettings();
        QVERIFY(!texts().contains(u"from before"_s));
        set(model.notice, u"news"_s);
        QVERIFY(texts().contains(u"news"_s));
    }

    void theTextsOfAboutStandInTheirOrder()
    {
        openAbout();
        const QStringList all = texts();
        QCOMPARE(all.size(), 6);
        QCOMPARE(all.first(4),
                 QStringList({ u"About"_s, u"Game by its author. Licence: see the repository"_s,
                               u"The game belongs to its author; this app only downloads and starts it."_s,
                               u"Based on Kestrelwood/Vantor, MIT License."_s }));
        for (const auto word : { "Godot"_L1, "MIT"_L1, "contributors"_L1 })
            QVERIFY(all.at(4).contains(word));
        QVERIFY(all.at(5).contains(CodeHost::address().host()));
        QVERIFY(hasButton(Button::done));

        set(model.info, Samples::game());
        QCOMPARE(texts().at(1), u"Game by Ada Hill. Licence: MIT License"_s);
    }

    void theLinkOpensThePageInTheDesktopsBrowser()
    {
        openAbout();
        const QList<QUrl> &browsed = player.workspace.browsed;
        const QUrl page = CodeHost::url(u"/Kestrelwood/Vantor"_s);
        click(page.toString());
        QCOMPARE(browsed, QList<QUrl> { page });
        auto *link = visible<LinkButton>();
        link->setFocus();
        QTest::keyClick(link, Qt::Key_Space);
        QCOMPARE(browsed.size(), 2);
        QVERIFY(shows<AboutView>());
    }

    void anAddressThatDoesNotParseIsLeftOut()
    {
        CodeHost::setAddress(QUrl());
        const auto restore = qScopeGuard([] { CodeHost::setAddress(CodeHost::official()); });
        openAbout();
        QVERIFY(!shows<LinkButton>());
        QCOMPARE(texts().size(), 6);
    }

    void doneIsInTheSheetHoweverLittleRoomThereIs()
    {
        const Look::Desktop tooLargeForAnyScreen(Look::font(32));
        auto *sheet = openSettings();
        const auto *area = visible<QScrollArea>(*sheet);
        QVERIFY(area->widget()->height() > area->viewport()->height());
        QVERIFY(sheet->rect().contains(placeIn(*sheet, *button(Button::done))));
    }
};

QTEST_MAIN(FreshForEach<SheetTest>)
#include "SheetTest.moc"
