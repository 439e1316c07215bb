#include "Desktop.h"

#include "FreshForEach.h"
#include "OrdinaryUser.h"
#include "ShellScript.h"
#include "Table.h"

#include <QProcess>

using namespace Qt::StringLiterals;
using Processor = Desktop::Processor;
using System = Desktop::System;

namespace {

/// Makes an entry of the folder "engine": a folder if its name ends with a slash, a program if it ends with
/// an asterisk, otherwise a file that cannot be run.
void make(const TestHome &home, const QString &entry)
{
    const QString path = u"engine/"_s + entry;
    if (path.endsWith(u'/'))
        QDir().mkpath(home.filePath(path));
    else if (path.endsWith(u'*'))
        shellScript(home, path.chopped(1), {});
    else
        home.write(path, "#!/bin/sh\n");
}

}

class DesktopTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everySystemHasItsTools_data()
    {
        const auto row = table<System, QString, QString, QString>("system", "unpackTool", "archiveCheckTool",
                                                                  "quarantineTool");
        const QString own = QCoreApplication::applicationDirPath() + u"/vantor-unpack"_s;
        row("macOS, where our own program checks what ditto unpacks", System::MacOS, u"/usr/bin/ditto"_s, own,
            u"/usr/bin/xattr"_s);
        row("Linux, which has no quarantine", System::Linux, own, {}, {});
    }

    void everySystemHasItsTools()
    {
        QFETCH(System, system);
        const Desktop desktop = Desktop::describing(system);
        QCOMPARE(desktop.system, system);
        QTEST(desktop.unpackTool, "unpackTool");
        QTEST(desktop.archiveCheckTool, "archiveCheckTool");
        QTEST(desktop.quarantineTool, "quarantineTool");
    }

    void theUnpackerIsFound_data()
    {
        const auto row = table<QStringList, QString>("unpackers", "found");
        const QString beside = u"usr/bin/vantor-unpack"_s;
        const QString installed = u"usr/libexec/vantor-platformer/vantor-unpack"_s;
        row("installed in the libexec folder", { installed }, installed);
        row("beside the program rather than installed", { installed, beside }, beside);
        row("beside the program if there is none", {}, beside);
    }

    /// Runs a copy of this program that prints which unpacker it would use.
    void theUnpackerIsFound()
    {
        QFETCH(QStringList, unpackers);
        QFETCH(QString, found);
        for (const QString &unpacker : unpackers)
            m_home.write(unpacker, "tool");
        QDir().mkpath(m_home.filePath(u"usr/bin"_s));
        const QString copy = m_home.filePath(u"usr/bin/asks"_s);
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), copy));
        QProcess process;
        process.start(copy, { u"--ask"_s });
        QVERIFY(process.waitForFinished());
        QCOMPARE(QString::fromUtf8(process.readAllStandardOutput()), m_home.filePath(found));
    }

    void applicationDataHasItsFolder_data()
    {
        const auto row = table<System, QByteArray, QString>("system", "dataHome", "folder");
        row("on macOS in the library", System::MacOS, "/data", u"Library/Application Support"_s);
        row("on Linux in the data home", System::Linux, "/data", u"/data"_s);
        const QString usual = u".local/share"_s;
        row("on Linux without a data home", System::Linux, {}, usual);
        row("on Linux with an empty data home", System::Linux, "", usual);
        row("on Linux with a relative data home", System::Linux, "data", usual);
        row("on Linux with a home sign in the data home", System::Linux, "~/data", usual);
    }

    void applicationDataHasItsFolder()
    {
        QFETCH(System, system);
        QFETCH(QByteArray, dataHome);
        QFETCH(QString, folder);
        dataHome.isNull() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", dataHome);
        QCOMPARE(dataFolders(system), QStringList(m_home.filePath(folder)));
    }

    void withoutANamedHomeItIsTheAccountsOwn()
    {
        qunsetenv("HOME");
        qunsetenv("XDG_DATA_HOME");
        const QStringList onLinux = dataFolders(System::Linux);
        QCOMPARE(onLinux.size(), 1);
        const QString usual = u"/.local/share"_s;
        QVERIFY(onLinux.first().startsWith(u'/'));
        QVERIFY(onLinux.first().size() > usual.size());
        QVERIFY(onLinux.first().endsWith(usual));
    }

    void withoutANamedHomeAndWithoutAnAccountThereIsNothing()
    {
        qunsetenv("HOME");
        qunsetenv("XDG_DATA_HOME");
        constexpr uid_t unknownUser = 3'000'000'000;
        if (!OrdinaryUser::isNeeded())
            QSKIP("Only the superuser can become somebody without an account.");
        QVERIFY(OrdinaryUser::run(
            [] { return dataFolders(System::Linux).isEmpty() && dataFolders(System::MacOS).isEmpty(); },
            unknownUser));
    }

    void theEnginesFolderIsCalledGodotInTheLetterCaseThatIsThere_data()
    {
        const auto row = table<QStringList, QString>("entries", "onLinux"); // a slash ends a folder's name
        row("no such folder", { u"other programs/"_s }, u"Godot"_s);
        row("another letter case", { u"GODOT/"_s }, u"GODOT"_s);
        row("the engine's own spelling", { u"godot/"_s }, u"godot"_s);
        row("the engine's own spelling and another", { u"GODOT/"_s, u"godot/"_s }, u"godot"_s);
        row("the engine's own spelling and Godot", { u"godot/"_s, u"Godot/"_s }, u"Godot"_s);
        row("a file called Godot", { u"Godot"_s, u"godot/"_s }, u"godot"_s);
    }

    void theEnginesFolderIsCalledGodotInTheLetterCaseThatIsThere()
    {
        QFETCH(QStringList, entries);
        QFETCH(QString, onLinux);
        const QDir dataHome(m_home.dataHome());
        for (const QString &entry : entries) {
            if (entry.endsWith(u'/'))
                QVERIFY(dataHome.mkpath(entry));
            else
                m_home.write(u"data/"_s + entry, "a file");
        }
        const auto folder = [&dataHome](System system) {
            return Desktop::describing(system).engineDataFolder(dataHome.path());
        };
        QCOMPARE(folder(System::Linux), dataHome.filePath(onLinux));
        QCOMPARE(folder(System::MacOS), dataHome.filePath(u"Godot"_s));
    }

    void everyBuildIsNamedAsItsReleaseNamesIt_data()
    {
        const auto row = table<System, Processor, qint64, bool, QByteArray>("system", "processor", "line",
                                                                            "isMono", "ending");
        const auto x86 = Processor::X86_64;
        const auto arm = Processor::Arm64;
        row("macOS 4", System::MacOS, arm, 4, false, "macos.universal.zip");
        row("macOS 4 .NET", System::MacOS, arm, 4, true, "mono_macos.universal.zip");
        row("macOS 3", System::MacOS, x86, 3, false, "osx.universal.zip");
        row("macOS 3 .NET", System::MacOS, x86, 3, true, "mono_osx.universal.zip");
        row("macOS below zero", System::MacOS, x86, -1, false, "osx.universal.zip");
        row("macOS 5", System::MacOS, x86, 5, false, "macos.universal.zip");
        row("Linux 4", System::Linux, x86, 4, false, "linux.x86_64.zip");
        row("Linux 4 .NET", System::Linux, x86, 4, true, "mono_linux_x86_64.zip");
        row("Linux 4 arm64", System::Linux, arm, 4, false, "linux.arm64.zip");
        row("Linux 4 arm64 .NET", System::Linux, arm, 4, true, "mono_linux_arm64.zip");
        row("Linux 3", System::Linux, x86, 3, false, "x11.64.zip");
        row("Linux 3 .NET", System::Linux, x86, 3, true, "mono_x11_64.zip");
        row("Linux 3 arm64", System::Linux, arm, 3, false, "linux.arm64.zip");
        row("Linux 3 arm64 .NET, which no release has", System::Linux, arm, 3, true, "mono_linux_arm64.zip");
    }

    void everyBuildIsNamedAsItsReleaseNamesIt()
    {
        QFETCH(System, system);
        QFETCH(Processor, processor);
        QFETCH(qint64, line);
        QFETCH(bool, isMono);
        Desktop desktop = Desktop::describing(system);
        desktop.processor = processor;
        QTEST(desktop.engineArchiveEnding(line, isMono).toLatin1(), "ending");
    }

    void theEnginesProgramIsFound_data()
    {
        const auto row = table<QStringList, QString, QString>("entries", "onMacOS", "onLinux");
        const QString none;
        row("a missing folder", {}, none, none);
        row("an empty folder", { u"./"_s }, none, none);

        const QString inBundle = u"Godot.app/Contents/MacOS/"_s;
        const QString bundled = u"B.app/Contents/MacOS/Godot"_s;
        row("the bundle's Godot is its program",
            { inBundle + u"Another*"_s, inBundle + u"Godot*"_s, inBundle + u"Zebra*"_s },
            inBundle + u"Godot"_s, none);
        row("a bundle with one program of another name", { inBundle + u"Engine*"_s }, inBundle + u"Engine"_s,
            none);
        row("bundles with an empty program folder are passed over",
            { u"A.app/Contents/MacOS/"_s, bundled + u'*', u"C.app/Contents/MacOS/"_s }, bundled, none);
        row("bundles without a program folder are passed over",
            { u"A.app*"_s, bundled + u'*', u"C.app/Contents/"_s }, bundled, none);
        row("a Godot that cannot be run", { bundled }, none, none);
        row("a bundle whose Godot cannot be run is passed over",
            { u"A.app/Contents/MacOS/Godot"_s, bundled + u'*' }, bundled, none);
        row("a folder called Godot is no program", { bundled + u'/' }, none, none);
        row("a bundle's name ends in small letters", { u"B.APP/Contents/MacOS/Godot*"_s }, none, none);
        row("a folder that is no bundle is ignored", { u"stray/Contents/MacOS/Godot*"_s }, none, none);
        row("a bundle may have any name", { u"Any Name.app/Contents/MacOS/Godot*"_s },
            u"Any Name.app/Contents/MacOS/Godot"_s, none);

        const QString plain = u"Godot_v4.3-stable_linux.x86_64"_s;
        const QString inMono = u"Godot_v4.3-stable_mono_linux_x86_64/"_s;
        const QString mono = inMono + u"Godot_v4.3-stable_mono_linux.x86_64"_s;
        const QString older = u"Godot_v3.6.3-stable_mono_x11_64/Godot_v3.6.3-stable_mono_x11.64"_s;
        row("a plain build is one file at the top", { plain + u'*' }, none, plain);
        row("a .NET build is in its folder",
            { inMono + u"GodotSharp/Api/Release/GodotSharp.dll*"_s, mono + u'*' }, none, mono);
        row("the 3.x line's names", { older + u'*' }, none, older);
        row("files that cannot be run are passed over", { plain, inMono + u"Godot_v4.3.txt"_s }, none, none);
        row("other programs are ignored",
            { u"install.sh*"_s, inBundle + u"Godot*"_s, u"GodotSharp/Godot_v4*"_s }, inBundle + u"Godot"_s,
            none);
    }

    void theEnginesProgramIsFound()
    {
        QFETCH(QStringList, entries);
        QFETCH(QString, onMacOS);
        QFETCH(QString, onLinux);
        for (const QString &entry : entries)
            make(m_home, entry);
        const auto program = [this](System system) {
            const QString folder = m_home.filePath(u"engine"_s);
            const auto found = Desktop::describing(system).engineProgram(folder);
            return found ? QDir(folder).relativeFilePath(*found) : QString();
        };
        QCOMPARE(program(System::MacOS), onMacOS);
        QCOMPARE(program(System::Linux), onLinux);
    }

    void aFileInPlaceOfTheEnginesFolderHoldsNoProgram()
    {
        const QString file = m_home.write(u"engine"_s, "a file");
        QCOMPARE(Desktop::describing(System::MacOS).engineProgram(file), std::nullopt);
        QCOMPARE(Desktop::describing(System::Linux).engineProgram(file), std::nullopt);
    }

    void aDesktopThatATestChoseIsTheCurrentOneUntilItIsTakenBack()
    {
        const Desktop before = Desktop::current();
        Desktop chosen = Desktop::describing(System::MacOS);
        chosen.unpackTool = u"/somewhere/else"_s;
        for (const auto &desktop : { std::optional(chosen), std::optional<Desktop>() }) {
            Desktop::use(desktop);
            QCOMPARE(Desktop::current().system, desktop.value_or(before).system);
            QCOMPARE(Desktop::current().unpackTool, desktop.value_or(before).unpackTool);
        }
    }

private:
    static QStringList dataFolders(System system)
    {
        return Desktop::describing(system).applicationSupportFolders();
    }

    const TestHome m_home;
};

int main(int argc, char **argv)
{
    if (argc == 2 && qstrcmp(argv[1], "--ask") == 0) {
        // Before there is a QCoreApplication, as in a program that asks this early.
        fputs(qUtf8Printable(Desktop::describing(System::Linux).unpackTool), stdout);
        return 0;
    }
    QCoreApplication application(argc, argv);
    FreshForEach<DesktopTest> test;
    return QTest::qExec(&test, argc, argv);
}

#include "DesktopTest.moc"
