#include "CodeHost.h"
#include "Look.h"
#include "Stage.h"

#include <QComboBox>
#include <QScrollArea>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

class SheetTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSheetsAre440WideAndModalToTheirWindow()
    {
        Stage stage;
        for (const QString &button : { Button::settings, Button::about }) {
            QWidget *sheet = stage.openSheet(button);
            QCOMPARE(sheet->width(), 440);
            QCOMPARE(sheet->windowModality(), Qt::WindowModal);
            QVERIFY(sheet->windowFlags().testFlag(Qt::Sheet));
            stage.click(Button::done);
        }
    }

    void returnIsDoneAndEscapeClosesTheSheetForGood()
    {
        Stage stage;
        for (const Qt::Key key : { Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape }) {
            for (const QString &button : { Button::settings, Button::about }) {
                stage.openSheet(button);
                stage.press(key);
                QVERIFY(!stage.shows<Sheet>());
            }
        }
        // Even when something other than "Done" has the focus.
        stage.openSettings();
        stage.visible<QComboBox>()->setFocus();
        stage.press(Qt::Key_Return);
        QVERIFY(!stage.shows<Sheet>());
        QTRY_VERIFY(!stage.window->findChild<Sheet *>());
    }

    void theWheelOverTheWindowSizeChangesNothing()
    {
        const QString size = u"1280x720"_s;
        Stage stage;
        stage.player.preferences.setResolution(size);
        stage.openSettings();
        auto *choice = stage.visible<QComboBox>();
        for (const bool isFocused : { false, true }) {
            if (isFocused)
                choice->setFocus();
            const QPointF middle = choice->rect().center();
            QWheelEvent turn(middle, choice->mapToGlobal(middle), QPoint(), QPoint(0, -120), Qt::NoButton,
                             Qt::NoModifier, Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(choice, &turn);
            Stage::settle();
            QCOMPARE(choice->currentText(), size);
            QCOMPARE(stage.player.preferences.resolution(), size);
        }
    }

    void theShortcutsThatCloseTheWindowWorkInEveryDialog_data()
    {
        QTest::addColumn<QStringList>("buttons");
        QTest::addColumn<Qt::Key>("key");
        for (const QStringList &buttons : { QStringList { Button::settings }, QStringList { Button::about },
                                            QStringList { Button::settings, Button::removeEverything } }) {
            QTest::addRow("%s, Ctrl+Q", qPrintable(buttons.last())) << buttons << Qt::Key_Q;
            QTest::addRow("%s, Ctrl+W", qPrintable(buttons.last())) << buttons << Qt::Key_W;
        }
    }

    void theShortcutsThatCloseTheWindowWorkInEveryDialog()
    {
        QFETCH(const QStringList, buttons);
        QFETCH(const Qt::Key, key);
        const Stage stage(Stage::usual);
        for (const QString &button : buttons)
            stage.click(button);
        QVERIFY(stage.front() != stage.window.get());
        stage.front()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(stage.front()));
        stage.press(key, Qt::ControlModifier);
        QVERIFY(!stage.window->isVisible());
    }

    void aNoticeIsShownInTheSheetThatCoversIt_data()
    {
        QTest::addColumn<QString>("sheet");
        QTest::addColumn<QString>("button");
        QTest::newRow("reveal") << Button::settings << Button::reveal;
        QTest::newRow("saves") << Button::settings << Button::showSaves;
        QTest::newRow("link") << Button::about << CodeHost::url(u"/Kestrelwood/Vantor"_s).toString();
    }

    void aNoticeIsShownInTheSheetThatCoversIt()
    {
        QFETCH(const QString, sheet);
        QFETCH(const QString, button);
        Stage stage;
        stage.player.workspace.opensNothing = true;
        QString notice;
        // The same notice is news again the second time.
        for (int time = 0; time < 2; ++time) {
            QWidget *shown = stage.openSheet(sheet);
            QVERIFY(notice.isEmpty() || !stage.texts().contains(notice));
            stage.click(button);
            QTRY_VERIFY(stage.model.notice->has_value());
            notice = stage.model.notice->value();
            QTRY_VERIFY(stage.texts().contains(notice));
            Stage::settle();
            const auto *label = Stage::label(*shown, notice);
            QVERIFY(shown->rect().contains(Stage::placeIn(*shown, *label)));
            QVERIFY(label->height() >= label->heightForWidth(label->width()));
            stage.click(Button::done);
            QVERIFY(stage.texts().contains(notice));
        }
    }

    void aNoticeFromBeforeIsNotRepeatedInTheSheet()
    {
        Stage stage;
        stage.model.notice = u"from before"_s;
        stage.openSettings();
        QVERIFY(!stage.texts().contains(u"from before"_s));
        stage.model.notice = u"news"_s;
        Stage::settle();
        QVERIFY(stage.texts().contains(u"news"_s));
    }

    void doneIsInTheSheetHoweverLittleRoomThereIs()
    {
        const Look::Font tooLargeForAnyScreen(32);
        Stage stage;
        auto *sheet = stage.openSettings();
        const auto *area = Stage::visible<QScrollArea>(*sheet);
        QVERIFY(area->widget()->height() > area->viewport()->height());
        QVERIFY(sheet->rect().contains(Stage::placeIn(*sheet, *stage.button(Button::done))));
    }
};

QTEST_MAIN(FailsCleanly<SheetTest>)
#include "SheetTest.moc"
