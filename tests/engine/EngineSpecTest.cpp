#include "EngineManager.h"

#include "CodeHost.h"
#include "Desktop.h"
#include "Paths.h"
#include "ProjectInfo.h"
#include "TestHome.h"

using System = Desktop::System;

class EngineSpecTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { use(System::MacOS); }
    void cleanup()
    {
        Desktop::use(std::nullopt);
        CodeHost::setAddress(CodeHost::official());
    }

    void aProjectOfTheOlderFormatGetsTheOneBuildOfThe3Line_data()
    {
        QTest::addColumn<qint64>("format");
        for (const qint64 format : { -1, 0, 3, 4 })
            QTest::addRow("%lld", static_cast<long long>(format)) << format;
    }

    void aProjectOfTheOlderFormatGetsTheOneBuildOfThe3Line()
    {
        QFETCH(qint64, format);
        const EngineSpec spec = specFor(format, { QStringLiteral("4.2") });
        QCOMPARE(spec, (EngineSpec { 3, QStringLiteral("3.6.3"), false }));
        QCOMPARE(spec.fileName(), QStringLiteral("Godot_v3.6.3-stable_osx.universal.zip"));
    }

    void theFirstFeatureThatIsAVersionIsTaken_data()
    {
        QTest::addColumn<QStringList>("features");
        QTest::addColumn<QString>("version");
        const auto row = [](const char *name, const QStringList &features, const char *version) {
            QTest::newRow(name) << features << QString::fromLatin1(version);
        };
        const auto text = [](const char *value) { return QString::fromUtf8(value); };
        row("none", {}, "4.7.2");
        row("a version", { text("4.3") }, "4.3");
        row("a version with a patch", { text("4.3.1") }, "4.3.1");
        row("in front of another entry", { text("4.3"), text("Mobile") }, "4.3");
        row("behind another entry", { text("Forward Plus"), text("4.3") }, "4.3");
        row("the first of two", { text("4.2"), text("4.3") }, "4.2");
        row("another line's number", { text("5.0") }, "5.0");
        row("one piece only", { text("4") }, "4.7.2");
        row("a letter", { text("4.x") }, "4.7.2");
        row("a letter, then a version", { text("4.x"), text("4.1") }, "4.1");
        row("empty pieces", { text("4..3") }, "4..3");
        row("empty pieces at the ends", { text(".4.3.") }, ".4.3.");
        row("dots only", { text("...") }, "4.7.2");
        row("signs", { text("+4.-3") }, "+4.-3");
        row("a sign only", { text("4.+") }, "4.7.2");
        row("two signs", { text("4.+-3") }, "4.7.2");
        row("a sign behind", { text("4.3-") }, "4.7.2");
        row("blanks inside", { text("4. 3") }, "4.7.2");
        row("blanks around", { text(" 4.3 ") }, "4.7.2");
        row("hexadecimal", { text("4.0x3") }, "4.7.2");
        row("an exponent", { text("4.1e1") }, "4.7.2");
        row("digits of another script", { text("4.\u0663") }, "4.7.2");
        row("too large a number", { text("4.99999999999999999999") }, "4.7.2");
        row("an empty entry", { QString() }, "4.7.2");
        row("a suffix", { text("4.3-beta1") }, "4.7.2");
        row("a way out", { text("4.3/../..") }, "4.7.2");
    }

    void theFirstFeatureThatIsAVersionIsTaken()
    {
        QFETCH(QStringList, features);
        QFETCH(QString, version);
        QCOMPARE(specFor(5, features), (EngineSpec { 4, version, false }));
        QCOMPARE(specFor(6, features), (EngineSpec { 4, version, false }));
    }

    void aProjectInCSharpGetsTheDotNetBuild()
    {
        const TestHome home;
        ProjectInfo info;
        info.configVersion = 5;
        info.isCSharp = true;
        const EngineSpec spec = EngineManager::spec(info);
        QCOMPARE(spec, (EngineSpec { 4, QStringLiteral("4.7.2"), true }));
        QCOMPARE(spec.fileName(), QStringLiteral("Godot_v4.7.2-stable_mono_macos.universal.zip"));
        QCOMPARE(EngineManager::folder(spec), Paths::root() + QStringLiteral("/Engine/4.7.2-mono"));

        info.configVersion = 4;
        QCOMPARE(EngineManager::spec(info), (EngineSpec { 3, QStringLiteral("3.6.3"), true }));
    }

    void theArchiveIsNamedByItsDesktop()
    {
        const EngineSpec plain { 4, QStringLiteral("4.3"), false };
        const EngineSpec mono { 4, QStringLiteral("4.3"), true };
        const EngineSpec old { 3, QStringLiteral("3.6.3"), false };
        QCOMPARE(plain.fileName(), QStringLiteral("Godot_v4.3-stable_macos.universal.zip"));
        QCOMPARE(mono.fileName(), QStringLiteral("Godot_v4.3-stable_mono_macos.universal.zip"));
        QCOMPARE(old.fileName(), QStringLiteral("Godot_v3.6.3-stable_osx.universal.zip"));

        use(System::Linux);
        QCOMPARE(plain.fileName(), QStringLiteral("Godot_v4.3-stable_linux.x86_64.zip"));
        QCOMPARE(mono.fileName(), QStringLiteral("Godot_v4.3-stable_mono_linux_x86_64.zip"));
        QCOMPARE(old.fileName(), QStringLiteral("Godot_v3.6.3-stable_x11.64.zip"));
    }

    void theReleaseLiesInItsFolderAtTheCodeHost()
    {
        const EngineSpec spec { 4, QStringLiteral("4.3"), true };
        QCOMPARE(spec.baseURL(),
                 CodeHost::official().toString()
                     + QStringLiteral("/godotengine/godot-builds/releases/download/4.3-stable/"));
        CodeHost::setAddress(QUrl(QStringLiteral("http://127.0.0.1:8080")));
        QCOMPARE(
            spec.baseURL(),
            QStringLiteral("http://127.0.0.1:8080/godotengine/godot-builds/releases/download/4.3-stable/"));
    }

    void thePlayerReadsTheEnginesName()
    {
        QCOMPARE((EngineSpec { 4, QStringLiteral("4.3"), false }).displayName(), QStringLiteral("Godot 4.3"));
        QCOMPARE((EngineSpec { 4, QStringLiteral("4.3"), true }).displayName(),
                 QStringLiteral("Godot 4.3 (.NET)"));
    }

    void foldersAndMarkersDependOnVersionAndKindOnly()
    {
        const TestHome home;
        const QString root = Paths::root();
        QCOMPARE(EngineManager::folder({ 4, QStringLiteral("4.3"), false }),
                 root + QStringLiteral("/Engine/4.3"));
        QCOMPARE(EngineManager::folder({ 3, QStringLiteral("4.3"), false }),
                 root + QStringLiteral("/Engine/4.3"));
        QCOMPARE(EngineManager::folder({ 4, QStringLiteral("4.3"), true }),
                 root + QStringLiteral("/Engine/4.3-mono"));
        QCOMPARE(EngineManager::markerURL({ 4, QStringLiteral("4.3"), false }),
                 root + QStringLiteral("/Game/.imported-4.3"));
        QCOMPARE(EngineManager::markerURL({ 4, QStringLiteral("4.3"), true }),
                 root + QStringLiteral("/Game/.imported-4.3-mono"));
        QVERIFY(!QFileInfo::exists(root));
    }

    void theProgramIsLookedForInTheBuildsFolder()
    {
        const TestHome home;
        const EngineSpec spec { 4, QStringLiteral("4.3"), false };
        QCOMPARE(EngineManager::executable(spec), std::nullopt);

        const QString onMacOS
            = EngineManager::folder(spec) + QStringLiteral("/Godot.app/Contents/MacOS/Godot");
        put(onMacOS);
        QCOMPARE(EngineManager::executable(spec), onMacOS);
        QCOMPARE(EngineManager::executable({ 4, QStringLiteral("4.3"), true }), std::nullopt);

        use(System::Linux);
        QCOMPARE(EngineManager::executable(spec), std::nullopt);
        const QString onLinux
            = EngineManager::folder(spec) + QStringLiteral("/Godot_v4.3-stable_linux.x86_64");
        put(onLinux);
        QCOMPARE(EngineManager::executable(spec), onLinux);
    }

private:
    static void use(System system)
    {
        Desktop desktop = Desktop::describing(system);
        desktop.processor = Desktop::Processor::X86_64;
        Desktop::use(desktop);
    }

    static EngineSpec specFor(qint64 format, const QStringList &features)
    {
        ProjectInfo info;
        info.configVersion = format;
        info.features = features;
        return EngineManager::spec(info);
    }

    static void put(const QString &program)
    {
        QDir().mkpath(QFileInfo(program).path());
        QFile file(program);
        if (!file.open(QIODevice::WriteOnly)
            || !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
            qFatal("%s could not be written.", qPrintable(program));
    }
};

QTEST_GUILESS_MAIN(EngineSpecTest)
#include "EngineSpecTest.moc"
