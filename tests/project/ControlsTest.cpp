#include "Controls.h"
#include "TestHome.h"

#include <QTest>

#include <filesystem>

class ControlsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFirstEightBulletsAreTakenAndCleaned();
    void theListComesFromTheSectionsAboutTheControls_data();
    void theListComesFromTheSectionsAboutTheControls();
    void numberedItemsGiveWayToTheScripts();
    void aHorizontalRuleBecomesAnItemOfTwoHyphens();

    void scriptsThatMoveAndJumpGiveAllFourLines();
    void withoutScriptsOnlyTheFirstAndTheLastLineStand();
    void eachActionGivesItsOwnLine_data();
    void eachActionGivesItsOwnLine();
    void onlyFilesWithTheExactExtensionAreScripts_data();
    void onlyFilesWithTheExactExtensionAreScripts();
    void scriptsInEveryFolderCountButNotInHiddenOnes();
    void scriptsBehindLinksToFoldersAreNotRead();
    void anUnreadableScriptCountsAsEmpty();
    void aMissingFolderGivesTheTwoFixedLines();
    void twoHundredAndOneScriptsAreReadAndNoMore();
    void unreadableScriptsAndFoldersCountTowardsTheLimit();
    void aFoldersContentIsLookedAtBeforeItsNextNeighbour();
    void deepNestingIsNoTrouble();
    void anActionMayBeginInOneScriptAndEndInALaterOne();
    void theSeamInventsNothing();

private:
    static const QString first;
    static const QString move;
    static const QString jump;
    static const QString last;

    static QStringList listOf(const QString &readme)
    {
        const TestHome home;
        return controlsList(readme.toUtf8(), home.path()).controls;
    }
};

const QString ControlsTest::first = QStringLiteral("See README (it lists no controls).");
const QString ControlsTest::move = QStringLiteral("Left / Right arrow keys: move (from the game's scripts)");
const QString ControlsTest::jump = QStringLiteral("Up arrow: jump (from the game's scripts)");
const QString ControlsTest::last = QStringLiteral("The game also shows on-screen buttons you can click.");

void ControlsTest::theFirstEightBulletsAreTakenAndCleaned()
{
    QString readme = QStringLiteral("# Game\n\n## Controls\n\n- **Space**: jump\n");
    for (int number = 2; number <= 10; ++number)
        readme += QStringLiteral("- item %1\n").arg(number);
    const TestHome home;
    const ControlsList list = controlsList(readme.toUtf8(), home.path());
    QVERIFY(list.fromReadme);
    QCOMPARE(list.controls,
             QStringLiteral("Space: jump|item 2|item 3|item 4|item 5|item 6|item 7|item 8").split(u'|'));
}

void ControlsTest::theListComesFromTheSectionsAboutTheControls_data()
{
    QTest::addColumn<QString>("readme");
    QTest::addColumn<QString>("items");
    const auto row = [](const char *name, const char16_t *readme, const char16_t *items) {
        QTest::newRow(name) << QString::fromUtf16(readme) << QString::fromUtf16(items);
    };
    row("any level", u"###### Controls\n- a\n", u"a");
    row("any letter case", u"# GAME CONTROLS\n- a\n", u"a");
    row("controller", u"# With a Controller\n- a\n", u"a");
    row("how to play", u"# How To Play it\n- a\n", u"a");
    row("no blank after the sign", u"#controls\n-a\n", u"a");
    row("three bullets", u"# Controls\n- a\n* b\n\u2022 c\n", u"a|b|c");
    row("indented bullets", u"# Controls\n   - a\n\t* b\n", u"a|b");
    row("stops at the next heading", u"## Controls\n- a\n## License\n- b\n", u"a");
    row("a later section goes on", u"# Controls\n- a\n# Other\n- b\n# How to play\n- c\n", u"a|c");
    row("other lines do not close it", u"# Controls\n\nSome text\n| a | b |\n1. one\n- a\n", u"a");
    row("bullets before it do not count", u"- x\n# Controls\n- a\n", u"a");
    row("an empty item is none", u"# Controls\n-\n- **\n- ` `\n- a\n", u"a");
    row("a bold line that begins with a bullet", u"# Controls\n**Jump** with Space\n", u"*Jump with Space");
    row("only one sign is dropped", u"# Controls\n-- a\n", u"- a");
    row("carriage returns", u"# Controls\r\n\r\n- a\r\n- b\r\n", u"a|b");
    row("a subheading closes it", u"# Controls\n## Keyboard\n- a\n# Controls 2\n- b\n", u"b");
}

void ControlsTest::theListComesFromTheSectionsAboutTheControls()
{
    QFETCH(QString, readme);
    QFETCH(QString, items);
    const TestHome home;
    const ControlsList list = controlsList(readme.toUtf8(), home.path());
    QCOMPARE(list.controls, items.split(u'|'));
    QVERIFY(list.fromReadme);
}

void ControlsTest::numberedItemsGiveWayToTheScripts()
{
    const TestHome home;
    home.write(QStringLiteral("player.gd"), "ui_up");
    const ControlsList list = controlsList("## How to play\n1. Jump\n2. Run\n", home.path());
    QCOMPARE(list.controls, (QStringList { first, jump, last }));
    QVERIFY(!list.fromReadme);
}

void ControlsTest::aHorizontalRuleBecomesAnItemOfTwoHyphens()
{
    QCOMPARE(listOf(QStringLiteral("## Controls\n- a\n---\n- b\n")), QStringLiteral("a|--|b").split(u'|'));
}

void ControlsTest::scriptsThatMoveAndJumpGiveAllFourLines()
{
    const TestHome home;
    home.write(QStringLiteral("a.gd"), "if Input.is_action_pressed(\"ui_right\"):\n");
    home.write(QStringLiteral("b.gd"), "if Input.is_action_just_pressed(\"ui_up\"):\n");
    QCOMPARE(controlsList({}, home.path()), (ControlsList { { first, move, jump, last }, false }));
}

void ControlsTest::withoutScriptsOnlyTheFirstAndTheLastLineStand()
{
    QCOMPARE(listOf(QString()), (QStringList { first, last }));
    QCOMPARE(listOf(QStringLiteral("# Game\n- not a control\n")), (QStringList { first, last }));
}

void ControlsTest::eachActionGivesItsOwnLine_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("left") << QByteArray("ui_left") << QStringList { move };
    QTest::newRow("right") << QByteArray("ui_right") << QStringList { move };
    QTest::newRow("up") << QByteArray("ui_up") << QStringList { jump };
    QTest::newRow("a comment counts") << QByteArray("# not ui_left any more") << QStringList { move };
    QTest::newRow("a part of a word counts") << QByteArray("gui_uproar") << QStringList { jump };
    QTest::newRow("other letter case") << QByteArray("UI_LEFT UI_UP") << QStringList();
    QTest::newRow("other actions") << QByteArray("ui_down ui_accept") << QStringList();
}

void ControlsTest::eachActionGivesItsOwnLine()
{
    QFETCH(QByteArray, script);
    QFETCH(QStringList, lines);
    const TestHome home;
    home.write(QStringLiteral("player.gd"), script);
    QCOMPARE(controlsList({}, home.path()).controls, QStringList { first } + lines + QStringList { last });
}

void ControlsTest::onlyFilesWithTheExactExtensionAreScripts_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isScript");
    QTest::newRow("gd") << QStringLiteral("a.gd") << true;
    QTest::newRow("two extensions") << QStringLiteral("a.b.gd") << true;
    QTest::newRow("capitals") << QStringLiteral("a.GD") << false;
    QTest::newRow("longer") << QStringLiteral("a.gdc") << false;
    QTest::newRow("no point") << QStringLiteral("agd") << false;
    QTest::newRow("not last") << QStringLiteral("a.gd.txt") << false;
    QTest::newRow("hidden") << QStringLiteral(".a.gd") << false;
    QTest::newRow("only the extension") << QStringLiteral(".gd") << false;
}

void ControlsTest::onlyFilesWithTheExactExtensionAreScripts()
{
    QFETCH(QString, name);
    QFETCH(bool, isScript);
    const TestHome home;
    home.write(name, "ui_up");
    QCOMPARE(controlsList({}, home.path()).controls.size(), isScript ? 3 : 2);
}

void ControlsTest::scriptsInEveryFolderCountButNotInHiddenOnes()
{
    const TestHome home;
    home.write(QStringLiteral("a/b/c/d/e/f/g/deep.gd"), "ui_up");
    home.write(QStringLiteral(".godot/cache.gd"), "ui_left");
    home.write(QStringLiteral("a/.hidden/x.gd"), "ui_left");
    QCOMPARE(controlsList({}, home.path()).controls, (QStringList { first, jump, last }));
}

void ControlsTest::scriptsBehindLinksToFoldersAreNotRead()
{
    const TestHome home;
    home.write(QStringLiteral("elsewhere/a.gd"), "ui_up");
    QVERIFY(QDir().mkpath(home.filePath(QStringLiteral("game"))));
    QVERIFY(
        QFile::link(home.filePath(QStringLiteral("elsewhere")), home.filePath(QStringLiteral("game/more"))));
    QCOMPARE(controlsList({}, home.filePath(QStringLiteral("game"))).controls, (QStringList { first, last }));
}

void ControlsTest::anUnreadableScriptCountsAsEmpty()
{
    const TestHome home;
    home.write(QStringLiteral("latin.gd"), "ui_up \xff");
    QVERIFY(QFile::link(QStringLiteral("nowhere"), home.filePath(QStringLiteral("dangling.gd"))));
    QVERIFY(QFile::link(QStringLiteral("/dev/zero"), home.filePath(QStringLiteral("device.gd"))));
    QCOMPARE(controlsList({}, home.path()).controls, (QStringList { first, last }));
}

void ControlsTest::aMissingFolderGivesTheTwoFixedLines()
{
    const TestHome home;
    QCOMPARE(controlsList({}, home.filePath(QStringLiteral("missing"))).controls,
             (QStringList { first, last }));
}

void ControlsTest::twoHundredAndOneScriptsAreReadAndNoMore()
{
    const TestHome home;
    for (int number = 0; number < 202; ++number)
        home.write(QStringLiteral("%1.gd").arg(number), "");
    QStringList order;
    for (const auto &entry :
         std::filesystem::directory_iterator(QFile::encodeName(home.path()).toStdString()))
        order.append(QString::fromStdString(entry.path().filename().string()));
    QCOMPARE(order.size(), 202);

    home.write(order[201], "ui_up");
    QCOMPARE(controlsList({}, home.path()).controls, (QStringList { first, last }));
    home.write(order[200], "ui_left");
    QCOMPARE(controlsList({}, home.path()).controls, (QStringList { first, move, last }));
}

void ControlsTest::unreadableScriptsAndFoldersCountTowardsTheLimit()
{
    const TestHome home;
    for (int number = 0; number < 202; ++number) {
        const QString name = home.filePath(QStringLiteral("%1.gd").arg(number));
        if (number % 2 == 0)
            QVERIFY(QDir().mkpath(name));
        else
            QVERIFY(QFile::link(QStringLiteral("nowhere"), name));
    }
    QStringList order;
    for (const auto &entry :
         std::filesystem::directory_iterator(QFile::encodeName(home.path()).toStdString()))
        order.append(QString::fromStdString(entry.path().filename().string()));

    // The last entry is never looked at, not even the content of a folder with its name.
    QVERIFY(QDir().rmdir(home.filePath(order[201])) || QFile::remove(home.filePath(order[201])));
    home.write(order[201] + QStringLiteral("/jump.gd"), "ui_up");
    const std::filesystem::path folder = QFile::encodeName(home.path()).toStdString();
    QString lastNow;
    for (const auto &entry : std::filesystem::directory_iterator(folder))
        lastNow = QString::fromStdString(entry.path().filename().string());
    if (lastNow != order[201])
        QSKIP("This file system lists a name elsewhere when it is made anew.");
    QCOMPARE(controlsList({}, home.path()).controls, (QStringList { first, last }));
}

void ControlsTest::aFoldersContentIsLookedAtBeforeItsNextNeighbour()
{
    const TestHome home;
    for (const char *folder : { "a", "b" }) {
        for (int number = 0; number < 201; ++number)
            home.write(QStringLiteral("%1/%2.gd").arg(QLatin1StringView(folder)).arg(number), "");
    }
    const std::filesystem::path path = QFile::encodeName(home.path()).toStdString();
    const QString early
        = QString::fromStdString(std::filesystem::directory_iterator(path)->path().filename().string());
    const QString late = early == QLatin1StringView("a") ? QStringLiteral("b") : QStringLiteral("a");
    home.write(early + QStringLiteral("/200.gd"), "ui_up");
    home.write(late + QStringLiteral("/0.gd"), "ui_left");
    QCOMPARE(controlsList({}, home.path()).controls, (QStringList { first, jump, last }));
}

void ControlsTest::deepNestingIsNoTrouble()
{
    const TestHome home;
    QString path = home.path();
    // Nearly as deep as PATH_MAX allows.
    while (path.size() < 4000)
        path += QStringLiteral("/x");
    QVERIFY(QDir().mkpath(path));
    QFile script(path + QStringLiteral("/a.gd"));
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write("ui_up");
    script.close();
    QCOMPARE(controlsList({}, home.path()).controls, (QStringList { first, jump, last }));
}

void ControlsTest::anActionMayBeginInOneScriptAndEndInALaterOne()
{
    for (const QStringList &scripts :
         { QStringList { QStringLiteral("x ui_ri"), QStringLiteral("ght y") },
           QStringLiteral("u|i|_|r|i|g|h|t").split(u'|'),
           QStringList { QStringLiteral("xui_righ"), QString(), QStringLiteral("t") } }) {
        ScriptActions actions;
        for (const QString &script : scripts)
            actions.add(script.toUtf8());
        QVERIFY(actions.moves());
        QVERIFY(!actions.jumps());
    }
}

void ControlsTest::theSeamInventsNothing()
{
    ScriptActions actions;
    for (const char *script : { "ui_", "x", "up ui_lef", "", "-t u", "i_ up" })
        actions.add(script);
    QVERIFY(!actions.moves());
    QVERIFY(!actions.jumps());
}

QTEST_GUILESS_MAIN(ControlsTest)
#include "ControlsTest.moc"
