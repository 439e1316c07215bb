#include "Stage.h"

#include <QComboBox>

class SheetTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSheetsAre440WideAndModalToTheirWindow();
    void returnIsDoneAndEscapeCloses();
    void closedSheetsAreGoneForGood();
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
    // Also when something else than "Done" has the focus.
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

QTEST_MAIN(SheetTest)
#include "SheetTest.moc"
