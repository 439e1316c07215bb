#include "CodeHost.h"
#include "Stage.h"

#include <QComboBox>
#include <QMessageBox>
#include <QScrollArea>
#include <QWheelEvent>

class SheetTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSheetsAre440WideAndModalToTheirWindow();
    void returnIsDoneAndEscapeCloses();
    void closedSheetsAreGoneForGood();
    void theWheelOverTheWindowSizeChangesNothing();
    void theShortcutsThatCloseTheWindowWorkInEveryDialog_data();
    void theShortcutsThatCloseTheWindowWorkInEveryDialog();
    void aNoticeIsShownInTheSheetThatCoversIt_data();
    void aNoticeIsShownInTheSheetThatCoversIt();
    void aNoticeFromBeforeIsNotRepeatedInTheSheet();
    void doneIsInTheSheetHoweverLittleRoomThereIs();
};

void SheetTest::theSheetsAre440WideAndModalToTheirWindow()
{
    Stage stage;
    auto *settings = stage.openSettings();
    QCOMPARE(settings->width(), 440);
    QCOMPARE(settings->windowModality(), Qt::WindowModal);
    QVERIFY(settings->windowFlags().testFlag(Qt::Sheet));
    settings->close();
    auto *about = stage.openAbout();
    QCOMPARE(about->width(), 440);
    QCOMPARE(about->windowModality(), Qt::WindowModal);
}

void SheetTest::returnIsDoneAndEscapeCloses()
{
    Stage stage;
    for (const Qt::Key key : { Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape }) {
        QTest::keyClick(stage.openSettings(), key);
        Stage::settle();
        QVERIFY(!stage.visible<SettingsView>());
        QTest::keyClick(stage.openAbout(), key);
        Stage::settle();
        QVERIFY(!stage.visible<AboutView>());
    }
    // Even when something other than "Done" has the focus.
    auto *sheet = stage.openSettings();
    sheet->findChild<QComboBox *>()->setFocus();
    QTest::keyClick(sheet->findChild<QComboBox *>(), Qt::Key_Return);
    Stage::settle();
    QVERIFY(!stage.visible<SettingsView>());
}

void SheetTest::closedSheetsAreGoneForGood()
{
    Stage stage;
    stage.openSettings()->close();
    stage.openAbout()->close();
    QTRY_VERIFY(!stage.window->findChild<Sheet *>());
}

void SheetTest::theWheelOverTheWindowSizeChangesNothing()
{
    Stage stage;
    stage.player.preferences.setResolution(QStringLiteral("1280x720"));
    auto *choice = stage.openSettings()->findChild<QComboBox *>();
    for (const bool isFocused : { false, true }) {
        if (isFocused)
            choice->setFocus();
        const QPointF middle = choice->rect().center();
        QWheelEvent turn(middle, choice->mapToGlobal(middle), QPoint(), QPoint(0, -120), Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(choice, &turn);
        Stage::settle();
        QCOMPARE(choice->currentText(), QStringLiteral("1280x720"));
        QCOMPARE(stage.player.preferences.resolution(), QStringLiteral("1280x720"));
    }
}

void SheetTest::theShortcutsThatCloseTheWindowWorkInEveryDialog_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<Qt::Key>("key");
    for (const QString &button : { QStringLiteral("Settings\u2026"), QStringLiteral("About"),
                                   QStringLiteral("Remove everything\u2026") }) {
        QTest::addRow("%s, Ctrl+Q", qPrintable(button)) << button << Qt::Key_Q;
        QTest::addRow("%s, Ctrl+W", qPrintable(button)) << button << Qt::Key_W;
    }
}

void SheetTest::theShortcutsThatCloseTheWindowWorkInEveryDialog()
{
    QFETCH(const QString, button);
    QFETCH(const Qt::Key, key);
    Stage stage;
    stage.open();
    if (button.startsWith(QLatin1StringView("Remove")))
        stage.openSettings();
    QWidget *where = QApplication::activeModalWidget();
    Stage::click(where ? *where : *stage.window, button);
    QWidget *dialog = QApplication::activeModalWidget();
    QVERIFY(dialog);
    dialog->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(dialog));
    QTest::keyClick(dialog->windowHandle(), key, Qt::ControlModifier);
    Stage::settle();
    QVERIFY(!stage.window->isVisible());
}

void SheetTest::aNoticeIsShownInTheSheetThatCoversIt_data()
{
    QTest::addColumn<bool>("about");
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("notice");
    const QString page = CodeHost::url(QStringLiteral("/Kestrelwood/Vantor")).toString();
    QTest::newRow("reveal") << false << QStringLiteral("Reveal in Finder")
                            << QStringLiteral("Nothing is downloaded yet.");
    QTest::newRow("saves") << false << QStringLiteral("Show saves")
                           << QStringLiteral("No save files yet. Godot creates them when the game first "
                                             "saves something.");
    QTest::newRow("link")
        << true << page
        << QStringLiteral("Nothing on this desktop could open the page \u201c%1\u201d.").arg(page);
}

void SheetTest::aNoticeIsShownInTheSheetThatCoversIt()
{
    QFETCH(const bool, about);
    QFETCH(const QString, button);
    QFETCH(const QString, notice);
    Stage stage;
    stage.player.workspace.opensNothing = true;
    const auto open = [&]() -> QWidget * {
        if (about)
            return stage.openAbout();
        return stage.openSettings();
    };
    // The same notice is news again the second time.
    for (int time = 0; time < 2; ++time) {
        QWidget *sheet = open();
        QVERIFY(!Stage::texts(*sheet).contains(notice));
        Stage::click(*sheet, button);
        QTRY_VERIFY(Stage::texts(*sheet).contains(notice));
        Stage::settle();
        const auto labels = sheet->findChildren<TextLabel *>();
        for (const TextLabel *label : labels) {
            if (label->text() != notice)
                continue;
            const QRect place(label->mapTo(sheet, QPoint(0, 0)), label->size());
            QVERIFY(sheet->rect().contains(place));
            QVERIFY(label->height() >= label->heightForWidth(label->width()));
        }
        sheet->close();
        QVERIFY(Stage::texts(*stage.window).contains(notice));
        Stage::settle();
    }
}

void SheetTest::aNoticeFromBeforeIsNotRepeatedInTheSheet()
{
    Stage stage;
    stage.model.notice = QStringLiteral("Everything was removed.");
    auto *sheet = stage.openSettings();
    QVERIFY(!Stage::texts(*sheet).contains(QStringLiteral("Everything was removed.")));
    stage.model.notice = QStringLiteral("The game was updated.");
    Stage::settle();
    QVERIFY(Stage::texts(*sheet).contains(QStringLiteral("The game was updated.")));
}

void SheetTest::doneIsInTheSheetHoweverLittleRoomThereIs()
{
    const QFont before = QApplication::font();
    QFont font = before;
    font.setPointSizeF(32); // no screen is tall enough for that
    QApplication::setFont(font);
    {
        Stage stage;
        auto *sheet = stage.openSettings();
        const auto *area = sheet->findChild<QScrollArea *>();
        QVERIFY(area->widget()->height() > area->viewport()->height());
        const auto *done = Stage::button(*sheet, QStringLiteral("Done"));
        QVERIFY(sheet->rect().contains(QRect(done->mapTo(sheet, QPoint(0, 0)), done->size())));
    }
    QApplication::setFont(before);
}

QTEST_MAIN(SheetTest)
#include "SheetTest.moc"
