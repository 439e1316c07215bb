#include "EngineManager.h"

#include "CodeHost.h"
#include "Desktop.h"
#include "Paths.h"
#include "ProjectInfo.h"
#include "Rows.h"
#include "ShellScript.h"
#include "TestHome.h"

using namespace Qt::StringLiterals;
using System = Desktop::System;

namespace {

const EngineSpec plain { 4, u"4.3"_s, false };
const EngineSpec mono { 4, u"4.3"_s, true };
const EngineSpec older { 3, u"3.6.3"_s, false };

}

class EngineSpecTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { use(System::MacOS); }
    void cleanup()
    {
        Desktop::use(std::nullopt);
        CodeHost::setAddress(CodeHost::official());
    }

    void aProjectOfTheOlderFormatNeedsTheOneBuildOfThe3Line()
    {
        for (const qint64 format : { -1, 0, 3, 4 })
            QCOMPARE(specFor(format, { u"4.2"_s }), older);
    }

    void theFirstFeatureThatIsAVersionIsTaken_data()
    {
        const auto row = rows([](const QStringList &features, const QString &version) {
            QCOMPARE(specFor(5, features), (EngineSpec { 4, version, false }));
            QCOMPARE(specFor(6, features), (EngineSpec { 4, version, false }));
        });
        const QString newest = u"4.7.2"_s;
        row("no feature", {}, newest);
        row("in front of another feature", { u"4.3"_s, u"Mobile"_s }, u"4.3"_s);
        row("after another feature", { u"Forward Plus"_s, u"4.3"_s }, u"4.3"_s);
        row("the first of two", { u"4.2"_s, u"4.3"_s }, u"4.2"_s);
        row("after one with a letter", { u"4.x"_s, u"4.1"_s }, u"4.1"_s);
        for (const QString &text : { u"4.3"_s, u"4.3.1"_s, u"5.0"_s, u"4..3"_s, u".4.3."_s, u"+4.-3"_s })
            row(qPrintable(u"“%1” is a version"_s.arg(text)), { text }, text);
        for (const QString &text : { u""_s, u"4"_s, u"4.x"_s, u"..."_s, u"4.+"_s, u"4.+-3"_s, u"4.3-"_s,
                                     u"4. 3"_s, u" 4.3 "_s, u"4.0x3"_s, u"4.1e1"_s, u"4.\u0663"_s,
                                     u"4.99999999999999999999"_s, u"4.3-beta1"_s, u"4.3/../.."_s })
            row(qPrintable(u"“%1” is not a version"_s.arg(text)), { text }, newest);
    }
    void theFirstFeatureThatIsAVersionIsTaken() { runRow(); }

    void aProjectInCSharpNeedsTheDotNetBuild()
    {
        QCOMPARE(specFor(5, {}, true), (EngineSpec { 4, u"4.7.2"_s, true }));
        QCOMPARE(specFor(4, {}, true), (EngineSpec { 3, u"3.6.3"_s, true }));
    }

    void theArchiveIsNamedByItsDesktop()
    {
        QCOMPARE(plain.fileName(), u"Godot_v4.3-stable_macos.universal.zip"_s);
        QCOMPARE(mono.fileName(), u"Godot_v4.3-stable_mono_macos.universal.zip"_s);
        QCOMPARE(older.fileName(), u"Godot_v3.6.3-stable_osx.universal.zip"_s);

        use(System::Linux);
        QCOMPARE(plain.fileName(), u"Godot_v4.3-stable_linux.x86_64.zip"_s);
        QCOMPARE(mono.fileName(), u"Godot_v4.3-stable_mono_linux_x86_64.zip"_s);
        QCOMPARE(older.fileName(), u"Godot_v3.6.3-stable_x11.64.zip"_s);
    }

    void theReleaseLiesInItsFolderAtTheCodeHost()
    {
        QCOMPARE(mono.baseURL(),
                 CodeHost::official().toString()
                     + u"/godotengine/godot-builds/releases/download/4.3-stable/"_s);
        CodeHost::setAddress(QUrl(u"http://127.0.0.1:8080"_s));
        QCOMPARE(mono.baseURL(),
                 u"http://127.0.0.1:8080/godotengine/godot-builds/releases/download/4.3-stable/"_s);
    }

    void thePlayerReadsTheEnginesName()
    {
        QCOMPARE(plain.displayName(), u"Godot 4.3"_s);
        QCOMPARE(mono.displayName(), u"Godot 4.3 (.NET)"_s);
    }

    void foldersAndMarkersDependOnVersionAndKindOnly()
    {
        const TestHome home;
        const QString root = Paths::root();
        QCOMPARE(EngineManager::folder(plain), root + u"/Engine/4.3"_s);
        QCOMPARE(EngineManager::folder({ 3, u"4.3"_s, false }), root + u"/Engine/4.3"_s);
        QCOMPARE(EngineManager::folder(mono), root + u"/Engine/4.3-mono"_s);
        QCOMPARE(EngineManager::markerURL(plain), root + u"/Game/.imported-4.3"_s);
        QCOMPARE(EngineManager::markerURL(mono), root + u"/Game/.imported-4.3-mono"_s);
        QVERIFY(!QFileInfo::exists(root));
    }

    void theProgramIsLookedForInTheBuildsFolder()
    {
        const TestHome home;
        QCOMPARE(EngineManager::executable(plain), std::nullopt);

        const auto put = [&home](const QString &name) {
            return shellScript(home, EngineManager::folder(plain) + name, "");
        };
        const QString onMacOS = put(u"/Godot.app/Contents/MacOS/Godot"_s);
        QCOMPARE(EngineManager::executable(plain), onMacOS);
        QCOMPARE(EngineManager::executable(mono), std::nullopt);

        use(System::Linux);
        QCOMPARE(EngineManager::executable(plain), std::nullopt);
        const QString onLinux = put(u"/Godot_v4.3-stable_linux.x86_64"_s);
        QCOMPARE(EngineManager::executable(plain), onLinux);
    }

private:
    static void use(System system)
    {
        Desktop desktop = Desktop::describing(system);
        desktop.processor = Desktop::Processor::X86_64;
        Desktop::use(desktop);
    }

    static EngineSpec specFor(qint64 format, const QStringList &features, bool isCSharp = false)
    {
        ProjectInfo info;
        info.configVersion = format;
        info.features = features;
        info.isCSharp = isCSharp;
        return EngineManager::spec(info);
    }
};

QTEST_GUILESS_MAIN(EngineSpecTest)
#include "EngineSpecTest.moc"
