#include "ProjectInspector.h"

#include "Controls.h"
#include "GameFolder.h"
#include "LicenseInfo.h"
#include "Rows.h"

#include <QRandomGenerator>

using namespace Qt::StringLiterals;
using Make = std::function<void(const GameFolder &game, const char *name)>;
using ProjectInspector::inspect;

class InspectTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aWholeProjectIsRead()
    {
        const GameFolder game {
            { "project.godot",
              "config_version=5\n[application]\nconfig/name=\"Hopper\"\nrun/main_scene=\"res://main.tscn\"\n"
              "config/features=PackedStringArray(\"4.6\", \"GL Compatibility\")\n" },
            { "README.md",
              "# Hopper\n\nA game in which a hare hops over hedges.\n\n## Controls\n\n- **Up**: hop\n" },
            { "LICENSE", "MIT License\n\nCopyright (c) 2024 Jane Roe\n" }
        };
        const ProjectInfo expected { game.path(),
                                     u"Hopper"_s,
                                     5,
                                     { u"4.6"_s, u"GL Compatibility"_s },
                                     u"res://main.tscn"_s,
                                     false,
                                     u"Hopper \u2014 A game in which a hare hops over hedges."_s,
                                     u"MIT License"_s,
                                     u"Jane Roe"_s,
                                     { u"Up: hop"_s },
                                     true };
        QVERIFY(inspect(game.path()) == expected);
    }

    void withoutAProjectFileTheRestIsStillRead()
    {
        const GameFolder game { { "README.md", "# Hopper\n## How to play\n* hop\n" },
                                { "COPYING.txt", "GPL\nCopyright Jane\n" } };
        ProjectInfo expected;
        expected.root = game.path();
        expected.blurb = u"Hopper"_s;
        expected.licenseName = u"GPL"_s;
        expected.author = u"Jane"_s;
        expected.controls = QStringList { u"hop"_s };
        expected.controlsFromReadme = true;
        QVERIFY(inspect(game.path()) == expected);
    }

    void anEmptyOrMissingFolderHasTheDefaults()
    {
        const GameFolder game;
        for (const QString &root : { game.path(), game.path("missing") }) {
            ProjectInfo expected;
            expected.root = root;
            expected.blurb = expected.name;
            expected.licenseName = licenseInfo(root).name;
            expected.author = licenseInfo(root).author;
            expected.controls = controlsList({}, root).controls;
            QVERIFY(inspect(root) == expected);
        }
    }

    void aFileThatCannotBeReadCountsAsEmpty_data()
    {
        const auto row = rows([](const Make &make) {
            const GameFolder game;
            for (const char *name : { "project.godot", "README", "LICENSE", "a.gd" })
                make(game, name);
            const ProjectInfo info = inspect(game.path());
            QCOMPARE(info.name, ProjectInfo().name);
            QCOMPARE(info.configVersion, 0);
            QCOMPARE(info.blurb, ProjectInfo().name);
            QCOMPARE(LicenseInfo({ info.licenseName, info.author }), LicenseInfo::parse({}));
            QCOMPARE(info.controls, controlsList({}, game.path("missing")).controls);
        });
        const auto text = [](const QByteArray &content) {
            return [content](const GameFolder &game, const char *name) { game.write(name, content); };
        };
        const auto linkTo = [](const QString &target) {
            return [target](const GameFolder &game, const char *name) { game.link(name, target); };
        };
        QByteArray noise(5'000'000, Qt::Uninitialized);
        QRandomGenerator(1).generate(noise.begin(), noise.end());
        row("random bytes", text(noise));
        row("not UTF-8", text("config_version=5\nconfig/name=\"Caf\xe9\"\n# Hi\nCopyright Jane\nui_up\n"));
        row("a folder", &GameFolder::makeFolder);
        row("a pipe", &GameFolder::makePipe);
        row("a dangling link", linkTo(u"nowhere"_s));
        row("a link to itself",
            [](const GameFolder &game, const char *name) { game.link(name, QString::fromLatin1(name)); });
        row("a device", linkTo(u"/dev/zero"_s));
    }
    void aFileThatCannotBeReadCountsAsEmpty() { runRow(); }

    void theRootIsKeptAsGivenAndTheNameIsTheBlurbsFallback()
    {
        const GameFolder game { { "project.godot", "config/name=\"Hopper\"\n" }, { "README", "short\n" } };
        const QString root = game.path() + u"/./"_s;
        QCOMPARE(inspect(root).root, root);
        QCOMPARE(inspect(root).blurb, u"Hopper"_s);
    }

    void aFeatureOrAFileOfTheDotNetToolsDecidesForCSharp_data()
    {
        const auto row = rows([](const QString &name, const QByteArray &features, bool isCSharp) {
            const GameFolder game { { "project.godot",
                                      "config/features=PackedStringArray(" + features + ")\n" } };
            game.write(name, "");
            QCOMPARE(inspect(game.path()).isCSharp, isCSharp);
            QCOMPARE(ProjectInspector::inspectForEngine(game.path()).isCSharp, isCSharp);
        });
        row("the feature, without such a file", u"icon.svg"_s, "\"4.2\", \"C#\", \"Forward Plus\"", true);
        row("other features", u"icon.svg"_s, "\"4.2\", \"c#\", \"C# \"", false);
        for (const QString &name :
             { u"Game.csproj"_s, u"Game.sln"_s, u".sln"_s, u"Game.sln/a file in a folder"_s })
            row(qPrintable(name), name, "", true);
        for (const QString &name :
             { u"Game.SLN"_s, u"Game.csproj.old"_s, u"sln"_s, u"src/Game.csproj"_s, u"Player.cs"_s })
            row(qPrintable(u"not "_s + name), name, "", false);
    }
    void aFeatureOrAFileOfTheDotNetToolsDecidesForCSharp() { runRow(); }

    void aFileFromAnotherSystemIsRead()
    {
        const GameFolder game {
            { "project.godot",
              "\xef\xbb\xbf"
              "config_version=5\r\n\r\n[application]\r\n\r\n\tconfig/name=\"Mañana \u2014 \U0001F438\" \r\n"
              "config/features=PackedStringArray(\"4.2\", \"C#\", \"Forward Plus\")\r\n" },
            { "README.rst", "Frog\r\n====\r\n\r\nA frog that jumps from stone to stone.\r\n" },
            { "copying.TXT", "Lizenz\r\n\r\nCopyright © 2020-2022 Jürgen M.\r\n" }
        };
        const ProjectInfo info = inspect(game.path());
        QCOMPARE(info.configVersion, 5);
        QCOMPARE(info.name, u"Mañana \u2014 \U0001F438"_s);
        QCOMPARE(info.features, (QStringList { u"4.2"_s, u"C#"_s, u"Forward Plus"_s }));
        QVERIFY(info.isCSharp);
        QCOMPARE(info.blurb, u"A frog that jumps from stone to stone."_s);
        QCOMPARE(info.licenseName, u"Lizenz"_s);
        QCOMPARE(info.author, u"Jürgen M."_s);
    }

    void everythingAtOnceInAnOddProject()
    {
        const GameFolder game {
            { "project.godot",
              "; Engine configuration file.\n;   param=value\n\nconfig_version=4\n\n"
              "_global_script_classes=[ {\n\"base\": \"Node\",\n\"class\": \"config/name=\",\n} ]\n\n"
              "[application]\n\nconfig/name=\"Odd\"\nconfig/description=\"config/name=\\\"no\\\"\n"
              "config/name=\"\"\nrun/main_scene=\"res://a b.tscn\"\n"
              "[input]\nui_left={\n\"deadzone\": 0.5\n}\n" },
            { "readme/README.md", "# Not this one\n" },
            { "scripts/player.gd", "Input.get_axis(\"ui_left\", \"ui_right\")\n" }
        };
        const ProjectInfo info = inspect(game.path());
        QCOMPARE(info.name, QString());
        QCOMPARE(info.mainScene, u"res://a b.tscn"_s);
        QCOMPARE(info.blurb, QString());
        QCOMPARE(info.controls.size(), 3);
        QCOMPARE(info.author, licenseInfo(game.path()).author);
    }
};

QTEST_GUILESS_MAIN(InspectTest)
#include "InspectTest.moc"
