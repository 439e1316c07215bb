#include "CancellationError.h"
#include "FileError.h"
#include "InstallFixture.h"
#include "Rows.h"

using namespace Qt::StringLiterals;
using System = Desktop::System;

namespace {

const auto lookingUp = u"Looking up the official checksum for "_s;
const auto unpacking = u"Unpacking the engine"_s;
const auto clearing
    = u"Clearing the macOS download flag on the verified engine (so it can open without a warning)"_s;

}

class EngineInstallTest final : public QObject, private InstallFixture {
    Q_OBJECT

private Q_SLOTS:
    void init() { begin(); }
    void cleanup() { end(); }

    void aBuildIsDownloadedVerifiedUnpackedAndFound()
    {
        QCOMPARE(install(), inTarget(programName));
        QCOMPARE(log(),
                 QStringList({ lookingUp + m_spec.fileName(),
                               u"Downloading Godot 4.3 from "_s + m_spec.baseURL() + m_spec.fileName(),
                               checking, matches, unpacking, clearing }));
        QCOMPARE(installedProgram(), QByteArray("#!/bin/sh\n"));
        QVERIFY(m_progress > 0);
        nothingIsLeftInTemp();
    }

    void aDotNetBuildIsFoundInItsFolder()
    {
        m_spec.isMono = true;
        const QByteArray folder = "Godot_v4.3-stable_mono_linux_x86_64/";
        const QByteArray program = folder + "Godot_v4.3-stable_mono_linux.x86_64";
        serve({ ZipEntry::folder(folder), ZipEntry::program(program, "x"),
                ZipEntry::file(folder + "GodotSharp/Api/a.dll", "x") });
        QCOMPARE(install(), inTarget(program.constData()));
        QVERIFY(log().at(1).startsWith(u"Downloading Godot 4.3 (.NET) from http://127.0.0.1:"_s));
    }

    void onMacOSTheBundlesProgramIsFoundAndTheWholeBuildsQuarantineCleared()
    {
        use(System::MacOS, "for a; do echo \"$a\"; done; ls \"$3\"");
        serve(macOSBuild());
        QCOMPARE(install(), inTarget("Godot.app/Contents/MacOS/Godot"));
        QCOMPARE(log().first(), lookingUp + u"Godot_v4.3-stable_macos.universal.zip"_s);
        QCOMPARE(log().mid(log().indexOf(clearing)),
                 QStringList({ clearing, u"-dr"_s, u"com.apple.quarantine"_s, target(), u"Godot.app"_s }));
    }

    void aQuarantineThatCannotBeClearedIsNoFailure_data()
    {
        const auto row = rows([this](const QByteArray &script, const QString &lastLine) {
            const Desktop desktop = use(System::MacOS, script);
            if (script.isNull())
                QVERIFY(QFile::remove(desktop.quarantineTool));
            serve(macOSBuild());
            QVERIFY(!install().isEmpty());
            QCOMPARE(log().last(), lastLine);
        });
        row("cleared", "exit 0", clearing);
        row("not cleared", "exit 3", u"xattr finished with code 3 (usually harmless)"_s);
        row("no such tool", {}, u"xattr finished with code -1 (usually harmless)"_s);
    }
    void aQuarantineThatCannotBeClearedIsNoFailure() { runRow(); }

    void theListMayHaveMarksAndUpperCase()
    {
        const QByteArray archive = linuxBuild().bytes();
        serve(archive,
              "0000  other.zip\r\n" + sha512(archive).toUpper() + " *" + m_spec.fileName().toUtf8() + "\r\n");
        QVERIFY(!install().isEmpty());
    }

    void withoutAChecksumNothingIsDownloaded_data()
    {
        const auto row = rows([this](const HttpReply &list) {
            m_server->serve(listPath(), list);
            const QString sentence
                = failureOf(EngineManager::expectedChecksum(m_server->url(listPath()), m_spec.fileName()));
            QVERIFY(!sentence.isEmpty());
            QCOMPARE(failure(), sentence);
            QCOMPARE(m_server->requestCount(archivePath()), 0);
            QCOMPARE(log(), QStringList(lookingUp + m_spec.fileName()));
            nothingIsInstalled();
        });
        row("no entry", HttpReply::ok("0000  other.zip\n"));
        row("no list", HttpReply::status(404));
        row("half a list", breakingOff());
    }
    void withoutAChecksumNothingIsDownloaded() { runRow(); }

    void anArchiveThatDoesNotArriveIsAFailure_data()
    {
        const auto row = rows([this](const HttpReply &archive) {
            m_server->serve(archivePath(), archive);
            QVERIFY(!failure().isEmpty());
            QVERIFY(log().at(1).startsWith(downloading));
            QVERIFY(!log().contains(checking));
            nothingIsInstalled();
            m_engines->cancel(); // affects only the finished download

            serve(linuxBuild());
            QVERIFY(!install().isEmpty());
        });
        row("not there", HttpReply::status(404));
        row("breaks off", breakingOff());
    }
    void anArchiveThatDoesNotArriveIsAFailure() { runRow(); }

    void anotherArchiveThanTheListedOneIsThrownAway()
    {
        m_server->serve(archivePath(), macOSBuild().bytes());
        QCOMPARE(failure(), doesNotMatch);
        QCOMPARE(log().last(), checking);
        nothingIsInstalled();
        put(u"/Godot_v4.3-stable_linux.x86_64"_s);
        QCOMPARE(failure(), doesNotMatch);
        QCOMPARE(installedProgram(), QByteArray("before"));
    }

    void whatIsInTheBuildsPlaceIsReplacedWhole()
    {
        put({}); // a file
        QVERIFY(!install().isEmpty());
        const QString left = put(u"/left over"_s);
        QVERIFY(!install().isEmpty());
        QVERIFY(!QFileInfo::exists(left));
        nothingIsLeftInTemp();
    }

    void aLinkInTheBuildsPlaceIsReplacedAndNotFollowed()
    {
        const QDir elsewhere = QFileInfo(m_home->write(u"elsewhere/kept"_s, "content")).dir();
        m_home->link(target(), elsewhere.path());
        QVERIFY(!install().isEmpty());
        QVERIFY(!QFileInfo(target()).isSymLink());
        QCOMPARE(elsewhere.entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList(u"kept"_s));
    }

    void whatCannotBeUnpackedOrStartedIsNotKept_data()
    {
        const auto row = rows([this](const ZipBuilder &build, const QByteArray &tool, const QString &sentence,
                                     const QString &lastLine) {
            useUnpackScript(tool);
            serve(build);
            QCOMPARE(failure(), sentence);
            QCOMPARE(log().last(), lastLine);
            nothingIsInstalled();
        });
        const auto couldNotUnpack
            = u"Could not unpack Godot_v4.3-stable_linux.x86_64.zip (ditto exit code %1)."_s;
        ZipBuilder damaged = linuxBuild();
        damaged.entries.append(ZipEntry::file("damaged", "content"));
        damaged.entries.last().crc = 1;
        row("a damaged archive", damaged, "UNPACK", couldNotUnpack.arg(1),
            u"The archive is damaged: “damaged” has another checksum than it says."_s);
        row("a tool that fails", linuxBuild(), "echo no; exit 7", couldNotUnpack.arg(7), u"no"_s);
        row("a build without a program", ZipBuilder { ZipEntry::file("readme.txt", "no program") }, "UNPACK",
            u"The engine was unpacked but no Godot program was found inside it."_s, clearing);
    }
    void whatCannotBeUnpackedOrStartedIsNotKept() { runRow(); }

    void whileItIsUnpackedTheBuildDoesNotLookInstalled()
    {
        useUnpackScript("ls \"" + QFile::encodeName(Paths::engineFolder()) + "\"; exec UNPACK");
        put(u"/left over"_s);
        QVERIFY(!install().isEmpty());
        QCOMPARE(log().mid(log().indexOf(unpacking)), QStringList({ unpacking, clearing }));
    }

    void theDownloadCanBeCancelled_data()
    {
        const auto row = rows([this](bool byStop) {
            m_server->serve(archivePath(),
                            HttpReply::head(200, { "Content-Length: 1000" }).send("abc").stall());
            auto task = start();
            QTRY_VERIFY(m_progress > 0);
            if (byStop)
                m_stop.request_stop();
            else
                m_engines->cancel();
            QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
            nothingIsInstalled();
        });
        row("by cancel", false);
        row("by a stop", true);
    }
    void theDownloadCanBeCancelled() { runRow(); }

    void aStopEndsTheLookUp()
    {
        m_server->serve(listPath(), HttpReply::head(200).stall());
        auto task = start();
        QTRY_COMPARE(m_server->requestCount(listPath()), 1);
        m_engines->cancel(); // there is no download yet
        m_stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        QCOMPARE(m_server->requestCount(archivePath()), 0);
        nothingIsInstalled();
    }

    void cancelWithoutADownloadDoesNothing()
    {
        m_engines->cancel();
        QVERIFY(!install().isEmpty());
        m_engines->cancel();
        QVERIFY(!install().isEmpty());
    }

    void aVersionThatMakesNoAddressIsRefusedFirst()
    {
        m_spec.version = u"4 3"_s;
        QCOMPARE(failure(), u"Could not build the Godot download address."_s);
        QCOMPARE(log(), QStringList());
        QVERIFY(!QFileInfo::exists(Paths::root()));
    }

    void aFolderThatCannotBeMadeIsTheSystemsError_data()
    {
        const auto row = rows([this](const QString &folder, const QString &lastLine) {
            m_home->write(u"data/Vantor Platformer/"_s + folder, "a file");
            QVERIFY(Tasks::failure<FileError>(start()));
            QCOMPARE(log().isEmpty() ? QString() : log().last(), lastLine);
            nothingIsLeftInTemp();
        });
        row("of the download", u"Temp"_s, {});
        row("of the engines", u"Engine"_s, matches);
    }
    void aFolderThatCannotBeMadeIsTheSystemsError() { runRow(); }

private:
    static ZipBuilder macOSBuild()
    {
        return { ZipEntry::folder("Godot.app/"), ZipEntry::file("Godot.app/Contents/Info.plist", "<plist/>"),
                 ZipEntry::program("Godot.app/Contents/MacOS/Godot", "#!/bin/sh\n") };
    }

    static HttpReply breakingOff()
    {
        return HttpReply::head(200, { "Content-Length: 1000" }).send("abc").reset();
    }

    QString inTarget(const char *name) const { return target() + u'/' + QLatin1StringView(name); }

    /// Writes what an earlier installation may have left in the build's place or in its folder.
    QString put(const QString &name) const { return m_home->write(target() + name, "before"); }
};

QTEST_GUILESS_MAIN(EngineInstallTest)
#include "EngineInstallTest.moc"
