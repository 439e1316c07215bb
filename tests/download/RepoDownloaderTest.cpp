#include "RepoDownloader.h"

#include "AppError.h"
#include "CodeHost.h"
#include "FileError.h"
#include "HttpServer.h"
#include "LogStore.h"
#include "Paths.h"
#include "SmallDisk.h"
#include "Table.h"
#include "TestHome.h"
#include "TransferTesting.h"
#include "ZipBuilder.h"

#include <QTest>

#include <curl/curl.h>

#include <cerrno>
#include <functional>
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

/// Does something to the game or the installation.
using Change = std::function<void()>;

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
        m_stop = std::stop_source();
        CodeHost::setAddress(m_server->address());
    }

    // However an installation ends, it leaves no scratch folder.
    void cleanup() { QCOMPARE(m_home->list(Paths::tempFolder()), QStringList()); }

    void theArchiveIsTheRepositorysMasterBranch()
    {
        CodeHost::setAddress(CodeHost::official());
        QCOMPARE(RepoDownloader::zipURL(), QUrl(CodeHost::official().toString() + path));
    }

    void theProjectEndsUpDirectlyInTheGameFolder_data()
    {
        const auto row = table<QList<ZipEntry>, QStringList>("entries", "files");
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
        QTEST(m_home->list(Paths::gameFolder()), "files");
        QCOMPARE(m_home->read(project()), "new");
        if (const QString art = Paths::gameFolder() + u"/art"_s; QFile::exists(art))
            QCOMPARE(m_home->read(art + u"/a.png"_s), "picture");
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
        const auto row = table<Change>("arrange");
        row("a game", [this] { writeOldGame(); });
        row("a file", [this] { m_home->write(Paths::gameFolder(), "a file"); });
        row("a symbolic link, but not what it leads to",
            [this] { m_home->link(Paths::gameFolder(), m_home->filePath(u"elsewhere"_s)); });
    }

    void anUpdateReplacesWhateverIsInTheGamesPlace()
    {
        QFETCH(Change, arrange);
        const QString elsewhere = m_home->write(u"elsewhere/project.godot"_s, "precious");
        arrange();
        serveWholeGame();
        QCOMPARE(finish(), Paths::gameFolder());
        QVERIFY(!QFileInfo(Paths::gameFolder()).isSymLink());
        QCOMPARE(m_home->list(Paths::gameFolder()), QStringList { u"project.godot"_s });
        QCOMPARE(m_home->read(project()), "new");
        QCOMPARE(m_home->read(elsewhere), "precious");
    }

    void aFailureKeepsThePreviousGameAndCanBeRetried_data()
    {
        const auto row = table<QString, HttpReply>("reason", "reply");
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
        writeOldGame();
        m_server->serve(path, reply);
        const auto error = Tasks::failure<AppError>(install());
        QVERIFY(error);
        QVERIFY2(error->errorDescription().contains(reason), error->what());
        verifyOldGame();
        QCOMPARE(m_home->list(Paths::root()), QStringList({ u"Game"_s, u"Temp"_s }));
        QVERIFY(!QFile::exists(m_home->dataHome() + u"/outside"_s));
        serveWholeGame();
        QCOMPARE(finish(), Paths::gameFolder());
        QCOMPARE(m_home->read(project()), "new");
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
        m_home->write(Paths::root(), "a file");
        verifyFileError(install(), ENOTDIR);
        QCOMPARE(m_server->connectionCount(), 0);
    }

    void aFolderToUnpackIntoThatCannotBeMadeIsAFileError()
    {
        auto task = installUpToTheDownload();
        m_home->write(scratchFolder() + u"/extract"_s, "in the way");
        m_server->release();
        verifyFileError(std::move(task), EEXIST);
        verifyOldGame();
    }

    void anOldGameThatCannotBeMovedIsAFileErrorAndStays()
    {
        const SmallDisk disk(Paths::gameFolder());
        if (!disk.isMounted())
            QSKIP(SmallDisk::cannotMount);
        writeOldGame();
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
                QSKIP(SmallDisk::cannotMount);
            }
            verifyFileError(std::move(task), EXDEV);
        }
        // A mount point cannot be removed, so the scratch folder is still there.
        QVERIFY(QDir(Paths::tempFolder()).removeRecursively());
        verifyOldGame();
    }

    void aCancelDuringTheDownloadKeepsThePreviousGame_data() { addCancels(); }

    void aCancelDuringTheDownloadKeepsThePreviousGame()
    {
        QFETCH(Change, cancel);
        auto task = installUpToTheDownload();
        cancel();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        verifyOldGame();
    }

    void aStopBeforeTheDownloadTouchesNoNetwork()
    {
        m_stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(install()));
        QCOMPARE(m_server->connectionCount(), 0);
    }

    void aCancelAfterTheDownloadIsNoticedBeforeTheUnpacking_data() { addCancels(); }

    void aCancelAfterTheDownloadIsNoticedBeforeTheUnpacking()
    {
        QFETCH(Change, cancel);
        writeOldGame();
        serveWholeGame();
        auto task = install();
        waitForTheFileWithoutTurningTheEventLoop();
        cancel();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        QCOMPARE(m_log->lines->size(), 1);
        verifyOldGame();
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
    void addCancels()
    {
        const auto row = table<Change>("cancel");
        row("by its owner", [this] { m_repository->cancel(); });
        row("from another thread", [this] { std::thread([this] { m_repository->cancel(); }).join(); });
        row("by a stop", [this] { m_stop.request_stop(); });
    }

    void serveWholeGame() { m_server->serve(path, wholeGame().bytes()); }

    QCoro::Task<QString> install() { return m_repository->install(&*m_log, nullptr, m_stop.get_token()); }

    /// Updates an old game. Returns once the server holds back the new one, until its release.
    QCoro::Task<QString> installUpToTheDownload()
    {
        writeOldGame();
        m_server->serve(path, HttpReply::head(200).stall().send(wholeGame().bytes()));
        auto task = install();
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

    static QString project() { return Paths::gameFolder() + u"/project.godot"_s; }
    static QString oldFile() { return Paths::gameFolder() + u"/old folder/old file"_s; }

    void writeOldGame() const
    {
        m_home->write(project(), "old");
        m_home->write(oldFile(), "old");
    }

    void verifyOldGame() const
    {
        QCOMPARE(m_home->list(Paths::gameFolder()), QStringList({ u"old folder"_s, u"project.godot"_s }));
        QCOMPARE(m_home->read(project()), "old");
        QCOMPARE(m_home->read(oldFile()), "old");
    }

    QString scratchFolder() const
    {
        const QStringList folders = m_home->list(Paths::tempFolder());
        return folders.size() == 1 ? Paths::tempFolder() + u'/' + folders.first() : QString();
    }

    /// The transfer ends on its own thread; the installation continues only once the event loop runs.
    void waitForTheFileWithoutTurningTheEventLoop() const
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
    std::stop_source m_stop;
};

QTEST_GUILESS_MAIN(RepoDownloaderTest)
#include "RepoDownloaderTest.moc"
