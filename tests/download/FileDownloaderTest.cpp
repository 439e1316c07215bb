#include "DownloadScene.h"

#include "AppError.h"
#include "FileError.h"
#include "OrdinaryUser.h"
#include "SmallDisk.h"
#include "ThreadLimit.h"

#include <QTest>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <sys/resource.h>

using namespace Qt::StringLiterals;
using namespace TransferTesting;
using namespace std::chrono_literals;

/// Arranges what a test needs.
using Arrange = void (*)(const DownloadScene &);

class FileDownloaderTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_scene.emplace(); }
    // A TestHome restores the environment on destruction, so it must be destroyed before the next is made.
    void cleanup() { m_scene.reset(); }

    void aFileArrivesWhole_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("large") << someBytes(3'000'000);
        QTest::newRow("empty") << QByteArray();
    }

    void aFileArrivesWhole()
    {
        QFETCH(QByteArray, bytes);
        QCOMPARE(m_scene->download(HttpReply::ok(bytes)), m_scene->destination);
        QCOMPARE(m_scene->content(), bytes);
        QCOMPARE(m_scene->files(), QStringList { m_scene->name });
    }

    void nothingIsFetchedBeforeTheStart()
    {
        auto download = m_scene->downloader(newFile);
        QTest::qWait(50);
        download.reset();
        QCOMPARE(m_scene->server.connectionCount(), 0);
        QCOMPARE(m_scene->files(), QStringList());
    }

    void whateverIsAtTheDestinationIsReplaced_data()
    {
        QTest::addColumn<Arrange>("arrange");
        const auto row = [](const char *name, Arrange arrange) { QTest::newRow(name) << arrange; };
        row("a longer file", [](const DownloadScene &scene) {
            scene.folder.write(scene.name, "old, and much longer than the new one");
        });
        row("a folder",
            [](const DownloadScene &scene) { scene.folder.write(scene.name + u"/sub/a"_s, "old"); });
        row("a symbolic link",
            [](const DownloadScene &scene) { QVERIFY(QFile::link(u"other"_s, scene.destination)); });
        row("nothing but what an earlier download left", [](const DownloadScene &scene) {
            scene.folder.write(scene.name + u".part"_s, QByteArray(100'000, 'x'));
        });
    }

    void whateverIsAtTheDestinationIsReplaced()
    {
        QFETCH(Arrange, arrange);
        arrange(*m_scene);
        const QString other = m_scene->folder.write(u"other"_s, "precious");
        m_scene->download(newFile);
        QVERIFY(!QFileInfo(m_scene->destination).isSymLink());
        QCOMPARE(m_scene->content(), "new");
        QCOMPARE(contentOf(other), "precious");
        QCOMPARE(m_scene->files(), QStringList({ m_scene->name, u"other"_s }));
    }

    void everyPieceIsReportedWithTheAnnouncedSize_data()
    {
        QTest::addColumn<HttpReply>("reply");
        QTest::addColumn<qint64>("announced");
        const QByteArray bytes = someBytes(200'000);
        QTest::newRow("announced") << HttpReply::ok(bytes) << qint64(bytes.size());
        QTest::newRow("unknown, in chunks")
            << HttpReply::chunked({ bytes.first(100'000), bytes.sliced(100'000) }) << qint64(-1);
        QTest::newRow("unknown, up to the end of the connection")
            << HttpReply::head(200).send(bytes) << qint64(-1);
    }

    void everyPieceIsReportedWithTheAnnouncedSize()
    {
        QFETCH(HttpReply, reply);
        QFETCH(qint64, announced);
        m_scene->download(reply);
        QVERIFY(m_scene->events.size() > 1);
        qint64 before = 0;
        for (const DownloadProgress &event : m_scene->events) {
            QVERIFY(event.received > before);
            QCOMPARE(event.total, announced);
            before = event.received;
        }
        QCOMPARE(before, 200'000);
    }

    void noSpeedIsShownWithinTheFirstHalfSecondAndOneAfterwards()
    {
        m_scene->download(HttpReply::head(200, { "Content-Length: 3000" })
                              .send(QByteArray(1000, 'x'))
                              .pause(600ms)
                              .send(QByteArray(1000, 'y'))
                              .pause(50ms)
                              .send(QByteArray(1000, 'z')));
        const QList<DownloadProgress> &events = m_scene->events;
        QVERIFY(events.size() >= 3);
        QCOMPARE(events.first().bytesPerSecond, 0.0);
        const double speed = events.at(events.size() - 2).bytesPerSecond;
        QVERIFY2(speed > 100 && speed < 2000 / 0.6, QByteArray::number(speed).constData());
        QCOMPARE(events.last().bytesPerSecond, speed);
    }

    void theFirstSpeedIsMeasuredFromTheMakingOfTheDownloader()
    {
        const auto download = m_scene->downloader(newFile);
        QTest::qWait(510); // longer than the shortest interval
        Tasks::finish(download->start());
        QVERIFY(m_scene->events.constFirst().bytesPerSecond > 0);
    }

    void theSpeedFallsToNothingInAStandstill()
    {
        const auto download = m_scene->downloader(HttpReply::head(200, { "Content-Length: 2000" })
                                                      .send(QByteArray(1000, 'x'))
                                                      .pause(2500ms)
                                                      .send(QByteArray(1000, 'y')));
        Tasks::finish(download->start());
        const QList<DownloadProgress> &events = m_scene->events;
        const auto isStandstill = [](const DownloadProgress &event) {
            return event.received == 1000 && event.bytesPerSecond == 0;
        };
        const auto isMoving = [](const DownloadProgress &event) { return event.bytesPerSecond > 0; };
        const auto moving = std::find_if(events.begin(), events.end(), isMoving);
        QVERIFY(std::any_of(moving, events.end(), isStandstill));
        QCOMPARE(events.last().received, 2000);
    }

    void progressIsReportedOnOneOtherThread()
    {
        QSet<QThread *> threads;
        const QUrl url = m_scene->server.serve(m_scene->path, someBytes(500'000));
        Tasks::finish(
            std::make_shared<FileDownloader>(url, m_scene->destination, [&threads](DownloadProgress) {
                threads.insert(QThread::currentThread());
            })->start());
        QCOMPARE(threads.size(), 1);
        QVERIFY(!threads.contains(QThread::currentThread()));
    }

    void nobodyNeedsToListenToTheProgress()
    {
        const QUrl url = m_scene->server.serve(m_scene->path, newFile);
        Tasks::finish(std::make_shared<FileDownloader>(url, m_scene->destination, nullptr)->start());
        QCOMPARE(m_scene->content(), "new");
    }

    void aRefusalIsNamedWithTheFileAndTheOldOneStays_data()
    {
        QTest::addColumn<int>("status");
        for (const int status : { 300, 301, 302, 303, 304, 404, 500 })
            QTest::addRow("%d", status) << status;
    }

    void aRefusalIsNamedWithTheFileAndTheOldOneStays()
    {
        QFETCH(int, status);
        const QString sentence = u"The server answered with error %1 for master.zip."_s.arg(status);
        QCOMPARE(failureThatKeepsTheOldFile(HttpReply::status(status, "A page that says so")), sentence);
        QVERIFY(m_scene->events.isEmpty());
    }

    void aBrokenTransferIsAFailedDownloadAndTheOldFileStays_data()
    {
        QTest::addColumn<HttpReply>("reply");
        const HttpReply announced
            = HttpReply::head(200, { "Content-Length: 100000" }).send(QByteArray(50'000, 'x'));
        QTest::newRow("closed") << announced;
        QTest::newRow("reset") << HttpReply(announced).pause(50ms).reset();
        QTest::newRow("stalled") << HttpReply(announced).stall();
        QTest::newRow("redirected for ever") << HttpReply::redirect("/archive/master.zip");
    }

    void aBrokenTransferIsAFailedDownloadAndTheOldFileStays()
    {
        QFETCH(HttpReply, reply);
        const QString sentence = failureThatKeepsTheOldFile(reply);
        const QString reason = failure(m_scene->server.url(m_scene->path), impatient());
        QVERIFY(!reason.isEmpty());
        QCOMPARE(sentence, u"Download failed: "_s + reason);
    }

    void ofAFileThatIsBegunAgainNothingIsLeft()
    {
        const HttpReply longer
            = HttpReply::head(200, { "Content-Length: 100000" }).send(QByteArray(50'000, 'x'));
        const QUrl url = m_scene->server.serve(m_scene->path, { longer, newFile });
        const std::function<void(DownloadProgress)> nobody;
        Tasks::finish(
            std::make_shared<FileDownloader>(url, m_scene->destination, nobody, withoutPauses())->start());
        QCOMPARE(m_scene->content(), "new");
    }

    void aTransferThatCannotBeginIsAFailedDownload()
    {
        const QUrl url = m_scene->server.url(m_scene->path);
        QVERIFY(OrdinaryUser::run([url] {
            const ThreadLimit none;
            const auto error = Tasks::failure<AppError>(
                std::make_shared<FileDownloader>(url, u"file"_s, nullptr)->start());
            return error
                && error->errorDescription().endsWith(TransferError::couldNotBegin().errorDescription());
        }));
    }

    void aDestinationThatCannotBeCreatedIsAFileError_data()
    {
        QTest::addColumn<QString>("place");
        QTest::addColumn<int>("code");
        QTest::newRow("in a folder that is missing") << u"missing/game.zip"_s << ENOENT;
        QTest::newRow("in a folder that is a file") << u"file/game.zip"_s << ENOTDIR;
    }

    void aDestinationThatCannotBeCreatedIsAFileError()
    {
        QFETCH(QString, place);
        QFETCH(int, code);
        m_scene->folder.write(u"file"_s, "x");
        const QUrl url = m_scene->server.serve(m_scene->path, newFile);
        verifyFileError(
            std::make_shared<FileDownloader>(url, m_scene->folder.filePath(place), nullptr)->start(),
            u"created"_s, code);
    }

    void aFolderThatVanishesBeforeTheMoveIsAFileError()
    {
        auto task
            = m_scene
                  ->downloader(
                      HttpReply::head(200, { "Content-Length: 10" }).send("12345").stall().send("67890"))
                  ->start();
        QTRY_COMPARE(m_scene->files(), QStringList { m_scene->name + u".part"_s });
        QVERIFY(QDir(m_scene->folder.path()).removeRecursively());
        m_scene->server.release();
        verifyFileError(std::move(task), u"written"_s, ENOENT);
    }

    void aDestinationThatCannotBeRemovedIsAFileErrorAndNothingIsLeftBesideIt()
    {
        const SmallDisk disk(m_scene->destination);
        if (!disk.isMounted())
            QSKIP("Only the superuser can mount the disk that this needs.");
        verifyFileError(m_scene->downloader(newFile)->start(), u"removed"_s, EBUSY);
        QCOMPARE(m_scene->files(), QStringList { m_scene->name });
    }

    void aDiskThatFillsUpIsAFileErrorAndLeavesNothing()
    {
        const SmallDisk disk(m_scene->folder.path(), "size=256k");
        if (!disk.isMounted())
            QSKIP("Only the superuser can mount the disk that this needs.");
        verifyFileError(m_scene->downloader(HttpReply::ok(someBytes(1'000'000)))->start(), u"written"_s,
                        ENOSPC);
        QCOMPARE(m_scene->files(), QStringList());
    }

    void aFileThatMayNotGrowIsAFileErrorAndLeavesNothing()
    {
        // By default this signal ends the program.
        const auto before = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit {};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &limit), 0);
        const rlimit small { 100'000, limit.rlim_max };
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
        verifyFileError(m_scene->downloader(HttpReply::ok(someBytes(1'000'000)))->start(), u"written"_s,
                        EFBIG);
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        std::signal(SIGXFSZ, before);
        QCOMPARE(m_scene->files(), QStringList());
    }

    void theCallerIsResumedOnceOnTheMainThread()
    {
        int resumed = 0;
        const auto download = m_scene->downloader(newFile);
        const auto task = countResumptions(download, &resumed);
        QTRY_VERIFY(task.isReady());
        download->cancel(); // too late to change anything
        QTest::qWait(50);
        QCOMPARE(resumed, 1);
        QCOMPARE(m_scene->content(), "new");
    }

    void aDownloadContinuesWhenItsOwnerReleasesIt()
    {
        auto task = m_scene->downloader(HttpReply::head(200).stall().send("late"))->start();
        QTRY_COMPARE(m_scene->server.requestCount(m_scene->path), 1);
        m_scene->server.release();
        QCOMPARE(Tasks::finish(std::move(task)), m_scene->destination);
        QCOMPARE(m_scene->content(), "late");
    }

private:
    static QCoro::Task<> countResumptions(std::shared_ptr<FileDownloader> download, int *resumed)
    {
        co_await download->start();
        if (QThread::currentThread() == QCoreApplication::instance()->thread())
            ++*resumed;
    }

    /// What an impatient download with `reply` fails with. Verifies that it leaves an old file as it was.
    QString failureThatKeepsTheOldFile(const HttpReply &reply)
    {
        m_scene->folder.write(m_scene->name, "old");
        const auto error = Tasks::failure<AppError>(m_scene->downloader(reply, impatient())->start());
        const bool isKept = m_scene->content() == "old" && m_scene->files() == QStringList { m_scene->name };
        return error && isKept ? error->errorDescription() : QString();
    }

    /// Verifies that `task` fails because game.zip could not be `action`.
    static void verifyFileError(QCoro::Task<QString> task, const QString &action, int code)
    {
        const auto error = Tasks::failure<FileError>(std::move(task));
        QVERIFY(error);
        QCOMPARE(error->code(), code);
        QCOMPARE(error->errorDescription(), FileError(u"game.zip"_s, action, code).errorDescription());
    }

    const HttpReply newFile = HttpReply::ok("new");
    std::optional<DownloadScene> m_scene;
};

QTEST_GUILESS_MAIN(FileDownloaderTest)
#include "FileDownloaderTest.moc"
