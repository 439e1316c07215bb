#include "FileSizeText.h"
#include "ProgressBlock.h"
#include "Question.h"
#include "Stage.h"
#include "Table.h"

#include <QComboBox>
#include <QPushButton>

namespace {

/// The button that removes everything for good, with the size that this frees.
QString removeForGood(qint64 bytes) { return u"Remove (frees %1)"_s.arg(fileSizeText(bytes)); }

}

class SettingsViewTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void theSettingsShowWhatIsStored()
    {
        openSettings();
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
        QVERIFY(button(Button::windowed)->isChecked());
        QVERIFY(sizes()->isEnabled());
        click(Button::done);

        stored.setFullscreen(true);
        stored.setResolution(u"1600x900"_s);
        openSettings();
        QVERIFY(button(Button::fullscreen)->isChecked());
        QCOMPARE(sizes()->currentText(), u"1600x900"_s);
        QVERIFY(!sizes()->isEnabled());
    }

    void fullscreenDisablesTheSizeAndKeepsItsValue()
    {
        stored.setResolution(u"1280x720"_s);
        openSettings();
        for (const bool isFullscreen : { true, false }) {
            click(isFullscreen ? Button::fullscreen : Button::windowed);
            QCOMPARE(stored.fullscreen(), isFullscreen);
            QCOMPARE(sizes()->isEnabled(), !isFullscreen);
            QCOMPARE(sizes()->currentText(), u"1280x720"_s);
            QCOMPARE(stored.resolution(), u"1280x720"_s);
        }
    }

    void aChosenSizeIsStoredAtOnce()
    {
        openSettings();
        sizes()->setFocus();
        for (const auto &[key, size] : { std::pair(Qt::Key_Down, u"1280x720"_s),
                                         { Qt::Key_End, u"1920x1080"_s },
                                         { Qt::Key_Home, u"default"_s } }) {
            QTest::keyClick(sizes(), key);
            QCOMPARE(stored.resolution(), size);
        }
    }

    void theArrowKeysChangeTheWindowChoice()
    {
        openSettings();
        auto *windowed = button(Button::windowed);
        auto *fullscreen = button(Button::fullscreen);
        QVERIFY(place(windowed).right() < place(fullscreen).left());
        windowed->setFocus();
        QTest::keyClick(windowed, Qt::Key_Right);
        QVERIFY(fullscreen->isChecked());
        QVERIFY(fullscreen->hasFocus());
        QVERIFY(stored.fullscreen());
        QTest::keyClick(fullscreen, Qt::Key_Left);
        QVERIFY(windowed->isChecked());
        QVERIFY(!stored.fullscreen());
    }

    void aStoredSizeThatNobodyOffersIsShownAndStays_data()
    {
        const auto row = table<QString, QString>("size", "shown");
        row("another size", u"800x600"_s, u"800x600"_s);
        row("empty", u""_s, {});
        row("not a size", u"as large as it gets"_s, u"as large as it gets"_s);
        row("odd", u"\u202e1x\a1"_s, u"\ufffd1x\u24071"_s);
        row("endless", QString(100000, u'9'), QString(100000, u'9'));
    }

    void aStoredSizeThatNobodyOffersIsShownAndStays()
    {
        QFETCH(const QString, size);
        stored.setResolution(size);
        auto *sheet = openSettings();
        QCOMPARE(sizes()->count(), 5);
        QTEST(sizes()->currentText(), "shown");
        QCOMPARE(sheet->width(), 440);
        QVERIFY(sizes()->geometry().right() < 440);
        sheet->grab();
        click(Button::fullscreen);
        click(Button::windowed);
        QCOMPARE(stored.resolution(), size);
        click(Button::done);
        QCOMPARE(stored.resolution(), size);

        openSettings();
        sizes()->setCurrentIndex(2);
        Q_EMIT sizes()->activated(2);
        QCOMPARE(stored.resolution(), u"1600x900"_s);
    }

    void everyTextIsThere()
    {
        openSettings();
        QCOMPARE(texts(),
                 QStringList({ u"Settings"_s, u"Window"_s, u"Window size"_s,
                               u"Updating downloads the game again. Your save files are kept (they "
                               "live in Godot's own folder)."_s }));
    }

    void whatDownloadsAgainClosesTheSheetBeforeItStarts_data()
    {
        const auto row = table<QString, bool>("choice", "keepsEngine");
        row("Update keeps the engine", Button::update, true);
        row("Reinstall removes the engine", Button::reinstall, false);
    }

    void whatDownloadsAgainClosesTheSheetBeforeItStarts()
    {
        QFETCH(const QString, choice);
        startSlowHost();
        QDir().mkpath(Paths::engineFolder());
        openSettings();
        bool wasOpenAtStart = false;
        connect(&model, &Observable::willChange, &window(), [&] { wasOpenAtStart |= shows<SettingsView>(); });
        click(choice);
        QVERIFY(model.isWorking());
        QTRY_VERIFY(shows<ProgressBlock>());
        QVERIFY(!wasOpenAtStart);
        QTEST(QDir(Paths::engineFolder()).exists(), "keepsEngine");
    }

    void revealAndSavesLeaveTheSheetOpen()
    {
        openSettings();
        click(Button::reveal);
        const auto notRevealed = model.notice.get();
        QVERIFY(notRevealed);
        click(Button::showSaves);
        QVERIFY(model.notice.get());
        QVERIFY(model.notice.get() != notRevealed);
        QDir().mkpath(Paths::root());
        click(Button::reveal);
        QCOMPARE(player.workspace.revealed, QStringList { Paths::root() });
        QVERIFY(shows<SettingsView>());
    }

    void theRemovalAsksAndShowsTheSizeWhenItIsKnown()
    {
        const auto *question = askToRemove();
        QCOMPARE(front(), question);
        QCOMPARE(texts(),
                 QStringList({ u"Remove the game and the engine?"_s,
                               u"This deletes the downloaded game and engine. Save files are kept."_s }));
        QCOMPARE(question->accessibleName(), texts().first());
        QTRY_VERIFY(hasButton(removeForGood(0)));
        auto *remove = button(removeForGood(0));
        QVERIFY(hasButton(Button::cancel));

        set(model.freeableBytes, 187'300'000);
        QCOMPARE(remove->text(), removeForGood(187'300'000));
        QVERIFY(remove->width() >= remove->sizeHint().width());
    }

    void onlyWhatRemovesLooksAsIfItDestroys()
    {
        const auto destructive = [this] {
            QStringList names;
            for (const QPushButton *button : front()->findChildren<QPushButton *>()) {
                if (button->property(LauncherStyle::destructiveProperty).toBool())
                    names << button->text();
            }
            return names;
        };
        openSettings();
        QCOMPARE(destructive(), QStringList(Button::removeEverything));
        click(Button::removeEverything);
        QCOMPARE(destructive(), QStringList(removeForGood(0)));
    }

    void anythingButTheRemovalItselfLeavesTheSheetAndTheFiles()
    {
        QDir().mkpath(Paths::gameFolder());
        openSettings();
        for (const auto &answer :
             { clicking(Button::cancel), pressing(Qt::Key_Escape), pressing(Qt::Key_Return) }) {
            click(Button::removeEverything);
            QVERIFY(shows<Question>());
            answer();
            QVERIFY(!shows<Question>());
            QVERIFY(shows<SettingsView>());
            QVERIFY(QDir(Paths::gameFolder()).exists());
            QVERIFY(!model.notice->has_value());
        }
    }

    void confirmingTheRemovalRemovesAndClosesTheSheet()
    {
        player.writeInstalled(u"picture"_s, QByteArray(100000, 'x'));
        askToRemove();
        QTRY_VERIFY(model.freeableBytes > 0);
        settle();
        click(removeForGood(model.freeableBytes));
        QVERIFY(!QDir(Paths::root()).exists());
        QVERIFY(!shows<Question>());
        QVERIFY(!shows<SettingsView>());
        QVERIFY(model.notice->has_value());
    }

    void maintenanceIsOffWhileTheGameRuns()
    {
        openSettings();
        for (const bool gameRuns : { true, false }) {
            set(model.runner.isRunning, gameRuns);
            for (const QString &choice : { Button::update, Button::reinstall, Button::removeEverything })
                QCOMPARE(button(choice)->isEnabled(), !gameRuns);
            QVERIFY(button(Button::showSaves)->isEnabled());
        }
    }

    void aGameThatStartsDuringTheQuestionTurnsTheRemovalOff()
    {
        askToRemove();
        set(model.runner.isRunning, true);
        QVERIFY(!button(removeForGood(0))->isEnabled());
    }

    void onlyTheRemovalCanBeChosenWhileTheLauncherWorks()
    {
        const auto canPress = [this](const QString &text) { return button(text)->isEnabled(); };
        const auto canReplace
            = [canPress] { return canPress(Button::update) && canPress(Button::reinstall); };
        startSlowHost();
        openSettings();
        model.play();
        for (const bool isOpenedAgain : { false, true }) {
            if (isOpenedAgain) {
                click(Button::done);
                openSettings();
            }
            settle();
            QTRY_VERIFY(!canPress(Button::update) && !canPress(Button::reinstall));
            for (const QString &text :
                 { Button::removeEverything, Button::reveal, Button::showSaves, Button::done })
                QVERIFY(canPress(text));
            QVERIFY(model.isWorking());
        }
        model.cancel();
        QTRY_VERIFY(!model.isWorking());
        QTRY_VERIFY(canReplace());
    }

private:
    QComboBox *sizes() { return visible<QComboBox>(); }

    Question *askToRemove()
    {
        openSettings();
        click(Button::removeEverything);
        return visible<Question>();
    }

    Preferences &stored = player.preferences;
};

QTEST_MAIN(FreshForEach<SettingsViewTest>)
#include "SettingsViewTest.moc"
