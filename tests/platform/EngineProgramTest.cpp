#include "Desktop.h"

#include "Table.h"
#include "TestHome.h"

using namespace Qt::StringLiterals;
using System = Desktop::System;

namespace {

/// Makes an entry of the folder "engine": a folder if its name ends with a slash, a program if it ends with
/// an asterisk, otherwise a file that cannot be run.
void make(const TestHome &home, const QString &entry)
{
    QString name = u"engine/"_s + entry;
    if (name.endsWith(u'/')) {
        QDir().mkpath(home.filePath(name));
        return;
    }
    auto permissions = QFile::ReadOwner | QFile::WriteOwner;
    if (name.endsWith(u'*')) {
        name.chop(1);
        permissions |= QFile::ExeOwner;
    }
    QFile::setPermissions(home.write(name, "#!/bin/sh\n"), permissions);
}

}

class EngineProgramTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theProgramInTheFolder_data()
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

    void theProgramInTheFolder()
    {
        QFETCH(QStringList, entries);
        QFETCH(QString, onMacOS);
        QFETCH(QString, onLinux);
        const TestHome home;
        for (const QString &entry : entries)
            make(home, entry);
        const auto program = [&home](System system) {
            const QString folder = home.filePath(u"engine"_s);
            const auto found = Desktop::describing(system).engineProgram(folder);
            return found ? QDir(folder).relativeFilePath(*found) : QString();
        };
        QCOMPARE(program(System::MacOS), onMacOS);
        QCOMPARE(program(System::Linux), onLinux);
    }

    void aFileInPlaceOfTheFolderHoldsNoProgram()
    {
        const TestHome home;
        const QString file = home.write(u"engine"_s, "a file");
        QCOMPARE(Desktop::describing(System::MacOS).engineProgram(file), std::nullopt);
        QCOMPARE(Desktop::describing(System::Linux).engineProgram(file), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(EngineProgramTest)
#include "EngineProgramTest.moc"
