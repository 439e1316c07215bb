#include "Stage.h"

/// What the settings offer while an action of the launcher is under way.
class SettingsWhileWorkingTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyTheRemovalCanBeChosenWhileTheLauncherWorks_data();
    void onlyTheRemovalCanBeChosenWhileTheLauncherWorks();
};

void SettingsWhileWorkingTest::onlyTheRemovalCanBeChosenWhileTheLauncherWorks_data()
{
    QTest::addColumn<bool>("opensFirst");
    QTest::newRow("opened while it works") << false;
    QTest::newRow("opened before it works") << true;
}

void SettingsWhileWorkingTest::onlyTheRemovalCanBeChosenWhileTheLauncherWorks()
{
    QFETCH(const bool, opensFirst);
    Stage stage;
    stage.player.startHost({ QStringLiteral("--slow"), QStringLiteral("1") });
    const SettingsView *sheet = opensFirst ? stage.openSettings() : nullptr;
    stage.model.play();
    QVERIFY(stage.model.isWorking());
    if (!sheet)
        sheet = stage.openSettings();
    Stage::settle();

    const auto canPress = [sheet](const QString &text) { return Stage::button(*sheet, text)->isEnabled(); };
    const QStringList replacing { QStringLiteral("Update the game"), QStringLiteral("Reinstall") };
    for (const QString &text : replacing)
        QTRY_VERIFY(!canPress(text));
    for (const QString &text :
         { QStringLiteral("Remove everything\u2026"), QStringLiteral("Reveal in Finder"),
           QStringLiteral("Show saves"), QStringLiteral("Done") })
        QVERIFY(canPress(text));
    QVERIFY(stage.model.isWorking());

    stage.model.cancel();
    QTRY_VERIFY(!stage.model.isWorking());
    for (const QString &text : replacing)
        QTRY_VERIFY(canPress(text));
}

QTEST_MAIN(SettingsWhileWorkingTest)
#include "SettingsWhileWorkingTest.moc"
