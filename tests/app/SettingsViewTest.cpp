#include "FileSizeText.h"
#include "ProgressBlock.h"
#include "Stage.h"

#include <QComboBox>
#include <QMessageBox>

using namespace Qt::StringLiterals;

namespace {

const QStringList maintenance { Button::update, Button::reinstall, Button::removeEverything };

/// The button that removes everything for good, with the size that this frees.
QString removeForGood(qint64 bytes) { return u"Remove (frees %1)"_s.arg(fileSizeText(bytes)); }

}

class SettingsViewTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_stage = std::make_unique<Stage>(); }
    void cleanup() { m_stage.reset(); }

    void theSettingsShowWhatIsStored()
    {
        m_stage->openSettings();
        QStringList entries;
        QStringList values;
        for (int entry = 0; entry < sizes()->count(); ++entry) {
            entries << sizes()->itemText(entry);
            values << sizes()->itemData(entry).toString();
        }
        const QStringList common { u"1280x720"_s, u"1600x900"_s, u"1920x1080"_s };
        QCOMPARE(entries, QStringList { u"Game default"_s } + common);
        QCOMPARE(values, QStringList { u"default"_s } + common);
        QCOMPARE(sizes()->currentIndex(), 0);
        QVERIFY(m_stage->button(Button::windowed)->isChecked());
        QVERIFY(sizes()->isEnabled());
        m_stage->click(Button::done);

        stored().setFullscreen(true);
        stored().setResolution(u"1600x900"_s);
        m_stage->openSettings();
        QVERIFY(m_stage->button(Button::fullscreen)->isChecked());
        QCOMPARE(sizes()->currentText(), u"1600x900"_s);
        QVERIFY(!sizes()->isEnabled());
    }

    void fullscreenDisablesTheSizeAndKeepsItsValue()
    {
        stored().setResolution(u"1280x720"_s);
        m_stage->openSettings();
        for (const bool isFullscreen : { true, false }) {
            m_stage->click(isFullscreen ? Button::fullscreen : Button::windowed);
            QCOMPARE(stored().fullscreen(), isFullscreen);
            QCOMPARE(sizes()->isEnabled(), !isFullscreen);
            QCOMPARE(sizes()->currentText(), u"1280x720"_s);
            QCOMPARE(stored().resolution(), u"1280x720"_s);
        }
    }

    void aChosenSizeIsStoredAtOnce()
    {
        m_stage->openSettings();
        sizes()->setFocus();
        QTest::keyClick(sizes(), Qt::Key_Down);
        QCOMPARE(stored().resolution(), u"1280x720"_s);
        QTest::keyClick(sizes(), Qt::Key_End);
        QCOMPARE(stored().resolution(), u"1920x1080"_s);
        QTest::keyClick(sizes(), Qt::Key_Home);
        QCOMPARE(stored().resolution(), u"default"_s);
    }

    void theArrowKeysChangeTheWindowChoice()
    {
        m_stage->openSettings();
        auto *windowed = m_stage->button(Button::windowed);
        auto *fullscreen = m_stage->button(Button::fullscreen);
        windowed->setFocus();
        QTest::keyClick(windowed, Qt::Key_Right);
        QVERIFY(fullscreen->isChecked());
        QVERIFY(fullscreen->hasFocus());
        QVERIFY(stored().fullscreen());
        QTest::keyClick(fullscreen, Qt::Key_Left);
        QVERIFY(windowed->isChecked());
        QVERIFY(!stored().fullscreen());
    }

    void aStoredSizeThatNobodyOffersIsShownAndStays_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("shown");
        QTest::newRow("another size") << u"800x600"_s << u"800x600"_s;
        QTest::newRow("empty") << u""_s << QString();
        QTest::newRow("not a size") << u"as large as it gets"_s << u"as large as it gets"_s;
        QTest::newRow("odd") << u"\u202e1x\a1"_s << u"\ufffd1x\u24071"_s;
        QTest::newRow("endless") << QString(100000, u'9') << QString(100000, u'9');
    }

    void aStoredSizeThatNobodyOffersIsShownAndStays()
    {
        QFETCH(const QString, stored);
        QFETCH(const QString, shown);
        const Preferences &preferences = m_stage->player.preferences;
        m_stage->player.preferences.setResolution(stored);
        auto *sheet = m_stage->openSettings();
        QCOMPARE(sizes()->count(), 5);
        QCOMPARE(sizes()->currentText(), shown);
        QCOMPARE(sheet->width(), 440);
        QVERIFY(sizes()->geometry().right() < 440);
        sheet->grab();
        m_stage->click(Button::fullscreen);
        m_stage->click(Button::windowed);
        QCOMPARE(preferences.resolution(), stored);
        m_stage->click(Button::done);
        QCOMPARE(preferences.resolution(), stored);

        m_stage->openSettings();
        sizes()->setCurrentIndex(2);
        Q_EMIT sizes()->activated(2);
        QCOMPARE(preferences.resolution(), u"1600x900"_s);
    }

    void theTextsStandInTheirOrder()
    {
        const auto *sheet = m_stage->openSettings();
        QCOMPARE(m_stage->texts(),
                 QStringList({ u"Settings"_s, u"Window"_s, u"Window size"_s,
                               u"Updating downloads the game again. Your save files are kept (they live in "
                               "Godot's own folder)."_s }));
        int above = 0;
        for (const auto &[left, right] : { std::pair(Button::windowed, Button::fullscreen),
                                           { Button::update, Button::reinstall },
                                           { Button::reveal, Button::showSaves },
                                           { Button::removeEverything, Button::removeEverything },
                                           { Button::done, Button::done } }) {
            const int top = Stage::placeIn(*sheet, *m_stage->button(left)).top();
            QVERIFY(top > above);
            QCOMPARE(Stage::placeIn(*sheet, *m_stage->button(right)).top(), top);
            above = top;
        }
    }

    void whatDownloadsAgainClosesTheSheetBeforeItStarts_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<bool>("keepsEngine");
        QTest::newRow("Update keeps the engine") << Button::update << true;
        QTest::newRow("Reinstall removes the engine") << Button::reinstall << false;
    }

    void whatDownloadsAgainClosesTheSheetBeforeItStarts()
    {
        QFETCH(const QString, button);
        QFETCH(const bool, keepsEngine);
        m_stage->startSlowHost();
        QDir().mkpath(Paths::engineFolder());
        m_stage->openSettings();
        bool wasOpenAtStart = false;
        connect(&m_stage->model, &Observable::willChange, m_stage->window.get(),
                [&] { wasOpenAtStart |= m_stage->shows<SettingsView>(); });
        m_stage->click(button);
        QVERIFY(m_stage->model.isWorking());
        QTRY_VERIFY(m_stage->shows<ProgressBlock>());
        QVERIFY(!wasOpenAtStart);
        QCOMPARE(QDir(Paths::engineFolder()).exists(), keepsEngine);
    }

    void revealAndSavesLeaveTheSheetOpen()
    {
        m_stage->openSettings();
        m_stage->click(Button::reveal);
        const auto notRevealed = m_stage->model.notice.get();
        QVERIFY(notRevealed);
        m_stage->click(Button::showSaves);
        QVERIFY(m_stage->model.notice.get());
        QVERIFY(m_stage->model.notice.get() != notRevealed);
        QDir().mkpath(Paths::root());
        m_stage->click(Button::reveal);
        QCOMPARE(m_stage->player.workspace.revealed, QStringList { Paths::root() });
        QVERIFY(m_stage->shows<SettingsView>());
    }

    void theRemovalAsksAndShowsTheSizeWhenItIsKnown()
    {
        const auto *question = askToRemove();
        QCOMPARE(question->windowTitle(), u"Remove the game and the engine?"_s);
        QCOMPARE(question->text(), question->windowTitle());
        QCOMPARE(question->informativeText(),
                 u"This deletes the downloaded game and engine. Save files are kept."_s);
        QCOMPARE(question->windowModality(), Qt::WindowModal);
        QTRY_VERIFY(m_stage->hasButton(removeForGood(0)));
        auto *remove = m_stage->button(removeForGood(0));
        QCOMPARE(question->buttonRole(remove), QMessageBox::DestructiveRole);
        QVERIFY(m_stage->hasButton(Button::cancel));

        m_stage->model.freeableBytes = 187'300'000;
        Stage::settle();
        QCOMPARE(remove->text(), removeForGood(187'300'000));
        QVERIFY(remove->width() >= remove->sizeHint().width());
    }

    void anythingButTheRemovalItselfLeavesTheSheetAndTheFiles_data()
    {
        QTest::addColumn<int>("key");
        QTest::newRow("Cancel is clicked") << 0;
        QTest::newRow("Escape is pressed") << static_cast<int>(Qt::Key_Escape);
        QTest::newRow("Return is pressed") << static_cast<int>(Qt::Key_Return);
    }

    void anythingButTheRemovalItselfLeavesTheSheetAndTheFiles()
    {
        QFETCH(const int, key);
        QDir().mkpath(Paths::gameFolder());
        askToRemove();
        if (key)
            m_stage->press(static_cast<Qt::Key>(key));
        else
            m_stage->click(Button::cancel);
        QVERIFY(!m_stage->shows<QMessageBox>());
        QVERIFY(m_stage->shows<SettingsView>());
        QVERIFY(QDir(Paths::gameFolder()).exists());
        QVERIFY(!m_stage->model.notice->has_value());
    }

    void confirmingTheRemovalRemovesAndClosesTheSheet()
    {
        m_stage->player.home.write(u"data/Vantor Platformer/Game/picture"_s, QByteArray(100000, 'x'));
        QVERIFY(QDir(Paths::gameFolder()).exists());
        askToRemove();
        QTRY_VERIFY(m_stage->model.freeableBytes > 0);
        Stage::settle();
        m_stage->click(removeForGood(m_stage->model.freeableBytes));
        QVERIFY(!QDir(Paths::root()).exists());
        QVERIFY(!m_stage->shows<QMessageBox>());
        QVERIFY(!m_stage->shows<SettingsView>());
        QVERIFY(m_stage->model.notice->has_value());
    }

    void maintenanceIsOffWhileTheGameRuns()
    {
        m_stage->openSettings();
        for (const bool gameRuns : { true, false }) {
            m_stage->model.runner.isRunning = gameRuns;
            Stage::settle();
            for (const QString &text : maintenance)
                QCOMPARE(m_stage->button(text)->isEnabled(), !gameRuns);
            QVERIFY(m_stage->button(Button::showSaves)->isEnabled());
        }
    }

    void aGameThatStartsDuringTheQuestionTurnsTheRemovalOff()
    {
        askToRemove();
        m_stage->model.runner.isRunning = true;
        Stage::settle();
        QVERIFY(!m_stage->button(removeForGood(0))->isEnabled());
    }

    void onlyTheRemovalCanBeChosenWhileTheLauncherWorks_data()
    {
        QTest::addColumn<bool>("opensFirst");
        QTest::newRow("opened while it works") << false;
        QTest::newRow("opened before it works") << true;
    }

    void onlyTheRemovalCanBeChosenWhileTheLauncherWorks()
    {
        QFETCH(const bool, opensFirst);
        m_stage->startSlowHost();
        if (opensFirst)
            m_stage->openSettings();
        m_stage->model.play();
        QVERIFY(m_stage->model.isWorking());
        if (!opensFirst)
            m_stage->openSettings();
        Stage::settle();

        const auto canPress = [this](const QString &text) { return m_stage->button(text)->isEnabled(); };
        for (const QString &text : { Button::update, Button::reinstall })
            QTRY_VERIFY(!canPress(text));
        for (const QString &text :
             { Button::removeEverything, Button::reveal, Button::showSaves, Button::done })
            QVERIFY(canPress(text));
        QVERIFY(m_stage->model.isWorking());

        m_stage->model.cancel();
        QTRY_VERIFY(!m_stage->model.isWorking());
        for (const QString &text : { Button::update, Button::reinstall })
            QTRY_VERIFY(canPress(text));
    }

private:
    Preferences &stored() { return m_stage->player.preferences; }
    QComboBox *sizes() { return m_stage->visible<QComboBox>(); }

    QMessageBox *askToRemove()
    {
        m_stage->openSettings();
        m_stage->click(Button::removeEverything);
        return m_stage->visible<QMessageBox>();
    }

    std::unique_ptr<Stage> m_stage;
};

QTEST_MAIN(FailsCleanly<SettingsViewTest>)
#include "SettingsViewTest.moc"
