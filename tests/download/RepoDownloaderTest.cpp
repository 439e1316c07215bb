#include "RepoDownloader.h"

#include "AppError.h"
#include "CancellationError.h"
#include "CodeHost.h"
#include "FileError.h"
#include "HttpServer.h"
#include "LogStore.h"
#include "Paths.h"
#include "TestHome.h"
#include "TransferTesting.h"
#include "ZipBuilder.h"

#include <QDir>
#include <QTest>

#include <cerrno>
#include <thread>
#if defined(Q_OS_LINUX)
#include <sys/mount.h>
#endif

using namespace Qt::StringLiterals;
using namespace TransferTesting;

class RepoDownloaderTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        withoutProxies();
        m_home.emplace();
        m_server.emplace();
        m_log.emplace();
        m_repository.emplace();
        CodeHost::setAddress(m_server->address());
    }

    void cleanup()
    {
        // However an installation ends, it leaves no scratch folder.
        QVERIFY(QDir(Paths::tempFolder()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
        CodeHost::setAddress(CodeHost::official());
    }

    void theArchiveIsTheRepositorysMasterBranch()
    {
        CodeHost::setAddress(CodeHost::official());
        QCOMPARE(
            RepoDownloader::zipURL(),
            QUrl(CodeHost::official().toString() + u"/Kestrelwood/Vantor/archive/refs/heads/master.zip"_s));
    }

    void aProjectInAWrapperFolderEndsUpDirectlyInTheGameFolder()
    {
        serve({ ZipEntry::file("Vantor-master/project.godot", "new"),
                ZipEntry::file("Vantor-master/art/a.png", "picture") });
        QCOMPARE(install(), Paths::gameFolder());
        QCOMPARE(filesIn(Paths::gameFolder()), (QStringList { u"art"_s, u"project.godot"_s }));
        QCOMPARE(read(u"project.godot"_s), "new");
        QCOMPARE(read(u"art/a.png"_s), "picture");
    }

    void aProjectWithoutAWrapperFolderIsInstalledToo()
    {
        serve({ ZipEntry::file("project.godot", "new"), ZipEntry::file("main.tscn", "scene") });
        QCOMPARE(install(), Paths::gameFolder());
        QCOMPARE(filesIn(Paths::gameFolder()), (QStringList { u"main.tscn"_s, u"project.godot"_s }));
    }

    void whatLiesBesideTheProjectIsLeftOut()
    {
        serve({ ZipEntry::file("Vantor-master/README.md", "x"),
                ZipEntry::file("Vantor-master/game/project.godot", "new") });
        QCOMPARE(install(), Paths::gameFolder());
        QCOMPARE(filesIn(Paths::gameFolder()), QStringList { u"project.godot"_s });
    }

    void theLogTellsTheSteps()
    {
        serve(wholeGame());
        install();
        QCOMPARE(m_log->lines.get(),
                 (QStringList {
                     u"Downloading the game from "_s + m_server->address().toString()
                         + u"/Kestrelwood/Vantor/archive/refs/heads/master.zip"_s,
                     u"Unpacking the game"_s,
                     u"Game ready in "_s + Paths::gameFolder(),
                 }));
    }

    void theProgressIsPassedThrough()
    {
        const QByteArray bytes = wholeGame().bytes();
        m_server->serve(path, bytes);
        QList<DownloadProgress> events;
        Tasks::finish(m_repository->install(
            &*m_log, [&events](DownloadProgress progress) { events.append(progress); }, {}));
        QVERIFY(!events.isEmpty());
        QCOMPARE(events.last().received, bytes.size());
        QCOMPARE(events.last().total, bytes.size());
    }

    void anUpdateReplacesTheGameEntirely()
    {
        writeOldGame();
        serve(wholeGame());
        QCOMPARE(install(), Paths::gameFolder());
        QCOMPARE(filesIn(Paths::gameFolder()), QStringList { u"project.godot"_s });
        QCOMPARE(read(u"project.godot"_s), "new");
    }

    void anUpdateReplacesAFileInTheGamesPlace()
    {
        m_home->write(QDir(m_home->path()).relativeFilePath(Paths::gameFolder()), "a file");
        serve(wholeGame());
        QCOMPARE(install(), Paths::gameFolder());
        QCOMPARE(read(u"project.godot"_s), "new");
    }

    void anUpdateOverALinkLeavesWhatItLeadsToAlone()
    {
        const QString elsewhere = m_home->write(u"elsewhere/project.godot"_s, "precious");
        QVERIFY(QDir().mkpath(Paths::root()));
        QVERIFY(QFile::link(m_home->filePath(u"elsewhere"_s), Paths::gameFolder()));
        serve(wholeGame());
        QCOMPARE(install(), Paths::gameFolder());
        QVERIFY(!QFileInfo(Paths::gameFolder()).isSymLink());
        QVERIFY(QFile::exists(elsewhere));
    }

    void anArchiveWithoutAProjectKeepsThePreviousGame()
    {
        writeOldGame();
        serve({ ZipEntry::file("Vantor-master/README.md", "no game here") });
        QCOMPARE(failure(), u"The downloaded game has no project.godot file, so it cannot be started."_s);
        QVERIFY(isOldGameThere());
    }

    void anArchiveThatCannotBeUnpackedKeepsThePreviousGame_data()
    {
        QTest::addColumn<QByteArray>("content");
        const QByteArray whole = wholeGame().bytes();
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("a web page") << QByteArray("<!DOCTYPE html><html><body>Sign in</body></html>");
        QTest::newRow("half an archive") << whole.first(whole.size() / 2);
        QTest::newRow("a file outside") << wholeGameWith(ZipEntry::file("../../../outside", "x"));
        QTest::newRow("a way out") << wholeGameWith(ZipEntry::link("Vantor-master/out", "/etc"));
    }

    void anArchiveThatCannotBeUnpackedKeepsThePreviousGame()
    {
        QFETCH(QByteArray, content);
        writeOldGame();
        m_server->serve(path, content);
        QCOMPARE(failure(), u"Could not unpack game.zip (ditto exit code 1)."_s);
        QVERIFY(isOldGameThere());
        QCOMPARE(filesIn(Paths::root()), (QStringList { u"Game"_s, u"Temp"_s }));
        QVERIFY(!QFile::exists(m_home->dataHome() + u"/outside"_s));
    }

    void aRefusalKeepsThePreviousGame()
    {
        writeOldGame();
        QCOMPARE(failure(), u"The server answered with error 404 for master.zip."_s);
        QVERIFY(isOldGameThere());
    }

    void aBrokenTransferKeepsThePreviousGame()
    {
        writeOldGame();
        m_server->serve(path, HttpReply::head(200, { "Content-Length: 1000" }).send("PK"));
        QCOMPARE(failure(), u"Download failed: The connection was lost."_s);
        QVERIFY(isOldGameThere());
    }

    void aScratchFolderThatCannotBeMadeIsAFileError()
    {
        m_home->write(QDir(m_home->path()).relativeFilePath(Paths::root()), "a file");
        const auto error = Tasks::failure<FileError>(m_repository->install(&*m_log, nullptr, {}));
        QVERIFY(error);
        QCOMPARE(error->code(), ENOTDIR);
        QCOMPARE(m_server->connectionCount(), 0);
    }

    void aFolderToUnpackIntoThatCannotBeMadeIsAFileError()
    {
        writeOldGame();
        m_server->serve(path, HttpReply::head(200).stall().send(wholeGame().bytes()));
        auto task = m_repository->install(&*m_log, nullptr, {});
        QTRY_COMPARE(m_server->requestCount(path), 1);
        QFile inTheWay(scratchFolder() + u"/extract"_s);
        QVERIFY(inTheWay.open(QIODevice::WriteOnly));
        m_server->release();
        const auto error = Tasks::failure<FileError>(std::move(task));
        QVERIFY(error);
        QCOMPARE(error->code(), EEXIST);
        QVERIFY(isOldGameThere());
    }

    void anOldGameThatCannotBeMovedIsAFileErrorAndStays()
    {
#if defined(Q_OS_LINUX)
        QVERIFY(QDir().mkpath(Paths::gameFolder()));
        const QByteArray game = QFile::encodeName(Paths::gameFolder());
        // A mount point cannot be renamed.
        if (::mount("none", game.constData(), "tmpfs", 0, nullptr) != 0)
            QSKIP("Only the superuser can bring in another file system.");
        writeOldGame();
        serve(wholeGame());
        const auto error = Tasks::failure<FileError>(m_repository->install(&*m_log, nullptr, {}));
        const bool isThere = isOldGameThere();
        QCOMPARE(::umount(game.constData()), 0);
        QVERIFY(error);
        QCOMPARE(error->code(), EBUSY);
        QVERIFY(isThere);
#else
        QSKIP("There is no other file system to be had here.");
#endif
    }

    void aNewGameThatCannotBeMovedIsAFileErrorAndTheOldOneComesBack()
    {
#if defined(Q_OS_LINUX)
        writeOldGame();
        m_server->serve(path, HttpReply::head(200).stall().send(wholeGame().bytes()));
        auto task = m_repository->install(&*m_log, nullptr, {});
        QTRY_COMPARE(m_server->requestCount(path), 1);
        const QString extract = scratchFolder() + u"/extract"_s;
        QVERIFY(QDir().mkpath(extract));
        // rename() fails across file systems.
        const bool isMounted
            = ::mount("none", QFile::encodeName(extract).constData(), "tmpfs", 0, nullptr) == 0;
        m_server->release();
        const auto error = Tasks::failure<FileError>(std::move(task));
        if (!isMounted)
            QSKIP("Only the superuser can bring in another file system.");
        // A mount point cannot be removed, so the scratch folder is still there.
        QCOMPARE(::umount(QFile::encodeName(extract).constData()), 0);
        QVERIFY(QDir(Paths::tempFolder()).removeRecursively());
        QVERIFY(error);
        QCOMPARE(error->code(), EXDEV);
        QVERIFY(isOldGameThere());
#else
        QSKIP("There is no other file system to be had here.");
#endif
    }

    void aCancelDuringTheDownloadKeepsThePreviousGame()
    {
        writeOldGame();
        m_server->serve(path, HttpReply::head(200).send("PK").stall());
        auto task = m_repository->install(&*m_log, nullptr, {});
        QTRY_COMPARE(m_server->requestCount(path), 1);
        m_repository->cancel();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        QVERIFY(isOldGameThere());
    }

    void aCancelFromAnotherThreadIsHeard()
    {
        m_server->serve(path, HttpReply().stall());
        auto task = m_repository->install(&*m_log, nullptr, {});
        std::thread([this] { m_repository->cancel(); }).join();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
    }

    void aStopDuringTheDownloadKeepsThePreviousGame()
    {
        writeOldGame();
        m_server->serve(path, HttpReply::head(200).send("PK").stall());
        std::stop_source stop;
        auto task = m_repository->install(&*m_log, nullptr, stop.get_token());
        QTRY_COMPARE(m_server->requestCount(path), 1);
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        QVERIFY(isOldGameThere());
    }

    void aStopBeforeTheDownloadTouchesNoNetwork()
    {
        std::stop_source stop;
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(m_repository->install(&*m_log, nullptr, stop.get_token())));
        QCOMPARE(m_server->connectionCount(), 0);
    }

    void aStopAfterTheDownloadIsNoticedBeforeTheUnpacking()
    {
        writeOldGame();
        serve(wholeGame());
        std::stop_source stop;
        auto task = m_repository->install(&*m_log, nullptr, stop.get_token());
        waitForTheFileWithoutTurningTheEventLoop();
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        QCOMPARE(m_log->lines->size(), 1);
        QVERIFY(isOldGameThere());
    }

    void aCancelAfterTheDownloadEndsTheInstallationToo()
    {
        serve(wholeGame());
        auto task = m_repository->install(&*m_log, nullptr, {});
        waitForTheFileWithoutTurningTheEventLoop();
        m_repository->cancel();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
    }

    void aCancelOutsideAnInstallationDoesNothing()
    {
        serve(wholeGame());
        m_repository->cancel();
        install();
        m_repository->cancel();
        QCOMPARE(install(), Paths::gameFolder());
    }

private:
    static ZipBuilder wholeGame() { return { ZipEntry::file("Vantor-master/project.godot", "new") }; }

    static QByteArray wholeGameWith(const ZipEntry &member)
    {
        ZipBuilder archive = wholeGame();
        archive.entries.append(member);
        return archive.bytes();
    }

    void serve(const ZipBuilder &archive) { m_server->serve(path, archive.bytes()); }

    QString install() { return Tasks::finish(m_repository->install(&*m_log, nullptr, {})); }

    QString failure()
    {
        const auto error = Tasks::failure<AppError>(m_repository->install(&*m_log, nullptr, {}));
        return error ? error->errorDescription() : QString();
    }

    void writeOldGame() const
    {
        const QString game = QDir(m_home->path()).relativeFilePath(Paths::gameFolder());
        m_home->write(game + u"/project.godot"_s, "old");
        m_home->write(game + u"/old folder/old file"_s, "old");
    }

    bool isOldGameThere() const
    {
        return read(u"project.godot"_s) == "old" && read(u"old folder/old file"_s) == "old"
            && filesIn(Paths::gameFolder()) == QStringList { u"old folder"_s, u"project.godot"_s };
    }

    static QByteArray read(const QString &name)
    {
        QFile file(Paths::gameFolder() + u'/' + name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("could not be read");
    }

    static QStringList filesIn(const QString &folder)
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    static QString scratchFolder()
    {
        const QStringList folders = filesIn(Paths::tempFolder());
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
};

QTEST_GUILESS_MAIN(RepoDownloaderTest)
#include "RepoDownloaderTest.moc"
