#include "ProjectInspector.h"
#include "TestHome.h"

#include <QTest>

#include <sys/stat.h>

class InspectTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aWholeProjectIsRead();
    void aMissingProjectFileGivesDefaultsAndTheRestIsStillRead();
    void anEmptyOrMissingFolderGivesTheDefaults();
    void aProjectFileThatCannotBeReadGivesTheDefaults_data();
    void aProjectFileThatCannotBeReadGivesTheDefaults();
    void theRootIsKeptAsGiven();
    void theNameIsTheBlurbsFallback();
    void theFeatureDecidesForCSharpWithoutLookingAtTheFolder();
    void filesOfTheDotNetToolsDecideForCSharp_data();
    void filesOfTheDotNetToolsDecideForCSharp();
    void aFileFromAnotherSystemIsRead();
    void everythingAtOnceInAnOddProject();
};

void InspectTest::aWholeProjectIsRead()
{
    const TestHome home;
    home.write(QStringLiteral("project.godot"),
               "config_version=5\n[application]\nconfig/name=\"Hopper\"\nrun/main_scene=\"res://main.tscn\"\n"
               "config/features=PackedStringArray(\"4.6\", \"GL Compatibility\")\n");
    home.write(QStringLiteral("README.md"),
               "# Hopper\n\nA game in which a hare hops over hedges.\n\n## Controls\n\n- **Up**: hop\n");
    home.write(QStringLiteral("LICENSE"), "MIT License\n\nCopyright (c) 2024 Jane Roe\n");
    ProjectInfo expected;
    expected.root = home.path();
    expected.name = QStringLiteral("Hopper");
    expected.configVersion = 5;
    expected.features = QStringList { QStringLiteral("4.6"), QStringLiteral("GL Compatibility") };
    expected.mainScene = QStringLiteral("res://main.tscn");
    expected.isCSharp = false;
    expected.blurb = QStringLiteral("Hopper \u2014 A game in which a hare hops over hedges.");
    expected.licenseName = QStringLiteral("MIT License");
    expected.author = QStringLiteral("Jane Roe");
    expected.controls = QStringList { QStringLiteral("Up: hop") };
    expected.controlsFromReadme = true;
    QVERIFY(ProjectInspector::inspect(home.path()) == expected);
}

void InspectTest::aMissingProjectFileGivesDefaultsAndTheRestIsStillRead()
{
    const TestHome home;
    home.write(QStringLiteral("README.md"), "# Hopper\n## How to play\n* hop\n");
    home.write(QStringLiteral("COPYING.txt"), "GPL\nCopyright Jane\n");
    const ProjectInfo info = ProjectInspector::inspect(home.path());
    QCOMPARE(info.name, QStringLiteral("Vantor"));
    QCOMPARE(info.configVersion, 0);
    QCOMPARE(info.features, QStringList());
    QCOMPARE(info.mainScene, QString());
    QCOMPARE(info.blurb, QStringLiteral("Hopper"));
    QCOMPARE(info.licenseName, QStringLiteral("GPL"));
    QCOMPARE(info.author, QStringLiteral("Jane"));
    QCOMPARE(info.controls, QStringList { QStringLiteral("hop") });
    QVERIFY(info.controlsFromReadme);
}

void InspectTest::anEmptyOrMissingFolderGivesTheDefaults()
{
    const TestHome home;
    for (const QString &root : { home.path(), home.filePath(QStringLiteral("missing")) }) {
        ProjectInfo expected;
        expected.root = root;
        expected.blurb = QStringLiteral("Vantor");
        expected.licenseName = QStringLiteral("No licence file found in the repository");
        expected.author = QStringLiteral("unknown");
        expected.controls
            = QStringList { QStringLiteral("See README (it lists no controls)."),
                            QStringLiteral("The game also shows on-screen buttons you can click.") };
        QVERIFY(ProjectInspector::inspect(root) == expected);
    }
}

void InspectTest::aProjectFileThatCannotBeReadGivesTheDefaults_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind :
         { "not UTF-8", "a folder", "a pipe", "a dangling link", "a link to itself", "a device" })
        QTest::newRow(kind) << QString::fromLatin1(kind);
}

void InspectTest::aProjectFileThatCannotBeReadGivesTheDefaults()
{
    QFETCH(QString, kind);
    const TestHome home;
    const QString path = home.filePath(QStringLiteral("project.godot"));
    if (kind == QLatin1StringView("not UTF-8"))
        home.write(QStringLiteral("project.godot"), "config_version=5\nconfig/name=\"Caf\xe9\"\n");
    else if (kind == QLatin1StringView("a folder"))
        QVERIFY(QDir().mkpath(path));
    else if (kind == QLatin1StringView("a pipe"))
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    else if (kind == QLatin1StringView("a dangling link"))
        QVERIFY(QFile::link(QStringLiteral("nowhere"), path));
    else if (kind == QLatin1StringView("a link to itself"))
        QVERIFY(QFile::link(QStringLiteral("project.godot"), path));
    else
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), path));
    const ProjectInfo info = ProjectInspector::inspect(home.path());
    QCOMPARE(info.name, QStringLiteral("Vantor"));
    QCOMPARE(info.configVersion, 0);
    QCOMPARE(info.blurb, QStringLiteral("Vantor"));
}

void InspectTest::theRootIsKeptAsGiven()
{
    const TestHome home;
    home.write(QStringLiteral("project.godot"), "config_version=5\n");
    const QString root = home.path() + QStringLiteral("/./");
    const ProjectInfo info = ProjectInspector::inspect(root);
    QCOMPARE(info.root, root);
    QCOMPARE(info.configVersion, 5);
}

void InspectTest::theNameIsTheBlurbsFallback()
{
    const TestHome home;
    home.write(QStringLiteral("project.godot"), "config/name=\"Hopper\"\n");
    home.write(QStringLiteral("README"), "short\n");
    QCOMPARE(ProjectInspector::inspect(home.path()).blurb, QStringLiteral("Hopper"));
}

void InspectTest::theFeatureDecidesForCSharpWithoutLookingAtTheFolder()
{
    const TestHome home;
    home.write(QStringLiteral("project.godot"),
               "config/features=PackedStringArray(\"4.2\", \"C#\", \"Forward Plus\")\n");
    QVERIFY(ProjectInspector::inspect(home.path()).isCSharp);
    home.write(QStringLiteral("project.godot"),
               "config/features=PackedStringArray(\"4.2\", \"c#\", \"C# \")\n");
    QVERIFY(!ProjectInspector::inspect(home.path()).isCSharp);
}

void InspectTest::filesOfTheDotNetToolsDecideForCSharp_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isCSharp");
    QTest::newRow("csproj") << QStringLiteral("Game.csproj") << true;
    QTest::newRow("sln") << QStringLiteral("Game.sln") << true;
    QTest::newRow("hidden") << QStringLiteral(".sln") << true;
    QTest::newRow("a folder") << QStringLiteral("Game.sln/x") << true;
    QTest::newRow("capitals") << QStringLiteral("Game.SLN") << false;
    QTest::newRow("old") << QStringLiteral("Game.csproj.old") << false;
    QTest::newRow("without the point") << QStringLiteral("sln") << false;
    QTest::newRow("in a folder") << QStringLiteral("src/Game.csproj") << false;
    QTest::newRow("a script") << QStringLiteral("Player.cs") << false;
}

void InspectTest::filesOfTheDotNetToolsDecideForCSharp()
{
    QFETCH(QString, name);
    QFETCH(bool, isCSharp);
    const TestHome home;
    home.write(QStringLiteral("project.godot"), "config_version=4\n");
    home.write(name, "");
    QCOMPARE(ProjectInspector::inspect(home.path()).isCSharp, isCSharp);
}

void InspectTest::aFileFromAnotherSystemIsRead()
{
    const TestHome home;
    home.write(QStringLiteral("project.godot"),
               "\xef\xbb\xbf"
               "config_version=5\r\n\r\n[application]\r\n\r\n\tconfig/name=\"Ma\xc3\xb1"
               "ana \xe2\x80\x94 \xf0\x9f\x90\xb8\" \r\n"
               "config/features=PackedStringArray(\"4.2\", \"C#\", \"Forward Plus\")\r\n");
    home.write(QStringLiteral("README.rst"),
               "Frog\r\n====\r\n\r\nA frog that jumps from stone to stone.\r\n");
    home.write(QStringLiteral("copying.TXT"),
               "Lizenz\r\n\r\nCopyright \xc2\xa9 2020-2022 J\xc3\xbcrgen M.\r\n");
    const ProjectInfo info = ProjectInspector::inspect(home.path());
    QCOMPARE(info.configVersion, 5);
    QCOMPARE(info.name, QStringLiteral("Mañana \u2014 \U0001F438"));
    QCOMPARE(info.features, QStringLiteral("4.2|C#|Forward Plus").split(u'|'));
    QVERIFY(info.isCSharp);
    QCOMPARE(info.blurb, QStringLiteral("A frog that jumps from stone to stone."));
    QCOMPARE(info.licenseName, QStringLiteral("Lizenz"));
    QCOMPARE(info.author, QStringLiteral("Jürgen M."));
}

void InspectTest::everythingAtOnceInAnOddProject()
{
    const TestHome home;
    home.write(
        QStringLiteral("project.godot"),
        "; Engine configuration file.\n;   param=value\n\nconfig_version=4\n\n_global_script_classes=[ {\n"
        "\"base\": \"Node\",\n\"class\": \"config/name=\",\n} ]\n\n[application]\n\nconfig/name=\"Odd\"\n"
        "config/description=\"config/name=\\\"no\\\"\nconfig/name=\"\"\nrun/main_scene=\"res://a b.tscn\"\n"
        "[input]\nui_left={\n\"deadzone\": 0.5\n}\n");
    home.write(QStringLiteral("readme/README.md"), "# Not this one\n");
    home.write(QStringLiteral("scripts/player.gd"), "Input.get_axis(\"ui_left\", \"ui_right\")\n");
    const ProjectInfo info = ProjectInspector::inspect(home.path());
    QCOMPARE(info.name, QString());
    QCOMPARE(info.mainScene, QStringLiteral("res://a b.tscn"));
    QCOMPARE(info.blurb, QString());
    QCOMPARE(info.controls.size(), 3);
    QCOMPARE(info.author, QStringLiteral("unknown"));
}

QTEST_GUILESS_MAIN(InspectTest)
#include "InspectTest.moc"
