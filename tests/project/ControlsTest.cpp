#include "Controls.h"

#include "GameFolder.h"
#include "Rows.h"

using namespace Qt::StringLiterals;
using Files = GameFolder::Files;

namespace {

const QString first = u"See README (it lists no controls)."_s;
const QString move = u"Left / Right arrow keys: move (from the game's scripts)"_s;
const QString jump = u"Up arrow: jump (from the game's scripts)"_s;
const QString last = u"The game also shows on-screen buttons you can click."_s;

/// What is shown of the scripts in `root`, where the README lists no controls.
QStringList controlsOf(const QString &root) { return controlsList({}, root).controls; }

}

class ControlsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theReadmesListComesFromTheSectionsAboutTheControls_data()
    {
        const auto row = rows([](const QByteArray &readme, const QByteArray &items) {
            const GameFolder game;
            QCOMPARE(controlsList(readme, game.path()),
                     (ControlsList { QString::fromUtf8(items).split(u'|'), true }));
        });
        row("any level", "###### Controls\n- a\n", "a");
        row("any letter case", "# GAME CONTROLS\n- a\n", "a");
        row("controller", "# With a Controller\n- a\n", "a");
        row("how to play", "# How To Play it\n- a\n", "a");
        row("no blank after the sign", "#controls\n-a\n", "a");
        row("three bullets", "# Controls\n- a\n* b\n\u2022 c\n", "a|b|c");
        row("indented bullets", "# Controls\n   - a\n\t* b\n", "a|b");
        row("the first eight", "# Game\n\n## Controls\n\n- 1\n- 2\n- 3\n- 4\n- 5\n- 6\n- 7\n- 8\n- 9\n",
            "1|2|3|4|5|6|7|8");
        row("cleaned", "# Controls\n- **Space**: jump\n", "Space: jump");
        row("stops at the next heading", "## Controls\n- a\n## License\n- b\n", "a");
        row("a later section continues it", "# Controls\n- a\n# Other\n- b\n# How to play\n- c\n", "a|c");
        row("other lines do not close it", "# Controls\n\nSome text\n| a | b |\n1. one\n- a\n", "a");
        row("bullets before it do not count", "- x\n# Controls\n- a\n", "a");
        row("an empty item does not count", "# Controls\n-\n- **\n- ` `\n- a\n", "a");
        row("a bold line that begins with a bullet", "# Controls\n**Jump** with Space\n", "*Jump with Space");
        row("only one sign is dropped", "# Controls\n-- a\n", "- a");
        row("a horizontal rule is an item of two hyphens", "## Controls\n- a\n---\n- b\n", "a|--|b");
        row("carriage returns", "# Controls\r\n\r\n- a\r\n- b\r\n", "a|b");
        row("a subheading closes it", "# Controls\n## Keyboard\n- a\n# Controls 2\n- b\n", "b");
    }
    void theReadmesListComesFromTheSectionsAboutTheControls() { runRow(); }

    void withoutAListInTheReadmeTheScriptsAreSearched_data()
    {
        const auto row = rows([](const QByteArray &readme) {
            const GameFolder game { { "player.gd", "ui_up" } };
            QCOMPARE(controlsList(readme, game.path()), (ControlsList { { first, jump, last }, false }));
        });
        row("no README", "");
        row("a list of something else", "# Game\n- not a control\n");
        row("numbered items", "## How to play\n1. Jump\n2. Run\n");
    }
    void withoutAListInTheReadmeTheScriptsAreSearched() { runRow(); }

    void scriptsRevealThatTheGameMovesAndJumps_data()
    {
        const auto row = rows([](const Files &files, const QStringList &lines) {
            const GameFolder game(files);
            QCOMPARE(controlsOf(game.path()), QStringList { first } + lines + QStringList { last });
        });
        row("no script", {}, {});
        row("both, in two scripts",
            { { "a.gd", "if Input.is_action_just_pressed(\"ui_up\"):\n" },
              { "b.gd", "if Input.is_action_pressed(\"ui_right\"):\n" } },
            { move, jump });
        row("left", { { "a.gd", "ui_left" } }, { move });
        row("right", { { "a.gd", "ui_right" } }, { move });
        row("up", { { "a.gd", "ui_up" } }, { jump });
        row("a comment counts", { { "a.gd", "# not ui_left any more" } }, { move });
        row("a part of a word counts", { { "a.gd", "gui_uproar" } }, { jump });
        row("other letter case", { { "a.gd", "UI_LEFT UI_UP" } }, {});
        row("other actions", { { "a.gd", "ui_down ui_accept" } }, {});
        row("not UTF-8", { { "a.gd", "ui_up \xff" } }, {});
        for (const char *name : { "a.b.gd", "a/b/c/d/e/f/g/deep.gd" })
            row(name, { { name, "ui_up" } }, { jump });
        for (const char *name :
             { "a.GD", "a.gdc", "agd", "a.gd.txt", ".a.gd", ".gd", ".godot/cache.gd", "a/.hidden/x.gd" })
            row(("not " + QByteArray(name)).constData(), { { name, "ui_up" } }, {});
    }
    void scriptsRevealThatTheGameMovesAndJumps() { runRow(); }

    void aMissingFolderHasNoScripts()
    {
        const GameFolder game;
        QCOMPARE(controlsOf(game.path("missing")), (QStringList { first, last }));
    }

    void scriptsBehindLinksToFoldersAreNotRead()
    {
        const GameFolder game { { "elsewhere/a.gd", "ui_up" } };
        game.link("game/more", game.path("elsewhere"));
        QCOMPARE(controlsOf(game.path("game")), (QStringList { first, last }));
    }

    void twoHundredAndOneScriptsAreReadAndNoMore()
    {
        const GameFolder game;
        for (int number = 0; number < 202; ++number)
            game.write(u"%1.gd"_s.arg(number), "");
        const QStringList order = game.listed();
        QCOMPARE(order.size(), 202);

        game.write(order[201], "ui_up");
        QCOMPARE(controlsOf(game.path()), (QStringList { first, last }));
        game.write(order[200], "ui_left");
        QCOMPARE(controlsOf(game.path()), (QStringList { first, move, last }));
    }

    void unreadableScriptsAndFoldersCountTowardsTheLimit()
    {
        const GameFolder game;
        for (int number = 0; number < 202; ++number) {
            const QString name = u"%1.gd"_s.arg(number);
            if (number % 2 == 0)
                game.makeFolder(name);
            else
                game.link(name, u"nowhere"_s);
        }
        const QString end = game.listed().last();

        // The last entry is never looked at, not even the content of a folder with its name.
        QVERIFY(QDir().rmdir(game.path(end)) || QFile::remove(game.path(end)));
        game.write(end + u"/jump.gd"_s, "ui_up");
        if (game.listed().last() != end)
            QSKIP("This file system lists a name elsewhere when it is made anew.");
        QCOMPARE(controlsOf(game.path()), (QStringList { first, last }));
    }

    void aFoldersContentIsLookedAtBeforeItsNextNeighbour()
    {
        const GameFolder game;
        for (const QString &folder : { u"a"_s, u"b"_s }) {
            for (int number = 0; number < 201; ++number)
                game.write(u"%1/%2.gd"_s.arg(folder).arg(number), "");
        }
        const QStringList order = game.listed();
        game.write(order.first() + u"/200.gd"_s, "ui_up");
        game.write(order.last() + u"/0.gd"_s, "ui_left");
        QCOMPARE(controlsOf(game.path()), (QStringList { first, jump, last }));
    }

    void deepNestingIsNoTrouble()
    {
        const GameFolder game;
        QString deepest = u"x"_s;
        // Nearly as deep as PATH_MAX allows.
        while (game.path(deepest).size() < 4000)
            deepest += u"/x"_s;
        game.write(deepest + u"/a.gd"_s, "ui_up");
        QCOMPARE(controlsOf(game.path()), (QStringList { first, jump, last }));
    }

    void anActionMayBeginInOneScriptAndEndInALaterOne()
    {
        for (const QByteArrayList &scripts :
             { QByteArrayList { "x ui_ri", "ght y" }, QByteArray("u|i|_|r|i|g|h|t").split('|'),
               QByteArrayList { "xui_righ", "", "t" } }) {
            ScriptActions actions;
            for (const QByteArray &script : scripts)
                actions.add(script);
            QVERIFY(actions.moves());
            QVERIFY(!actions.jumps());
        }
    }

    void theSeamInventsNothing()
    {
        ScriptActions actions;
        for (const char *script : { "ui_", "x", "up ui_lef", "", "-t u", "i_ up" })
            actions.add(script);
        QVERIFY(!actions.moves());
        QVERIFY(!actions.jumps());
    }
};

QTEST_GUILESS_MAIN(ControlsTest)
#include "ControlsTest.moc"
