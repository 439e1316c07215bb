#include "DownloadProgress.h"
#include "FileSizeText.h"
#include "Paths.h"
#include "ProgressBlock.h"
#include "Samples.h"
#include "Stage.h"

#include <QComboBox>
#include <QMessageBox>
#include <QPushButton>

namespace {

const QString removeEverything = QStringLiteral("Remove everything\u2026");

QComboBox *sizeChoice(const SettingsView *sheet) { return sheet->findChild<QComboBox *>(); }

void chooseSize(QComboBox *choice, const QString &text)
{
    choice->setCurrentIndex(choice->findText(text));
    Q_EMIT choice->activated(choice->currentIndex());
}

}

class SettingsViewTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSettingsShowWhatIsStored();
    void fullscreenDisablesTheSizeAndKeepsItsValue();
    void aChosenSizeIsStoredAtOnce();
    void theArrowKeysChangeTheWindowChoice();
    void aStoredSizeThatNobodyOffersIsShownAndStays_data();
    void aStoredSizeThatNobodyOffersIsShownAndStays();
    void theTextsStandInTheirOrder();
    void updateClosesTheSheetBeforeTheWorkStarts();
    void reinstallClosesTheSheetBeforeTheWorkStarts();
    void revealAndSavesLeaveTheSheetOpen();
    void theRemovalAsksAndShowsTheSizeWhenItIsKnown();
    void cancellingTheRemovalLeavesTheSheetAndTheFiles();
    void escapeCancelsTheRemoval();
    void returnDoesNotRemove();
    void confirmingTheRemovalRemovesAndClosesTheSheet();
    void maintenanceIsOffWhileTheGameRuns();
    void aGameThatStartsDuringTheQuestionTurnsTheRemovalOff();
};

void SettingsViewTest::theSettingsShowWhatIsStored()
{
    Stage stage;
    auto *sheet = stage.openSettings();
    const auto *choice = sizeChoice(sheet);
    QCOMPARE(choice->currentText(), QStringLiteral("Game default"));
    QStringList entries;
    QStringList values;
    for (int entry = 0; entry < choice->count(); ++entry) {
        entries << choice->itemText(entry);
        values << choice->itemData(entry).toString();
    }
    QCOMPARE(entries,
             (QStringList { QStringLiteral("Game default"), QStringLiteral("1280x720"),
                            QStringLiteral("1600x900"), QStringLiteral("1920x1080") }));
    QCOMPARE(values,
             (QStringList { QStringLiteral("default"), QStringLiteral("1280x720"), QStringLiteral("1600x900"),
                            QStringLiteral("1920x1080") }));
    QVERIFY(Stage::button(*sheet, QStringLiteral("Windowed"))->isChecked());
    QVERIFY(choice->isEnabled());
    sheet->close();

    stage.player.preferences.setFullscreen(true);
    stage.player.preferences.setResolution(QStringLiteral("1600x900"));
    sheet = stage.openSettings();
    QVERIFY(Stage::button(*sheet, QStringLiteral("Fullscreen"))->isChecked());
    QCOMPARE(sizeChoice(sheet)->currentText(), QStringLiteral("1600x900"));
    QVERIFY(!sizeChoice(sheet)->isEnabled());
}

void SettingsViewTest::fullscreenDisablesTheSizeAndKeepsItsValue()
{
    Stage stage;
    stage.player.preferences.setResolution(QStringLiteral("1280x720"));
    auto *sheet = stage.openSettings();
    Stage::click(*sheet, QStringLiteral("Fullscreen"));
    QVERIFY(stage.player.preferences.fullscreen());
    QVERIFY(!sizeChoice(sheet)->isEnabled());
    QCOMPARE(sizeChoice(sheet)->currentText(), QStringLiteral("1280x720"));
    QCOMPARE(stage.player.preferences.resolution(), QStringLiteral("1280x720"));
    Stage::click(*sheet, QStringLiteral("Windowed"));
    QVERIFY(!stage.player.preferences.fullscreen());
    QVERIFY(sizeChoice(sheet)->isEnabled());
    QCOMPARE(sizeChoice(sheet)->currentText(), QStringLiteral("1280x720"));
}

void SettingsViewTest::aChosenSizeIsStoredAtOnce()
{
    Stage stage;
    auto *choice = sizeChoice(stage.openSettings());
    choice->setFocus();
    QTest::keyClick(choice, Qt::Key_Down);
    QCOMPARE(stage.player.preferences.resolution(), QStringLiteral("1280x720"));
    QTest::keyClick(choice, Qt::Key_End);
    QCOMPARE(stage.player.preferences.resolution(), QStringLiteral("1920x1080"));
    QTest::keyClick(choice, Qt::Key_Home);
    QCOMPARE(stage.player.preferences.resolution(), QStringLiteral("default"));
}

void SettingsViewTest::theArrowKeysChangeTheWindowChoice()
{
    Stage stage;
    auto *sheet = stage.openSettings();
    auto *windowed = Stage::button(*sheet, QStringLiteral("Windowed"));
    auto *fullscreen = Stage::button(*sheet, QStringLiteral("Fullscreen"));
    windowed->setFocus();
    QTest::keyClick(windowed, Qt::Key_Right);
    QVERIFY(fullscreen->isChecked());
    QVERIFY(fullscreen->hasFocus());
    QVERIFY(stage.player.preferences.fullscreen());
    QTest::keyClick(fullscreen, Qt::Key_Left);
    QVERIFY(windowed->isChecked());
    QVERIFY(!stage.player.preferences.fullscreen());
}

void SettingsViewTest::aStoredSizeThatNobodyOffersIsShownAndStays_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("shown");
    QTest::newRow("another size") << QStringLiteral("800x600") << QStringLiteral("800x600");
    QTest::newRow("empty") << QStringLiteral("") << QString();
    QTest::newRow("no size") << QStringLiteral("as large as it gets")
                             << QStringLiteral("as large as it gets");
    QTest::newRow("odd") << QStringLiteral("\u202e1x\a1") << QStringLiteral("\ufffd1x\u24071");
    QTest::newRow("endless") << QString(100000, QLatin1Char('9')) << QString(100000, QLatin1Char('9'));
}

void SettingsViewTest::aStoredSizeThatNobodyOffersIsShownAndStays()
{
    QFETCH(const QString, stored);
    QFETCH(const QString, shown);
    Stage stage;
    stage.player.preferences.setResolution(stored);
    auto *sheet = stage.openSettings();
    auto *choice = sizeChoice(sheet);
    QCOMPARE(choice->count(), 5);
    QCOMPARE(choice->currentText(), shown);
    QCOMPARE(sheet->width(), 440);
    QVERIFY(choice->geometry().right() < 440);
    sheet->grab();
    Stage::click(*sheet, QStringLiteral("Fullscreen"));
    Stage::click(*sheet, QStringLiteral("Windowed"));
    QCOMPARE(stage.player.preferences.resolution(), stored);
    Stage::click(*sheet, QStringLiteral("Done"));
    QCOMPARE(stage.player.preferences.resolution(), stored);

    sheet = stage.openSettings();
    chooseSize(sizeChoice(sheet), QStringLiteral("1600x900"));
    QCOMPARE(stage.player.preferences.resolution(), QStringLiteral("1600x900"));
}

void SettingsViewTest::theTextsStandInTheirOrder()
{
    Stage stage;
    const auto *sheet = stage.openSettings();
    QCOMPARE(Stage::texts(*sheet),
             (QStringList {
                 QStringLiteral("Settings"), QStringLiteral("Window"), QStringLiteral("Window size"),
                 QStringLiteral("Updating downloads the game again. Your save files are kept (they live "
                                "in Godot's own folder).") }));
    QList<int> tops;
    for (const QString &text :
         { QStringLiteral("Windowed"), QStringLiteral("Update the game"), QStringLiteral("Reveal in Finder"),
           removeEverything, QStringLiteral("Done") })
        tops << Stage::button(*sheet, text)->mapTo(sheet, QPoint(0, 0)).y();
    QVERIFY(std::is_sorted(tops.begin(), tops.end()));
    QVERIFY(Stage::button(*sheet, QStringLiteral("Reinstall")));
    QVERIFY(Stage::button(*sheet, QStringLiteral("Show saves")));
}

void SettingsViewTest::updateClosesTheSheetBeforeTheWorkStarts()
{
    Stage stage;
    stage.player.startHost({ QStringLiteral("--slow"), QStringLiteral("1") });
    auto *sheet = stage.openSettings();
    bool wasOpenAtStart = false;
    QObject::connect(&stage.model, &Observable::willChange, stage.window.get(),
                     [&] { wasOpenAtStart |= stage.visible<SettingsView>() != nullptr; });
    Stage::click(*sheet, QStringLiteral("Update the game"));
    QVERIFY(stage.model.isWorking());
    QTRY_COMPARE(stage.model.stepText.get(), QStringLiteral("Updating the game (your save files are kept)"));
    QTRY_VERIFY(stage.visible<ProgressBlock>());
    QVERIFY(!wasOpenAtStart);
}

void SettingsViewTest::reinstallClosesTheSheetBeforeTheWorkStarts()
{
    Stage stage;
    stage.player.startHost({ QStringLiteral("--slow"), QStringLiteral("1") });
    auto *sheet = stage.openSettings();
    bool wasOpenAtStart = false;
    QObject::connect(&stage.model, &Observable::willChange, stage.window.get(),
                     [&] { wasOpenAtStart |= stage.visible<SettingsView>() != nullptr; });
    Stage::click(*sheet, QStringLiteral("Reinstall"));
    QTRY_COMPARE(stage.model.stepText.get(), QStringLiteral("Step 1 of 4: downloading the game"));
    QTRY_VERIFY(stage.visible<ProgressBlock>());
    QVERIFY(!wasOpenAtStart);
}

void SettingsViewTest::revealAndSavesLeaveTheSheetOpen()
{
    Stage stage;
    auto *sheet = stage.openSettings();
    Stage::click(*sheet, QStringLiteral("Reveal in Finder"));
    QCOMPARE(stage.model.notice.get(), QStringLiteral("Nothing is downloaded yet."));
    Stage::click(*sheet, QStringLiteral("Show saves"));
    QCOMPARE(stage.model.notice.get(),
             QStringLiteral("No save files yet. Godot creates them when the game first saves something."));
    QDir().mkpath(Paths::root());
    Stage::click(*sheet, QStringLiteral("Reveal in Finder"));
    QCOMPARE(stage.player.workspace.revealed, QStringList { Paths::root() });
    QVERIFY(stage.visible<SettingsView>());
}

void SettingsViewTest::theRemovalAsksAndShowsTheSizeWhenItIsKnown()
{
    Stage stage;
    auto *sheet = stage.openSettings();
    Stage::click(*sheet, removeEverything);
    auto *question = stage.visible<QMessageBox>();
    QVERIFY(question);
    QCOMPARE(question->windowTitle(), QStringLiteral("Remove the game and the engine?"));
    QCOMPARE(question->text(), QStringLiteral("Remove the game and the engine?"));
    QCOMPARE(question->informativeText(),
             QStringLiteral("This deletes the downloaded game and engine. Save files are kept."));
    QCOMPARE(question->windowModality(), Qt::WindowModal);
    QTRY_VERIFY(Stage::button(*question, QStringLiteral("Remove (frees %1)").arg(fileSizeText(0))));
    auto *remove = qobject_cast<QPushButton *>(
        Stage::button(*question, QStringLiteral("Remove (frees %1)").arg(fileSizeText(0))));
    QCOMPARE(question->buttonRole(remove), QMessageBox::DestructiveRole);
    QVERIFY(Stage::button(*question, QStringLiteral("Cancel")));

    stage.model.freeableBytes = 187'300'000;
    Stage::settle();
    QCOMPARE(remove->text(), QStringLiteral("Remove (frees %1)").arg(fileSizeText(187'300'000)));
    QVERIFY(remove->width() >= remove->sizeHint().width());
}

void SettingsViewTest::cancellingTheRemovalLeavesTheSheetAndTheFiles()
{
    Stage stage;
    QDir().mkpath(Paths::gameFolder());
    auto *sheet = stage.openSettings();
    Stage::click(*sheet, removeEverything);
    Stage::click(*stage.visible<QMessageBox>(), QStringLiteral("Cancel"));
    QVERIFY(!stage.visible<QMessageBox>());
    QVERIFY(stage.visible<SettingsView>());
    QVERIFY(QDir(Paths::gameFolder()).exists());
    QVERIFY(!stage.model.notice->has_value());
}

void SettingsViewTest::escapeCancelsTheRemoval()
{
    Stage stage;
    QDir().mkpath(Paths::gameFolder());
    Stage::click(*stage.openSettings(), removeEverything);
    QTest::keyClick(stage.visible<QMessageBox>(), Qt::Key_Escape);
    Stage::settle();
    QVERIFY(!stage.visible<QMessageBox>());
    QVERIFY(stage.visible<SettingsView>());
    QVERIFY(QDir(Paths::gameFolder()).exists());
}

void SettingsViewTest::returnDoesNotRemove()
{
    Stage stage;
    QDir().mkpath(Paths::gameFolder());
    Stage::click(*stage.openSettings(), removeEverything);
    QTest::keyClick(stage.visible<QMessageBox>(), Qt::Key_Return);
    Stage::settle();
    QVERIFY(QDir(Paths::gameFolder()).exists());
}

void SettingsViewTest::confirmingTheRemovalRemovesAndClosesTheSheet()
{
    Stage stage;
    stage.player.home.write(QStringLiteral("data/Vantor Platformer/Game/picture"), QByteArray(100000, 'x'));
    QVERIFY(QDir(Paths::gameFolder()).exists());
    Stage::click(*stage.openSettings(), removeEverything);
    QTRY_VERIFY(stage.model.freeableBytes > 0);
    Stage::settle();
    Stage::click(*stage.visible<QMessageBox>(),
                 QStringLiteral("Remove (frees %1)").arg(fileSizeText(stage.model.freeableBytes)));
    QVERIFY(!QDir(Paths::root()).exists());
    QVERIFY(!stage.visible<QMessageBox>());
    QVERIFY(!stage.visible<SettingsView>());
    QCOMPARE(stage.model.notice.get(), QStringLiteral("Everything was removed."));
}

void SettingsViewTest::maintenanceIsOffWhileTheGameRuns()
{
    Stage stage;
    auto *sheet = stage.openSettings();
    const QStringList maintenance { QStringLiteral("Update the game"), QStringLiteral("Reinstall"),
                                    removeEverything };
    stage.model.runner.isRunning = true;
    Stage::settle();
    for (const QString &text : maintenance)
        QVERIFY(!Stage::button(*sheet, text)->isEnabled());
    QVERIFY(Stage::button(*sheet, QStringLiteral("Show saves"))->isEnabled());
    stage.model.runner.isRunning = false;
    Stage::settle();
    for (const QString &text : maintenance)
        QVERIFY(Stage::button(*sheet, text)->isEnabled());
}

void SettingsViewTest::aGameThatStartsDuringTheQuestionTurnsTheRemovalOff()
{
    Stage stage;
    Stage::click(*stage.openSettings(), removeEverything);
    stage.model.runner.isRunning = true;
    Stage::settle();
    auto *question = stage.visible<QMessageBox>();
    QVERIFY(!Stage::button(*question, QStringLiteral("Remove (frees %1)").arg(fileSizeText(0)))->isEnabled());
}

QTEST_MAIN(SettingsViewTest)
#include "SettingsViewTest.moc"
