#include "CodeHost.h"
#include "Desktop.h"
#include "LogText.h"
#include "PlayButton.h"
#include "ProgressBlock.h"
#include "Samples.h"
#include "Stage.h"

#include <QAction>
#include <QClipboard>
#include <QMenuBar>
#include <QSignalSpy>

namespace {

/// Sends a press or release of Return as X11 does: with a timestamp in milliseconds.
void sendReturn(QWidget *receiver, QEvent::Type type, quint64 time)
{
    QKeyEvent event(type, Qt::Key_Return, Qt::NoModifier);
    event.setTimestamp(time);
    QCoreApplication::sendEvent(receiver, &event);
}

/// What takes the focus during `action`, in words, one entry for each change.
QStringList focusChanges(const std::function<void()> &action)
{
    QStringList names;
    const auto connection
        = QObject::connect(qApp, &QApplication::focusChanged, qApp, [&names](QWidget *, QWidget *now) {
              const auto *button = qobject_cast<QAbstractButton *>(now);
              names << (button ? button->text() : QStringLiteral("nothing"));
          });
    action();
    QObject::disconnect(connection);
    return names;
}

}

class KeyboardTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aDoubleClickOnPlayDoesNotPressStop();
    void aKeyHeldDownPressesOnce();
    void aKeyHeldDownPressesOnceWhereItsRepetitionsLookLikePresses();
    void aKeyHeldDownDoesNotPressWhatTookThePlaceOfThePressedButton();
    void returnPlaysAsSoonAsTheWindowIsThere();
    void theFocusGoesToTheButtonThatTookThePlaceOfThePressedOne();
    void theFocusIsNowhereElseBetweenOneActionAndTheNext();
    void tabGoesThroughEveryControlAndComesBack();
    void theShortcutsOpenTheSettingsAndCloseTheWindow();
    void copyTakesTheFailureReport();
    void copyTakesTheSelectedTextWhereThereIsSome_data();
    void copyTakesTheSelectedTextWhereThereIsSome();
    void whoGoesByKeySeesWhereTheFocusIs_data();
    void whoGoesByKeySeesWhereTheFocusIs();
    void aPointerOverPlayShows();
    void theMenusAreThereOnMacOnly();
};

void KeyboardTest::aDoubleClickOnPlayDoesNotPressStop()
{
    Stage stage;
    stage.model.state = AppState::playing();
    stage.model.runner.isRunning = true;
    stage.open();
    auto *stop = Stage::button(*stage.window, QStringLiteral("Stop"));
    QSignalSpy clicked(stop, &QAbstractButton::clicked);
    // The desktop sends the second press of a double click to whatever is there by then.
    QMouseEvent second(QEvent::MouseButtonDblClick, QPointF(stop->rect().center()),
                       stop->mapToGlobal(QPointF(stop->rect().center())), Qt::LeftButton, Qt::LeftButton, {});
    QCoreApplication::sendEvent(stop, &second);
    QTest::mouseRelease(stop, Qt::LeftButton);
    QCOMPARE(clicked.size(), 0);
    QTest::mouseClick(stop, Qt::LeftButton);
    QCOMPARE(clicked.size(), 1);
}

void KeyboardTest::aKeyHeldDownPressesOnce()
{
    Stage stage;
    stage.model.state = AppState::playing();
    stage.open();
    auto *stop = Stage::button(*stage.window, QStringLiteral("Stop"));
    stop->setFocus();
    QSignalSpy clicked(stop, &QAbstractButton::clicked);
    QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
    QCoreApplication::sendEvent(stop, &repeated);
    QCOMPARE(clicked.size(), 0);
    QTest::keyClick(stop, Qt::Key_Return);
    QCOMPARE(clicked.size(), 1);
    QTest::keyClick(stop, Qt::Key_Space);
    QCOMPARE(clicked.size(), 2);
}

void KeyboardTest::aKeyHeldDownPressesOnceWhereItsRepetitionsLookLikePresses()
{
    Stage stage;
    stage.model.state = AppState::playing();
    stage.open();
    auto *stop = Stage::button(*stage.window, QStringLiteral("Stop"));
    stop->setFocus();
    QSignalSpy clicked(stop, &QAbstractButton::clicked);
    sendReturn(stop, QEvent::KeyPress, 1000);
    QCOMPARE(clicked.size(), 1);
    // X11 repeats a held key as a release and a press at the same time. Qt does not always detect that.
    for (quint64 time = 1500; time < 2000; time += 40) {
        sendReturn(stop, QEvent::KeyRelease, time);
        sendReturn(stop, QEvent::KeyPress, time);
    }
    QCOMPARE(clicked.size(), 1);
    sendReturn(stop, QEvent::KeyRelease, 2010);
    sendReturn(stop, QEvent::KeyPress, 2100);
    QCOMPARE(clicked.size(), 2);
}

void KeyboardTest::aKeyHeldDownDoesNotPressWhatTookThePlaceOfThePressedButton()
{
    Stage stage;
    stage.open();
    sendReturn(stage.visible<PlayButton>(), QEvent::KeyRelease, 1000);
    stage.model.state = AppState::playing();
    Stage::settle();
    auto *stop = Stage::button(*stage.window, QStringLiteral("Stop"));
    QSignalSpy clicked(stop, &QAbstractButton::clicked);
    sendReturn(stop, QEvent::KeyPress, 1000);
    QCOMPARE(clicked.size(), 0);
    sendReturn(stop, QEvent::KeyRelease, 1020);
    sendReturn(stop, QEvent::KeyPress, 1300);
    QCOMPARE(clicked.size(), 1);
}

void KeyboardTest::returnPlaysAsSoonAsTheWindowIsThere()
{
    Stage stage;
    stage.player.startHost({ QStringLiteral("--slow"), QStringLiteral("1") });
    stage.open();
    QTest::keyClick(stage.window->windowHandle(), Qt::Key_Return);
    QTRY_VERIFY(stage.visible<ProgressBlock>());
}

void KeyboardTest::theFocusGoesToTheButtonThatTookThePlaceOfThePressedOne()
{
    Stage stage;
    stage.open();
    QCOMPARE(QApplication::focusWidget(), stage.visible<PlayButton>());
    stage.model.state = AppState::settingUp();
    Stage::settle();
    QCOMPARE(QApplication::focusWidget(), Stage::button(*stage.window, QStringLiteral("Cancel")));
    stage.model.state = AppState::starting();
    Stage::settle();
    QCOMPARE(QApplication::focusWidget(), Stage::button(*stage.window, QStringLiteral("Stop")));
    stage.model.state = AppState::ready();
    Stage::settle();
    QCOMPARE(QApplication::focusWidget(), stage.visible<PlayButton>());
}

void KeyboardTest::theFocusIsNowhereElseBetweenOneActionAndTheNext()
{
    Stage stage;
    stage.open();
    QCOMPARE(QApplication::focusWidget(), stage.visible<PlayButton>());
    const QStringList changes = focusChanges([&stage] {
        for (const AppState &state :
             { AppState::downloading(QStringLiteral("the game")), AppState::starting(), AppState::ready() }) {
            stage.model.state = state;
            Stage::settle();
        }
    });
    QCOMPARE(changes,
             (QStringList { QStringLiteral("Cancel"), QStringLiteral("Stop"), QStringLiteral("Play") }));
    // Focus outside the main action stays where it is.
    auto *settings = Stage::button(*stage.window, QStringLiteral("Settings\u2026"));
    settings->setFocus();
    stage.model.state = AppState::starting();
    Stage::settle();
    QCOMPARE(QApplication::focusWidget(), settings);
}

void KeyboardTest::tabGoesThroughEveryControlAndComesBack()
{
    Stage stage;
    Samples::fail(stage.model, Samples::earlyEnd, 3);
    stage.model.showLog = true;
    stage.open(QSize(600, 1000));
    QStringList order;
    for (int step = 0; step < 8; ++step) {
        const QWidget *focused = QApplication::focusWidget();
        QVERIFY(focused);
        const auto *button = qobject_cast<const QAbstractButton *>(focused);
        order << (button ? button->text() : focused->accessibleName());
        QTest::keyClick(stage.window->windowHandle(), Qt::Key_Tab);
    }
    QCOMPARE(
        order,
        (QStringList { QStringLiteral("Play"), QStringLiteral("Last lines of the log"),
                       QStringLiteral("Copy"), QStringLiteral("Log"), QStringLiteral("Hide log"),
                       QStringLiteral("Settings\u2026"), QStringLiteral("About"), QStringLiteral("Play") }));
}

void KeyboardTest::theShortcutsOpenTheSettingsAndCloseTheWindow()
{
    Stage stage;
    stage.open();
    QTest::keyClick(stage.window->windowHandle(), Qt::Key_Comma, Qt::ControlModifier);
    Stage::settle();
    QVERIFY(stage.visible<SettingsView>());
    QTest::keyClick(stage.visible<SettingsView>(), Qt::Key_Escape);
    Stage::settle();
    QVERIFY(!stage.visible<SettingsView>());
    stage.window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(stage.window.get()));
    QTest::keyClick(stage.window->windowHandle(), Qt::Key_Q, Qt::ControlModifier);
    Stage::settle();
    QVERIFY(!stage.window->isVisible());
    stage.window->show();
    stage.window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(stage.window.get()));
    QTest::keyClick(stage.window->windowHandle(), Qt::Key_W, Qt::ControlModifier);
    Stage::settle();
    QVERIFY(!stage.window->isVisible());
}

void KeyboardTest::copyTakesTheFailureReport()
{
    Stage stage;
    stage.open();
    QTest::keyClick(stage.window->windowHandle(), Qt::Key_C, Qt::ControlModifier);
    QVERIFY(stage.player.pasteboard.texts.isEmpty());

    Samples::fail(stage.model, QStringLiteral("It failed."), 2);
    Stage::settle();
    const QString report = QStringLiteral("It failed.\n") + Samples::lines(2).join(u'\n');
    QTest::keyClick(stage.window->windowHandle(), Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(stage.player.pasteboard.texts, QStringList { report });
    Stage::click(*stage.window, QStringLiteral("Copy"));
    QCOMPARE(stage.player.pasteboard.texts, (QStringList { report, report }));
}

void KeyboardTest::copyTakesTheSelectedTextWhereThereIsSome_data()
{
    QTest::addColumn<QString>("box");
    QTest::addColumn<QKeyCombination>("keys");
    for (const QString &box : { QStringLiteral("Last lines of the log"), QStringLiteral("Log") }) {
        QTest::addRow("%s, Ctrl+C", qPrintable(box))
            << box << QKeyCombination(Qt::ControlModifier, Qt::Key_C);
        QTest::addRow("%s, Ctrl+Insert", qPrintable(box))
            << box << QKeyCombination(Qt::ControlModifier, Qt::Key_Insert);
    }
}

void KeyboardTest::copyTakesTheSelectedTextWhereThereIsSome()
{
    QFETCH(const QString, box);
    QFETCH(const QKeyCombination, keys);
    if (!QKeySequence::keyBindings(QKeySequence::Copy).contains(QKeySequence(keys)))
        QSKIP("This desktop does not copy with these keys.");
    Stage stage;
    Samples::fail(stage.model, QStringLiteral("It failed."), 3);
    stage.model.log.lines = Samples::lines(3);
    stage.model.showLog = true;
    stage.open();
    const auto texts = stage.window->findChildren<LogText *>();
    const auto text = std::find_if(texts.begin(), texts.end(),
                                   [&box](const LogText *each) { return each->accessibleName() == box; });
    QVERIFY(text != texts.end());

    QGuiApplication::clipboard()->clear();
    (*text)->setFocus();
    const auto copy
        = [&] { QTest::keyClick(stage.window->windowHandle(), keys.key(), keys.keyboardModifiers()); };
    copy();
    QCOMPARE(stage.player.pasteboard.texts.size(), 1); // the whole report, as nothing is selected
    QTextCursor cursor((*text)->document());
    cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
    (*text)->setTextCursor(cursor);
    copy();
    QCOMPARE(QGuiApplication::clipboard()->text(), Samples::lines(1).first() + QLatin1Char('\n'));
    QCOMPARE(stage.player.pasteboard.texts.size(), 1);
    // Even when something else has the focus by then.
    QGuiApplication::clipboard()->clear();
    stage.visible<PlayButton>()->setFocus();
    copy();
    QCOMPARE(QGuiApplication::clipboard()->text(), Samples::lines(1).first() + QLatin1Char('\n'));
    QCOMPARE(stage.player.pasteboard.texts.size(), 1);
}

void KeyboardTest::whoGoesByKeySeesWhereTheFocusIs_data()
{
    QTest::addColumn<QString>("sheet");
    QTest::addColumn<QString>("control");
    QTest::newRow("Play") << QString() << QStringLiteral("Play");
    QTest::newRow("a choice") << QStringLiteral("Settings\u2026") << QStringLiteral("Windowed");
    QTest::newRow("a link") << QStringLiteral("About")
                            << CodeHost::url(QStringLiteral("/Kestrelwood/Vantor")).toString();
}

void KeyboardTest::whoGoesByKeySeesWhereTheFocusIs()
{
    QFETCH(const QString, sheet);
    QFETCH(const QString, control);
    Stage stage;
    stage.open();
    if (!sheet.isEmpty())
        Stage::click(*stage.window, sheet);
    auto *button = Stage::button(*stage.window, control);
    QVERIFY(button);
    const auto goOn = [button] {
        QTest::keyClick(button->window(), Qt::Key_Tab);
        Stage::settle();
    };
    do
        goOn();
    while (!button->hasFocus());
    const QImage focused = button->grab().toImage();
    goOn();
    QVERIFY(!button->hasFocus());
    QVERIFY(button->grab().toImage() != focused);
}

void KeyboardTest::aPointerOverPlayShows()
{
    Stage stage;
    stage.open();
    auto *play = stage.visible<PlayButton>();
    play->setAttribute(Qt::WA_UnderMouse, false);
    const QImage alone = play->grab().toImage();
    play->setAttribute(Qt::WA_UnderMouse);
    const QImage pointedAt = play->grab().toImage();
    play->setDown(true);
    QVERIFY(pointedAt != alone);
    QVERIFY(play->grab().toImage() != pointedAt);
}

void KeyboardTest::theMenusAreThereOnMacOnly()
{
    Stage stage;
    stage.open();
    QVERIFY(!stage.window->findChild<QMenuBar *>());

    Desktop::use(Desktop::describing(Desktop::System::MacOS));
    MainWindow onMac(stage.model, stage.player.preferences);
    Desktop::use(std::nullopt);
    const auto *bar = onMac.findChild<QMenuBar *>();
    QVERIFY(bar);
    QMap<QAction::MenuRole, QString> roles;
    const auto actions = onMac.actions();
    for (const QAction *action : actions)
        roles.insert(action->menuRole(), action->text());
    QVERIFY(roles.contains(QAction::AboutRole));
    QVERIFY(roles.contains(QAction::PreferencesRole));
    QVERIFY(roles.contains(QAction::QuitRole));
}

QTEST_MAIN(KeyboardTest)
#include "KeyboardTest.moc"
