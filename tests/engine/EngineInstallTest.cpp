#include "EngineManager.h"

#include "AppError.h"
#include "CancellationError.h"
#include "CodeHost.h"
#include "Desktop.h"
#include "FileError.h"
#include "LogStore.h"
#include "Paths.h"
#include "Tasks.h"
#include "TestHome.h"
#include "ZipBuilder.h"
#include "http/HttpServer.h"

#include <QCryptographicHash>

using System = Desktop::System;

namespace {

const auto lookingUp = QStringLiteral("Looking up the official checksum for ");
const auto checking = QStringLiteral("Checking the download against the official SHA-512 checksum");
const auto matches = QStringLiteral("Checksum matches");
const auto unpacking = QStringLiteral("Unpacking the engine");
const auto clearing = QStringLiteral(
    "Clearing the macOS download flag on the verified engine (so it can open without a warning)");
const auto doesNotMatch = QStringLiteral(
    "The Godot download did not match its official checksum, so it was thrown away. Please try again.");

QByteArray sha512(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha512).toHex();
}

}

class EngineInstallTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TestHome>();
        m_server = std::make_unique<HttpServer>();
        m_log = std::make_unique<LogStore>();
        m_engines = std::make_unique<EngineManager>();
        m_progress = 0;
        CodeHost::setAddress(m_server->address());
        use(System::Linux);
    }

    void cleanup()
    {
        m_engines.reset();
        m_log.reset();
        m_server.reset();
        m_home.reset();
        Desktop::use(std::nullopt);
        CodeHost::setAddress(CodeHost::official());
    }

    void aBuildIsDownloadedVerifiedUnpackedAndFound()
    {
        serve(linuxBuild());
        QCOMPARE(install(), target() + QStringLiteral("/Godot_v4.3-stable_linux.x86_64"));
        QCOMPARE(log(),
                 QStringList(
                     { lookingUp + spec().fileName(),
                       QStringLiteral("Downloading Godot 4.3 from ") + spec().baseURL() + spec().fileName(),
                       checking, matches, unpacking, clearing }));
        QCOMPARE(content(inTarget("Godot_v4.3-stable_linux.x86_64")), QByteArray("#!/bin/sh\n"));
        QVERIFY(m_progress > 0);
        nothingIsLeftInTemp();
    }

    void aDotNetBuildIsFoundInItsFolder()
    {
        m_spec.isMono = true;
        serve({ ZipEntry::folder("Godot_v4.3-stable_mono_linux_x86_64/"),
                ZipEntry::program("Godot_v4.3-stable_mono_linux_x86_64/Godot_v4.3-stable_mono_linux.x86_64",
                                  "x"),
                ZipEntry::file("Godot_v4.3-stable_mono_linux_x86_64/GodotSharp/Api/a.dll", "x") });
        QCOMPARE(install(),
                 Paths::engineFolder()
                     + QStringLiteral("/4.3-mono/Godot_v4.3-stable_mono_linux_x86_64/"
                                      "Godot_v4.3-stable_mono_linux.x86_64"));
        QVERIFY(
            log().at(1).startsWith(QStringLiteral("Downloading Godot 4.3 (.NET) from http://127.0.0.1:")));
        m_spec.isMono = false;
    }

    void onMacOSTheBundlesProgramIsFound()
    {
        use(System::MacOS);
        serve(macOSBuild());
        QCOMPARE(install(), target() + QStringLiteral("/Godot.app/Contents/MacOS/Godot"));
        QVERIFY(log().first().endsWith(QStringLiteral("Godot_v4.3-stable_macos.universal.zip")));
        QCOMPARE(log().last(), clearing);
    }

    void onMacOSTheQuarantineIsClearedOnTheWholeBuild()
    {
        use(System::MacOS, "for a; do echo \"$a\"; done; ls \"$3\"");
        serve(macOSBuild());
        install();
        QCOMPARE(log().mid(log().indexOf(clearing)),
                 QStringList({ clearing, QStringLiteral("-dr"), QStringLiteral("com.apple.quarantine"),
                               target(), QStringLiteral("Godot.app") }));
    }

    void aQuarantineThatCannotBeClearedIsNoFailure()
    {
        use(System::MacOS, "exit 3");
        serve(macOSBuild());
        QVERIFY(!install().isEmpty());
        QCOMPARE(log().last(), QStringLiteral("xattr finished with code 3 (usually harmless)"));
    }

    void aQuarantineToolThatIsMissingIsNoFailure()
    {
        Desktop desktop = use(System::MacOS);
        desktop.quarantineTool = m_home->filePath(QStringLiteral("no-xattr"));
        Desktop::use(desktop);
        serve(macOSBuild());
        QVERIFY(!install().isEmpty());
        QCOMPARE(log().last(), QStringLiteral("xattr finished with code -1 (usually harmless)"));
    }

    void theListMayHaveMarksAndUpperCase()
    {
        const QByteArray archive = ZipBuilder(linuxBuild()).bytes();
        serve(archive,
              "0000  other.zip\r\n" + sha512(archive).toUpper() + " *" + spec().fileName().toUtf8() + "\r\n");
        QVERIFY(!install().isEmpty());
    }

    void withoutAnEntryInTheListNothingIsDownloaded()
    {
        serve(ZipBuilder(linuxBuild()).bytes(), "0000  other.zip\n");
        QCOMPARE(failure(),
                 QStringLiteral(
                     "The official checksum list has no entry for Godot_v4.3-stable_linux.x86_64.zip."));
        QCOMPARE(m_server->requestCount(archivePath()), 0);
        QCOMPARE(log(), QStringList(lookingUp + spec().fileName()));
        nothingIsLeftInTemp();
    }

    void aListThatIsNotThereIsAServerError()
    {
        QCOMPARE(failure(), QStringLiteral("Could not get the checksum list (server error 404)."));
        QCOMPARE(m_server->requestCount(archivePath()), 0);
        nothingIsLeftInTemp();
    }

    void aListThatBreaksOffIsPassedOn()
    {
        m_server->serve(listPath(), HttpReply::head(200, { "Content-Length: 1000" }).send("abc").reset());
        QVERIFY(Tasks::failure<std::exception>(start()));
        QCOMPARE(m_server->requestCount(archivePath()), 0);
        nothingIsLeftInTemp();
    }

    void anArchiveThatIsNotThereIsPassedOn()
    {
        serve(linuxBuild());
        m_server->serve(archivePath(), HttpReply::status(404));
        QVERIFY(!failure().isEmpty());
        QVERIFY(log().last().startsWith(QStringLiteral("Downloading Godot 4.3 from ")));
        nothingIsLeftInTemp();
        nothingIsInstalled();
        m_engines->cancel(); // affects only the finished download

        serve(linuxBuild());
        QVERIFY(!install().isEmpty());
    }

    void anArchiveThatBreaksOffIsPassedOn()
    {
        serve(linuxBuild());
        m_server->serve(archivePath(), HttpReply::head(200, { "Content-Length: 1000" }).send("abc").reset());
        QVERIFY(Tasks::failure<std::exception>(start()));
        nothingIsLeftInTemp();
        nothingIsInstalled();
    }

    void anotherArchiveThanTheListedOneIsThrownAway()
    {
        serve(linuxBuild());
        m_server->serve(archivePath(), ZipBuilder(macOSBuild()).bytes());
        QCOMPARE(failure(), doesNotMatch);
        QCOMPARE(log().last(), checking);
        nothingIsLeftInTemp();
        nothingIsInstalled();
    }

    void anotherArchiveLeavesTheBuildThatIsThere()
    {
        const QString there = put("Godot_v4.3-stable_linux.x86_64");
        serve(linuxBuild());
        m_server->serve(archivePath(), "something else");
        QCOMPARE(failure(), doesNotMatch);
        QCOMPARE(content(there), QByteArray("before"));
    }

    void aBuildThatIsThereIsReplacedWhole()
    {
        const QString left = put("left over");
        serve(linuxBuild());
        QVERIFY(!install().isEmpty());
        QVERIFY(!QFileInfo::exists(left));
        nothingIsLeftInTemp();
    }

    void aFileInTheBuildsPlaceIsReplaced()
    {
        QDir().mkpath(Paths::engineFolder());
        QFile file(target());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        serve(linuxBuild());
        QVERIFY(!install().isEmpty());
    }

    void aLinkInTheBuildsPlaceIsReplacedAndNotFollowed()
    {
        const QString kept = m_home->write(QStringLiteral("elsewhere/kept"), "content");
        QDir().mkpath(Paths::engineFolder());
        QVERIFY(QFile::link(QFileInfo(kept).path(), target()));
        serve(linuxBuild());
        QVERIFY(!install().isEmpty());
        QVERIFY(!QFileInfo(target()).isSymLink());
        QCOMPARE(QDir(QFileInfo(kept).path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList(QStringLiteral("kept")));
    }

    void anArchiveThatCannotBeUnpackedLeavesNoHalfOfABuild()
    {
        ZipBuilder builder { ZipEntry::program("Godot_v4.3-stable_linux.x86_64", "#!/bin/sh\n"),
                             ZipEntry::file("damaged", "content") };
        builder.entries.last().crc = 1;
        serve(builder.bytes());
        QCOMPARE(failure(),
                 QStringLiteral("Could not unpack Godot_v4.3-stable_linux.x86_64.zip (ditto exit code 1)."));
        QCOMPARE(log().last(),
                 QStringLiteral("The archive is damaged: “damaged” has another checksum than it says."));
        nothingIsLeftInTemp();
        nothingIsInstalled();
    }

    void anUnpackToolThatFailsIsNamedWithItsStatus()
    {
        Desktop desktop = use(System::Linux);
        desktop.unpackTool = script("unpack", "echo no; exit 7");
        Desktop::use(desktop);
        serve(linuxBuild());
        QCOMPARE(failure(),
                 QStringLiteral("Could not unpack Godot_v4.3-stable_linux.x86_64.zip (ditto exit code 7)."));
        QCOMPARE(log().last(), QStringLiteral("no"));
        nothingIsInstalled();
    }

    void aBuildWithoutAProgramIsNotKept()
    {
        serve({ ZipEntry::file("readme.txt", "no program") });
        QCOMPARE(failure(),
                 QStringLiteral("The engine was unpacked but no Godot program was found inside it."));
        QCOMPARE(log().last(), clearing);
        nothingIsLeftInTemp();
        nothingIsInstalled();
    }

    void whileItIsUnpackedTheBuildDoesNotLookInstalled()
    {
        Desktop desktop = use(System::Linux);
        const QString realTool = desktop.unpackTool;
        desktop.unpackTool = script("unpack",
                                    "ls \"" + QFile::encodeName(Paths::engineFolder()) + "\"; exec \""
                                        + QFile::encodeName(realTool) + "\" \"$@\"");
        Desktop::use(desktop);
        put("left over");
        serve(linuxBuild());
        QVERIFY(!install().isEmpty());
        QCOMPARE(log().mid(log().indexOf(unpacking)), QStringList({ unpacking, clearing }));
    }

    void cancelEndsTheDownload()
    {
        serve(linuxBuild());
        m_server->serve(archivePath(), HttpReply::head(200, { "Content-Length: 1000" }).send("abc").stall());
        auto task = start();
        QTRY_VERIFY(m_progress > 0);
        m_engines->cancel();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        nothingIsLeftInTemp();
        nothingIsInstalled();
    }

    void aStopEndsTheLookUp()
    {
        m_server->serve(listPath(), HttpReply::head(200).stall());
        auto task = start();
        QTRY_COMPARE(m_server->requestCount(listPath()), 1);
        m_engines->cancel(); // there is no download yet
        m_stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        QCOMPARE(m_server->requestCount(archivePath()), 0);
        nothingIsLeftInTemp();
        m_stop = std::stop_source();
    }

    void aStopEndsTheDownload()
    {
        serve(linuxBuild());
        m_server->serve(archivePath(), HttpReply::head(200, { "Content-Length: 1000" }).send("abc").stall());
        auto task = start();
        QTRY_VERIFY(m_progress > 0);
        m_stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        nothingIsLeftInTemp();
        m_stop = std::stop_source();
    }

    void cancelWithoutADownloadDoesNothing()
    {
        m_engines->cancel();
        serve(linuxBuild());
        QVERIFY(!install().isEmpty());
        m_engines->cancel();
        QVERIFY(!install().isEmpty());
    }

    void aVersionThatMakesNoAddressIsRefusedFirst()
    {
        m_spec.version = QStringLiteral("4 3");
        QCOMPARE(failure(), QStringLiteral("Could not build the Godot download address."));
        QCOMPARE(log(), QStringList());
        QVERIFY(!QFileInfo::exists(Paths::root()));
        m_spec.version = QStringLiteral("4.3");
    }

    void aScratchFolderThatCannotBeMadeIsTheSystemsError()
    {
        m_home->write(QStringLiteral("data/Vantor Platformer/Temp"), "a file");
        serve(linuxBuild());
        QVERIFY(Tasks::failure<FileError>(start()));
        QCOMPARE(log(), QStringList());
    }

    void anEngineFolderThatCannotBeMadeIsTheSystemsError()
    {
        m_home->write(QStringLiteral("data/Vantor Platformer/Engine"), "a file");
        serve(linuxBuild());
        QVERIFY(Tasks::failure<FileError>(start()));
        QCOMPARE(log().last(), matches);
        nothingIsLeftInTemp();
    }

private:
    EngineSpec spec() const { return m_spec; }
    QString target() const { return Paths::engineFolder() + QStringLiteral("/4.3"); }
    QString inTarget(const char *name) const { return target() + u'/' + QString::fromLatin1(name); }
    QString archivePath() const { return QUrl(spec().baseURL() + spec().fileName()).path(); }
    QString listPath() const { return QUrl(spec().baseURL() + QStringLiteral("SHA512-SUMS.txt")).path(); }

    static ZipBuilder linuxBuild()
    {
        return { ZipEntry::program("Godot_v4.3-stable_linux.x86_64", "#!/bin/sh\n") };
    }
    static ZipBuilder macOSBuild()
    {
        return { ZipEntry::folder("Godot.app/"), ZipEntry::file("Godot.app/Contents/Info.plist", "<plist/>"),
                 ZipEntry::program("Godot.app/Contents/MacOS/Godot", "#!/bin/sh\n") };
    }

    void serve(const ZipBuilder &builder) { serve(builder.bytes()); }
    void serve(const QByteArray &archive)
    {
        serve(archive, sha512(archive) + "  " + spec().fileName().toUtf8() + "\n");
    }
    void serve(const QByteArray &archive, const QByteArray &list)
    {
        m_server->serve(archivePath(), archive);
        m_server->serve(listPath(), list);
    }

    /// Has the code under test behave as on `system`, with our unpack program, and with a script as the
    /// quarantine tool where there is one.
    Desktop use(System system, const QByteArray &quarantineScript = "exit 0") const
    {
        Desktop desktop = Desktop::describing(system);
        desktop.processor = Desktop::Processor::X86_64;
        desktop.unpackTool = QCoreApplication::applicationDirPath() + QStringLiteral("/vantor-unpack");
        if (system == System::MacOS)
            desktop.quarantineTool = script("xattr", quarantineScript);
        Desktop::use(desktop);
        return desktop;
    }

    QString script(const QByteArray &name, const QByteArray &content) const
    {
        const QString file = m_home->write(QString::fromLatin1(name), "#!/bin/sh\n" + content + "\n");
        QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return file;
    }

    QCoro::Task<QString> start()
    {
        const auto onProgress = [this](DownloadProgress) { ++m_progress; };
        return m_engines->install(spec(), m_log.get(), onProgress, m_stop.get_token());
    }

    QString install() { return Tasks::finish(start()); }

    QString failure()
    {
        const auto error = Tasks::failure<AppError>(start());
        return error ? error->errorDescription() : QString();
    }

    QStringList log() const { return m_log->lines; }

    /// Writes a file that an earlier installation may have left in the build's folder. Returns its path.
    QString put(const char *name) const
    {
        QDir().mkpath(target());
        QFile file(inTarget(name));
        if (!file.open(QIODevice::WriteOnly) || file.write("before") != 6)
            qFatal("%s could not be written.", name);
        return file.fileName();
    }

    static QByteArray content(const QString &file)
    {
        QFile in(file);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
    }

    static void nothingIsLeftInTemp()
    {
        QVERIFY(QDir(Paths::tempFolder())
                    .isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot));
    }
    void nothingIsInstalled() const { QVERIFY(!QFileInfo::exists(target())); }

    std::unique_ptr<TestHome> m_home;
    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<LogStore> m_log;
    std::unique_ptr<EngineManager> m_engines;
    std::stop_source m_stop;
    std::atomic<int> m_progress = 0;
    EngineSpec m_spec { 4, QStringLiteral("4.3"), false };
};

QTEST_GUILESS_MAIN(EngineInstallTest)
#include "EngineInstallTest.moc"
