#include "RepoDownloader.h"

#include "AppError.h"
#include "CodeHost.h"
#include "DownloadScene.h"
#include "FileError.h"
#include "LogStore.h"
#include "Paths.h"
#include "SmallDisk.h"
#include "ZipBuilder.h"

#include <QTest>

#include <curl/curl.h>

#include <cerrno>
#include <thread>

using namespace Qt::StringLiterals;
using namespace TransferTesting;

namespace {

ZipBuilder wholeGame() { return { ZipEntry::file("Vantor-master/project.godot", "new") }; }

HttpReply wholeGameAnd(const ZipEntry &entry)
{
    ZipBuilder archive = wholeGame();
    archive.entries.append(entry);
    return HttpReply::ok(archive.bytes());
}

/// Cancels an installation that was started with the token of `stop`.
using Cancel = void (*)(RepoDownloader &repository, std::stop_source &stop);

/// Puts something into the game's place.
using Arrange = void (*)(const TestHome &home);

/// Writes the file `path` of the launcher.
void put(const TestHome &home, const QString &path, const QByteArray &content)
{
    home.write(QDir(home.path()).relativeFilePath(path), content);
}

void writeOldGame(const TestHome &home)
{
    put(home, Paths::gameFolder() + u"/project.godot"_s, "old");
    put(home, Paths::gameFolder() + u"/old folder/old file"_s, "old");
}

}

class RepoDownloaderTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        withoutProxies();
        m_home.emplace();
        m_server.emplace();
        m_log.emplace();
        m_repository.emplace(withoutPauses());
        CodeHost::setAddress(m_server->address());
    }

    void cleanup()
    {
        // However an installation ends, it leaves no scratch folder.
        QCOMPARE(filesIn(Paths::tempFolder()), QStringList());
        CodeHost::setAddress(CodeHost::official());
        m_home.reset();
    }

    void theArchiveIsTheRepositorysMasterBranch()
    {
        CodeHost::setAddress(CodeHost::official());
        QCOMPARE(RepoDownloader::zipURL(), QUrl(CodeHost::official().toString() + path));
    }

    void theProjectEndsUpDirectlyInTheGameFolder_data()
    {
        QTest::addColumn<QList<ZipEntry>>("entries");
        QTest::addColumn<QStringList>("files");
        const auto row = [](const char *name, const QList<ZipEntry> &entries, const QStringList &files) {
            QTest::newRow(name) << entries << files;
        };
        row("from a wrapper folder",
            { ZipEntry::file("Vantor-master/project.godot", "new"),
              ZipEntry::file("Vantor-master/art/a.png", "picture") },
            { u"art"_s, u"project.godot"_s });
        row("from the archive itself",
            { ZipEntry::file("project.godot", "new"), ZipEntry::file("main.tscn", "scene") },
            { u"main.tscn"_s, u"project.godot"_s });
        row("without what lies beside it",
            { ZipEntry::file("Vantor-master/README.md", "x"),
              ZipEntry::file("Vantor-master/game/project.godot", "new") },
            { u"project.godot"_s });
    }

    void theProjectEndsUpDirectlyInTheGameFolder()
    {
        QFETCH(QList<ZipEntry>, entries);
        ZipBuilder archive;
        archive.entries = entries;
        m_server->serve(path, archive.bytes());
        QCOMPARE(finish(), Paths::gameFolder());
        QTEST(filesIn(Paths::gameFolder()), "files");
        QCOMPARE(read(u"project.godot"_s), "new");
        if (QFile::exists(Paths::gameFolder() + u"/art"_s))
            QCOMPARE(read(u"art/a.png"_s), "picture");
    }

    void theLogTellsTheSteps()
    {
        serveWholeGame();
        finish();
        QCOMPARE(m_log->lines.get(),
                 QStringList({
                     u"Downloading the game from "_s + m_server->url(path).toString(),
                     u"Unpacking the game"_s,
                     u"Game ready in "_s + Paths::gameFolder(),
                 }));
    }

    void theProgressIsPassedThrough()
    {
        serveWholeGame();
        QList<DownloadProgress> events;
        Tasks::finish(m_repository->install(
            &*m_log, [&events](DownloadProgress progress) { events.append(progress); }, {}));
        QVERIFY(!events.isEmpty());
        QCOMPARE(events.last().received, wholeGame().bytes().size());
        QCOMPARE(events.last().total, wholeGame().bytes().size());
    }

    void anUpdateReplacesWhateverIsInTheGamesPlace_data()
    {
        QTest::addColumn<Arrange>("arrange");
        QTest::newRow("a game") << Arrange(writeOldGame);
        QTest::newRow("a file") << Arrange(
            [](const TestHome &home) { put(home, Paths::gameFolder(), "a file"); });
        QTest::newRow("a symbolic link, but not what it leads to") << Arrange([](const TestHome &home) {
            QVERIFY(QDir().mkpath(Paths::root()));
            QVERIFY(QFile::link(home.filePath(u"elsewhere"_s), Paths::gameFolder()));
        });
    }

    void anUpdateReplacesWhateverIsInTheGamesPlace()
    {
        QFETCH(Arrange, arrange);
        const QString elsewhere = m_home->write(u"elsewhere/project.godot"_s, "precious");
        arrange(*m_home);
        serveWholeGame();
        QCOMPARE(finish(), Paths::gameFolder());
        QVERIFY(!QFileInfo(Paths::gameFolder()).isSymLink());
        QCOMPARE(filesIn(Paths::gameFolder()), QStringList { u"project.godot"_s });
        QCOMPARE(read(u"project.godot"_s), "new");
        QCOMPARE(contentOf(elsewhere), "precious");
    }

    void aFailureKeepsThePreviousGameAndCanBeRetried_data()
    {
        QTest::addColumn<HttpReply>("reply");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char *name, const QString &reason, const HttpReply &reply) {
            QTest::newRow(name) << reply << reason;
        };
        row("an archive without a project",
            u"The downloaded game has no project.godot file, so it cannot be started."_s,
            HttpReply::ok(ZipBuilder { ZipEntry::file("Vantor-master/README.md", "no game here") }.bytes()));
        const QByteArray whole = wholeGame().bytes();
        const QString notUnpacked = u"game.zip"_s;
        row("an empty file", notUnpacked, HttpReply::ok({}));
        row("a web page", notUnpacked, HttpReply::ok("<!DOCTYPE html><html><body>Sign in</body></html>"));
        row("half an archive", notUnpacked, HttpReply::ok(whole.first(whole.size() / 2)));
        row("a file outside", notUnpacked, wholeGameAnd(ZipEntry::file("../../../outside", "x")));
        row("a way out", notUnpacked, wholeGameAnd(ZipEntry::link("Vantor-master/out", "/etc")));
        row("a refusal", u"404"_s, HttpReply::status(404));
        row("a broken transfer", sentence(CURLE_PARTIAL_FILE),
            HttpReply::head(200, { "Content-Length: 1000" }).send("PK"));
    }

    void aFailureKeepsThePreviousGameAndCanBeRetried()
    {
        QFETCH(HttpReply, reply);
        QFETCH(QString, reason);
        writeOldGame(*m_home);
        m_server->serve(path, reply);
        const auto error = Tasks::failure<AppError>(install());
        QVERIFY(error);
        QVERIFY2(error->errorDescription().contains(reason), error->what());
        verifyOldGame();
        QCOMPARE(filesIn(Paths::root()), QStringList({ u"Game"_s, u"Temp"_s }));
        QVERIFY(!QFile::exists(m_home->dataHome() + u"/outside"_s));
        serveWholeGame();
        QCOMPARE(finish(), Paths::gameFolder());
        QCOMPARE(read(u"project.godot"_s), "new");
    }

    void aLostConnectionIsALineInTheLogAndNoFailure()
    {
        const HttpReply half = HttpReply::head(200, { "Content-Length: 1000" }).send("PK");
        m_server->serve(path, { half, HttpReply::ok(wholeGame().bytes()) });
        QCOMPARE(finish(), Paths::gameFolder());
        QCOMPARE(m_log->lines->at(1),
                 u"The connection was lost at 2 bytes; trying again in 1 second, from the beginning."_s);
        QCOMPARE(m_log->lines->size(), 4);
    }

    void aScratchFolderThatCannotBeMadeIsAFileError()
    {
        put(*m_home, Paths::root(), "a file");
        verifyFileError(install(), ENOTDIR);
        QCOMPARE(m_server->connectionCount(), 0);
    }

    void aFolderToUnpackIntoThatCannotBeMadeIsAFileError()
    {
        auto task = installUpToTheDownload();
        put(*m_home, scratchFolder() + u"/extract"_s, "in the way");
        m_server->release();
        verifyFileError(std::move(task), EEXIST);
        verifyOldGame();
    }

    void anOldGameThatCannotBeMovedIsAFileErrorAndStays()
    {
        const SmallDisk disk(Paths::gameFolder());
        if (!disk.isMounted())
            QSKIP("Only the superuser can mount the disk that this needs.");
        writeOldGame(*m_home);
        serveWholeGame();
        verifyFileError(install(), EBUSY);
        verifyOldGame();
    }

    void aNewGameThatCannotBeMovedIsAFileErrorAndTheOldOneComesBack()
    {
        auto task = installUpToTheDownload();
        {
            const SmallDisk disk(scratchFolder() + u"/extract"_s);
            m_server->release();
            if (!disk.isMounted()) {
                Tasks::finish(std::move(task));
                QSKIP("Only the superuser can mount the disk that this needs.");
            }
            verifyFileError(std::move(task), EXDEV);
        }
        // A mount point cannot be removed, so the scratch folder is still there.
        QVERIFY(QDir(Paths::tempFolder()).removeRecursively());
        verifyOldGame();
    }

    void aCancelDuringTheDownloadKeepsThePreviousGame_data()
    {
        QTest::addColumn<Cancel>("cancel");
        const auto row = [](const char *name, Cancel cancel) { QTest::newRow(name) << cancel; };
        row("by its owner", [](RepoDownloader &repository, std::stop_source &) { repository.cancel(); });
        row("from another thread", [](RepoDownloader &repository, std::stop_source &) {
            std::thread([&repository] { repository.cancel(); }).join();
        });
        row("by a stop", [](RepoDownloader &, std::stop_source &stop) { stop.request_stop(); });
    }

    void aCancelDuringTheDownloadKeepsThePreviousGame()
    {
        QFETCH(Cancel, cancel);
        std::stop_source stop;
        auto task = installUpToTheDownload(stop.get_token());
        cancel(*m_repository, stop);
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        verifyOldGame();
    }

    void aStopBeforeTheDownloadTouchesNoNetwork()
    {
        std::stop_source stop;
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(install(stop.get_token())));
        QCOMPARE(m_server->connectionCount(), 0);
    }

    void aStopAfterTheDownloadIsNoticedBeforeTheUnpacking()
    {
        writeOldGame(*m_home);
        serveWholeGame();
        std::stop_source stop;
        auto task = install(stop.get_token());
        waitForTheFileWithoutTurningTheEventLoop();
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        QCOMPARE(m_log->lines->size(), 1);
        verifyOldGame();
    }

    void aCancelAfterTheDownloadEndsTheInstallationToo()
    {
        serveWholeGame();
        auto task = install();
        waitForTheFileWithoutTurningTheEventLoop();
        m_repository->cancel();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
    }

    void aCancelOutsideAnInstallationDoesNothing()
    {
        serveWholeGame();
        m_repository->cancel();
        QCOMPARE(finish(), Paths::gameFolder());
        m_repository->cancel();
        QCOMPARE(finish(), Paths::gameFolder());
    }

private:
    void serveWholeGame() { m_server->serve(path, wholeGame().bytes()); }

    QCoro::Task<QString> install(std::stop_token stop = {})
    {
        return m_repository->install(&*m_log, nullptr, stop);
    }

    /// Updates an old game. Returns once the server holds back the new one, until its release.
    QCoro::Task<QString> installUpToTheDownload(std::stop_token stop = {})
    {
        writeOldGame(*m_home);
        m_server->serve(path, HttpReply::head(200).stall().send(wholeGame().bytes()));
        auto task = install(stop);
        [this] { QTRY_COMPARE(m_server->requestCount(path), 1); }();
        return task;
    }

    QString finish() { return Tasks::finish(install()); }

    static void verifyFileError(QCoro::Task<QString> task, int code)
    {
        const auto error = Tasks::failure<FileError>(std::move(task));
        QVERIFY(error);
        QCOMPARE(error->code(), code);
    }

    static void verifyOldGame()
    {
        QCOMPARE(filesIn(Paths::gameFolder()), QStringList({ u"old folder"_s, u"project.godot"_s }));
        QCOMPARE(read(u"project.godot"_s), "old");
        QCOMPARE(read(u"old folder/old file"_s), "old");
    }

    static QByteArray read(const QString &name) { return contentOf(Paths::gameFolder() + u'/' + name); }

    static QString scratchFolder()
    {
        const QStringList folders = filesIn(Paths::tempFolder());
        return folders.size() == 1 ? Paths::tempFolder() + u'/' + folders.first() : QString();
    }

    /// The transfer ends on its own thread; the installation continues only once the event loop runs.
    static void waitForTheFileWithoutTurningTheEventLoop()
    {
        QElapsedTimer time;
        time.start();
        while (!QFile::exists(scratchFolder() + u"/game.zip"_s) && time.elapsed() < 10'000)
            QThread::msleep(1);
        QVERIFY(QFile::exists(scratchFolder() + u"/game.zip"_s));
    }

    const QString path = u"/Kestrelwood/Vantor/archive/refs/heads/master.zip"_s;
    std::optional<TestHome> m_home;
    std::optional<HttpServer> m_server;
    std::optional<LogStore> m_log;
    std::optional<RepoDownloader> m_repository;
};

QTEST_GUILESS_MAIN(RepoDownloaderTest)
#include "RepoDownloaderTest.moc"
