#include "CodeHost.h"
#include "Desktop.h"
#include "LogText.h"
#include "Pixels.h"
#include "PlayButton.h"
#include "ProgressBlock.h"
#include "Stage.h"
#include "Table.h"

#include <QAction>
#include <QClipboard>
#include <QMenuBar>

namespace {

/// Sends a press or release of Return as X11 does: with a timestamp in milliseconds.
void sendReturn(QWidget *receiver, QEvent::Type type, quint64 time)
{
    QKeyEvent event(type, Qt::Key_Return, Qt::NoModifier);
    event.setTimestamp(time);
    QCoreApplication::sendEvent(receiver, &event);
}

QString nameOf(const QWidget *widget)
{
    if (!widget)
        return u"nothing"_s;
    const auto *button = qobject_cast<const QAbstractButton *>(widget);
    return button ? button->text() : widget->accessibleName();
}

QString focusedName() { return nameOf(QApplication::focusWidget()); }

}

class KeyboardTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void aDoubleClickOnPlayDoesNotPressStop()
    {
        auto *stop = stopWhilePlaying();
        // The desktop sends the second press of a double click to whatever is there by then.
        const QPointF middle = stop->rect().center();
        QMouseEvent second(QEvent::MouseButtonDblClick, middle, stop->mapToGlobal(middle), Qt::LeftButton,
                           Qt::LeftButton, {});
        QCoreApplication::sendEvent(stop, &second);
        QTest::mouseRelease(stop, Qt::LeftButton);
        QCOMPARE(m_stops, 0);
        QTest::mouseClick(stop, Qt::LeftButton);
        QCOMPARE(m_stops, 1);
    }

    void aKeyHeldDownPressesOnceEvenWhereItsRepetitionsLookLikePresses()
    {
        auto *stop = stopWhilePlaying();
        QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
        QCoreApplication::sendEvent(stop, &repeated);
        QCOMPARE(m_stops, 0);
        sendReturn(stop, QEvent::KeyPress, 1000);
        QCOMPARE(m_stops, 1);
        // X11 repeats a held key as a release and a press at the same time. Qt does not always detect that.
        for (quint64 time = 1500; time < 2000; time += 40) {
            sendReturn(stop, QEvent::KeyRelease, time);
            sendReturn(stop, QEvent::KeyPress, time);
        }
        QCOMPARE(m_stops, 1);
        sendReturn(stop, QEvent::KeyRelease, 2010);
        sendReturn(stop, QEvent::KeyPress, 2100);
        QCOMPARE(m_stops, 2);
        QTest::keyClick(stop, Qt::Key_Space);
        QCOMPARE(m_stops, 3);
    }

    void aKeyHeldDownDoesNotPressWhatTookThePlaceOfThePressedButton()
    {
        sendReturn(visible<PlayButton>(), QEvent::KeyRelease, 1000);
        auto *stop = stopWhilePlaying();
        sendReturn(stop, QEvent::KeyPress, 1000);
        QCOMPARE(m_stops, 0);
        sendReturn(stop, QEvent::KeyRelease, 1020);
        sendReturn(stop, QEvent::KeyPress, 1300);
        QCOMPARE(m_stops, 1);
    }

    void returnPlaysAsSoonAsTheWindowIsThere()
    {
        startSlowHost();
        press(Qt::Key_Return);
        QTRY_VERIFY(shows<ProgressBlock>());
    }

    void theFocusMovesStraightToTheButtonThatTookThePlaceOfThePressedOne()
    {
        open();
        QCOMPARE(QApplication::focusWidget(), visible<PlayButton>());
        QStringList changes;
        const QObject watching;
        connect(qApp, &QApplication::focusChanged, &watching,
                [&changes](QWidget *, const QWidget *now) { changes << nameOf(now); });
        for (const AppState &state :
             { AppState::downloading(u"the game"_s), AppState::starting(), AppState::ready() })
            show(state);
        QCOMPARE(changes, QStringList({ Button::cancel, Button::stop, Button::play }));
        // Focus outside the main action stays where it is.
        button(Button::settings)->setFocus();
        show(AppState::starting());
        QCOMPARE(focusedName(), Button::settings);
    }

    void tabGoesThroughEveryControlAndComesBack()
    {
        model.showLog = true;
        Samples::fail(model, Samples::earlyEnd, 3);
        open(tall);
        QStringList order;
        for (int step = 0; step < 8; ++step) {
            order << focusedName();
            press(Qt::Key_Tab);
        }
        QCOMPARE(order,
                 QStringList({ Button::play, u"Last lines of the log"_s, Button::copy, u"Log"_s,
                               Button::hideLog, Button::settings, Button::about, Button::play }));
    }

    void theShortcutForTheSettingsOpensThem()
    {
        press(Qt::Key_Comma, Qt::ControlModifier);
        QVERIFY(shows<SettingsView>());
    }

    void theShortcutsThatCloseTheWindowWorkInEveryDialogToo_data()
    {
        const auto row = table<QStringList>("buttons");
        row("the window itself", {});
        row("the settings", { Button::settings });
        row("the question in the settings", { Button::settings, Button::removeEverything });
        row("about", { Button::about });
    }

    void theShortcutsThatCloseTheWindowWorkInEveryDialogToo()
    {
        QFETCH(const QStringList, buttons);
        for (const Qt::Key key : { Qt::Key_Q, Qt::Key_W }) {
            open();
            for (const QString &name : buttons)
                click(name);
            QCOMPARE(front() == &window(), buttons.isEmpty());
            window().activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&window()));
            press(key, Qt::ControlModifier);
            QVERIFY(!window().isVisible());
        }
    }

    void copyTakesTheFailureReport()
    {
        press(Qt::Key_C, Qt::ControlModifier);
        QVERIFY(player.pasteboard.texts.isEmpty());

        fail(2, u"It failed."_s);
        const QString report = u"It failed.\n"_s + Samples::lines(2).join(u'\n');
        press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(player.pasteboard.texts, QStringList { report });
        click(Button::copy);
        QCOMPARE(player.pasteboard.texts, QStringList({ report, report }));
    }

    void copyTakesTheSelectedTextWhereThereIsSome_data()
    {
        const auto row = table<QString, QKeyCombination>("box", "keys");
        for (const QString &box : { u"Last lines of the log"_s, u"Log"_s }) {
            for (const Qt::Key key : { Qt::Key_C, Qt::Key_Insert }) {
                const QKeyCombination keys(Qt::ControlModifier, key);
                row(qPrintable(box + u", "_s + QKeySequence(keys).toString()), box, keys);
            }
        }
    }

    void copyTakesTheSelectedTextWhereThereIsSome()
    {
        QFETCH(const QString, box);
        QFETCH(const QKeyCombination, keys);
        if (!QKeySequence::keyBindings(QKeySequence::Copy).contains(QKeySequence(keys)))
            QSKIP("This desktop does not copy with these keys.");
        model.log.lines = Samples::lines(3);
        model.showLog = true;
        fail(3);
        const auto texts = window().findChildren<LogText *>();
        const auto text = std::find_if(texts.begin(), texts.end(),
                                       [&box](const LogText *each) { return nameOf(each) == box; });
        QVERIFY(text != texts.end());

        const auto copyFrom = [this, keys](QWidget *focused) {
            QGuiApplication::clipboard()->clear();
            focused->setFocus();
            press(keys.key(), keys.keyboardModifiers());
        };
        copyFrom(*text);
        QCOMPARE(player.pasteboard.texts.size(), 1); // the whole report, as nothing is selected
        QTextCursor cursor((*text)->document());
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
        (*text)->setTextCursor(cursor);
        // Even when something else has the focus by then.
        for (QWidget *focused : std::initializer_list<QWidget *> { *text, visible<PlayButton>() }) {
            copyFrom(focused);
            QCOMPARE(QGuiApplication::clipboard()->text(), Samples::lines(1).first() + u'\n');
            QCOMPARE(player.pasteboard.texts.size(), 1);
        }
    }

    void playersWithoutAMouseSeeWhereTheFocusIs_data()
    {
        const auto row = table<QStringList, QString>("sheet", "control");
        row("Play", {}, Button::play);
        row("a choice", { Button::settings }, Button::windowed);
        row("a link", { Button::about }, CodeHost::url(u"/Kestrelwood/Vantor"_s).toString());
    }

    void playersWithoutAMouseSeeWhereTheFocusIs()
    {
        QFETCH(const QStringList, sheet);
        QFETCH(const QString, control);
        for (const QString &name : sheet)
            click(name);
        auto *chosen = button(control);
        do
            press(Qt::Key_Tab);
        while (!chosen->hasFocus());
        // The ring is drawn around the control.
        const auto around = [chosen] { return Pixels::of(*chosen->window(), *chosen, 8); };
        const QImage focused = around();
        press(Qt::Key_Tab);
        QVERIFY(!chosen->hasFocus());
        QVERIFY(around() != focused);
    }

    void playLooksDifferentUnderThePointerAndWhilePressed()
    {
        auto *play = visible<PlayButton>();
        play->setAttribute(Qt::WA_UnderMouse, false);
        const QImage alone = play->grab().toImage();
        play->setAttribute(Qt::WA_UnderMouse);
        const QImage pointedAt = play->grab().toImage();
        play->setDown(true);
        QVERIFY(pointedAt != alone);
        QVERIFY(play->grab().toImage() != pointedAt);
    }

    void theMenusAreThereOnMacOnly()
    {
        QVERIFY(!window().findChild<QMenuBar *>());
        Desktop::use(Desktop::describing(Desktop::System::MacOS));
        const MainWindow onMac(model, player.preferences);
        Desktop::use(std::nullopt);
        QVERIFY(onMac.findChild<QMenuBar *>());
        QList<QAction::MenuRole> roles;
        for (const QAction *action : onMac.actions())
            roles << action->menuRole();
        for (const auto role : { QAction::AboutRole, QAction::PreferencesRole, QAction::QuitRole })
            QVERIFY(roles.contains(role));
    }

private:
    /// Stop, in a window in which the player has started the game.
    QAbstractButton *stopWhilePlaying()
    {
        show(AppState::playing());
        auto *stop = button(Button::stop);
        stop->setFocus();
        connect(stop, &QAbstractButton::clicked, this, [this] { ++m_stops; });
        return stop;
    }

    int m_stops = 0;
};

QTEST_MAIN(FreshForEach<KeyboardTest>)
#include "KeyboardTest.moc"
