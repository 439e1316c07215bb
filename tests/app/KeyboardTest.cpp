#include "CodeHost.h"
#include "Desktop.h"
#include "LogText.h"
#include "PlayButton.h"
#include "ProgressBlock.h"
#include "Stage.h"

#include <QAction>
#include <QClipboard>
#include <QMenuBar>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

/// Sends a press or release of Return as X11 does: with a timestamp in milliseconds.
void sendReturn(QWidget *receiver, QEvent::Type type, quint64 time)
{
    QKeyEvent event(type, Qt::Key_Return, Qt::NoModifier);
    event.setTimestamp(time);
    QCoreApplication::sendEvent(receiver, &event);
}

/// A window in which the player has started the game and may press Stop.
class Playing final {
public:
    Playing()
    {
        stage.show(AppState::playing());
        stop = stage.button(Button::stop);
        stop->setFocus();
        QObject::connect(stop, &QAbstractButton::clicked, stop, [this] { ++clicked; });
    }

    Stage stage { Stage::usual };
    QAbstractButton *stop = nullptr;
    int clicked = 0;
};

QString nameOf(const QWidget *widget)
{
    if (!widget)
        return u"nothing"_s;
    const auto *button = qobject_cast<const QAbstractButton *>(widget);
    return button ? button->text() : widget->accessibleName();
}

QString focusedName() { return nameOf(QApplication::focusWidget()); }

}

class KeyboardTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aDoubleClickOnPlayDoesNotPressStop()
    {
        const Playing playing;
        // The desktop sends the second press of a double click to whatever is there by then.
        const QPointF middle = playing.stop->rect().center();
        QMouseEvent second(QEvent::MouseButtonDblClick, middle, playing.stop->mapToGlobal(middle),
                           Qt::LeftButton, Qt::LeftButton, {});
        QCoreApplication::sendEvent(playing.stop, &second);
        QTest::mouseRelease(playing.stop, Qt::LeftButton);
        QCOMPARE(playing.clicked, 0);
        QTest::mouseClick(playing.stop, Qt::LeftButton);
        QCOMPARE(playing.clicked, 1);
    }

    void aKeyHeldDownPressesOnce()
    {
        const Playing playing;
        QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
        QCoreApplication::sendEvent(playing.stop, &repeated);
        QCOMPARE(playing.clicked, 0);
        QTest::keyClick(playing.stop, Qt::Key_Return);
        QCOMPARE(playing.clicked, 1);
        QTest::keyClick(playing.stop, Qt::Key_Space);
        QCOMPARE(playing.clicked, 2);
    }

    void aKeyHeldDownPressesOnceWhereItsRepetitionsLookLikePresses()
    {
        const Playing playing;
        sendReturn(playing.stop, QEvent::KeyPress, 1000);
        QCOMPARE(playing.clicked, 1);
        // X11 repeats a held key as a release and a press at the same time. Qt does not always detect that.
        for (quint64 time = 1500; time < 2000; time += 40) {
            sendReturn(playing.stop, QEvent::KeyRelease, time);
            sendReturn(playing.stop, QEvent::KeyPress, time);
        }
        QCOMPARE(playing.clicked, 1);
        sendReturn(playing.stop, QEvent::KeyRelease, 2010);
        sendReturn(playing.stop, QEvent::KeyPress, 2100);
        QCOMPARE(playing.clicked, 2);
    }

    void aKeyHeldDownDoesNotPressWhatTookThePlaceOfThePressedButton()
    {
        Stage stage(Stage::usual);
        sendReturn(stage.visible<PlayButton>(), QEvent::KeyRelease, 1000);
        stage.show(AppState::playing());
        auto *stop = stage.button(Button::stop);
        const QSignalSpy clicked(stop, &QAbstractButton::clicked);
        sendReturn(stop, QEvent::KeyPress, 1000);
        QCOMPARE(clicked.size(), 0);
        sendReturn(stop, QEvent::KeyRelease, 1020);
        sendReturn(stop, QEvent::KeyPress, 1300);
        QCOMPARE(clicked.size(), 1);
    }

    void returnPlaysAsSoonAsTheWindowIsThere()
    {
        Stage stage;
        stage.startSlowHost();
        stage.open();
        stage.press(Qt::Key_Return);
        QTRY_VERIFY(stage.shows<ProgressBlock>());
    }

    void theFocusMovesStraightToTheButtonThatTookThePlaceOfThePressedOne()
    {
        QStringList changes; // outlives the window, which changes the focus at its end
        Stage stage(Stage::usual);
        QCOMPARE(QApplication::focusWidget(), stage.visible<PlayButton>());
        connect(qApp, &QApplication::focusChanged, stage.window.get(),
                [&changes](QWidget *, const QWidget *now) { changes << nameOf(now); });
        for (const AppState &state :
             { AppState::downloading(u"the game"_s), AppState::starting(), AppState::ready() })
            stage.show(state);
        QCOMPARE(changes, QStringList({ Button::cancel, Button::stop, Button::play }));
        // Focus outside the main action stays where it is.
        stage.button(Button::settings)->setFocus();
        stage.show(AppState::starting());
        QCOMPARE(focusedName(), Button::settings);
    }

    void tabGoesThroughEveryControlAndComesBack()
    {
        Stage stage;
        stage.model.showLog = true;
        stage.fail(3);
        stage.open(Stage::tall);
        QStringList order;
        for (int step = 0; step < 8; ++step) {
            order << focusedName();
            stage.press(Qt::Key_Tab);
        }
        QCOMPARE(order,
                 QStringList({ Button::play, u"Last lines of the log"_s, Button::copy, u"Log"_s,
                               Button::hideLog, Button::settings, Button::about, Button::play }));
    }

    void theShortcutsOpenTheSettingsAndCloseTheWindow()
    {
        const Stage stage(Stage::usual);
        stage.press(Qt::Key_Comma, Qt::ControlModifier);
        QVERIFY(stage.shows<SettingsView>());
        stage.press(Qt::Key_Escape);
        QVERIFY(!stage.shows<SettingsView>());
        for (const Qt::Key key : { Qt::Key_Q, Qt::Key_W }) {
            stage.window->show();
            stage.window->activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(stage.window.get()));
            stage.press(key, Qt::ControlModifier);
            QVERIFY(!stage.window->isVisible());
        }
    }

    void copyTakesTheFailureReport()
    {
        Stage stage(Stage::usual);
        stage.press(Qt::Key_C, Qt::ControlModifier);
        QVERIFY(stage.player.pasteboard.texts.isEmpty());

        stage.fail(2, u"It failed."_s);
        const QString report = u"It failed.\n"_s + Samples::lines(2).join(u'\n');
        stage.press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(stage.player.pasteboard.texts, QStringList { report });
        stage.click(Button::copy);
        QCOMPARE(stage.player.pasteboard.texts, QStringList({ report, report }));
    }

    void copyTakesTheSelectedTextWhereThereIsSome_data()
    {
        QTest::addColumn<QString>("box");
        QTest::addColumn<QKeyCombination>("keys");
        for (const QString &box : { u"Last lines of the log"_s, u"Log"_s }) {
            for (const Qt::Key key : { Qt::Key_C, Qt::Key_Insert }) {
                const QKeyCombination keys(Qt::ControlModifier, key);
                QTest::addRow("%s, %s", qPrintable(box), qPrintable(QKeySequence(keys).toString()))
                    << box << keys;
            }
        }
    }

    void copyTakesTheSelectedTextWhereThereIsSome()
    {
        QFETCH(const QString, box);
        QFETCH(const QKeyCombination, keys);
        if (!QKeySequence::keyBindings(QKeySequence::Copy).contains(QKeySequence(keys)))
            QSKIP("This desktop does not copy with these keys.");
        Stage stage;
        stage.model.log.lines = Samples::lines(3);
        stage.model.showLog = true;
        stage.fail(3);
        stage.open();
        const auto texts = stage.window->findChildren<LogText *>();
        const auto text = std::find_if(texts.begin(), texts.end(),
                                       [&box](const LogText *each) { return nameOf(each) == box; });
        QVERIFY(text != texts.end());

        QGuiApplication::clipboard()->clear();
        (*text)->setFocus();
        stage.press(keys.key(), keys.keyboardModifiers());
        QCOMPARE(stage.player.pasteboard.texts.size(), 1); // the whole report, as nothing is selected
        QTextCursor cursor((*text)->document());
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
        (*text)->setTextCursor(cursor);
        // Even when something else has the focus by then.
        for (QWidget *focused : std::initializer_list<QWidget *> { *text, stage.visible<PlayButton>() }) {
            QGuiApplication::clipboard()->clear();
            focused->setFocus();
            stage.press(keys.key(), keys.keyboardModifiers());
            QCOMPARE(QGuiApplication::clipboard()->text(), Samples::lines(1).first() + u'\n');
            QCOMPARE(stage.player.pasteboard.texts.size(), 1);
        }
    }

    void playersWithoutAMouseSeeWhereTheFocusIs_data()
    {
        QTest::addColumn<QString>("sheet");
        QTest::addColumn<QString>("control");
        QTest::newRow("Play") << QString() << Button::play;
        QTest::newRow("a choice") << Button::settings << Button::windowed;
        QTest::newRow("a link") << Button::about << CodeHost::url(u"/Kestrelwood/Vantor"_s).toString();
    }

    void playersWithoutAMouseSeeWhereTheFocusIs()
    {
        QFETCH(const QString, sheet);
        QFETCH(const QString, control);
        const Stage stage(Stage::usual);
        if (!sheet.isEmpty())
            stage.click(sheet);
        auto *button = stage.button(control);
        do
            stage.press(Qt::Key_Tab);
        while (!button->hasFocus());
        const QImage focused = button->grab().toImage();
        stage.press(Qt::Key_Tab);
        QVERIFY(!button->hasFocus());
        QVERIFY(button->grab().toImage() != focused);
    }

    void playLooksDifferentUnderThePointerAndWhilePressed()
    {
        const Stage stage(Stage::usual);
        auto *play = stage.visible<PlayButton>();
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
        Stage stage(Stage::usual);
        QVERIFY(!stage.window->findChild<QMenuBar *>());

        Desktop::use(Desktop::describing(Desktop::System::MacOS));
        const MainWindow onMac(stage.model, stage.player.preferences);
        Desktop::use(std::nullopt);
        QVERIFY(onMac.findChild<QMenuBar *>());
        QList<QAction::MenuRole> roles;
        for (const QAction *action : onMac.actions())
            roles << action->menuRole();
        for (const auto role : { QAction::AboutRole, QAction::PreferencesRole, QAction::QuitRole })
            QVERIFY(roles.contains(role));
    }
};

QTEST_MAIN(FailsCleanly<KeyboardTest>)
#include "KeyboardTest.moc"
