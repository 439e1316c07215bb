#include "FileDownloader.h"

#include "AppError.h"
#include "CancellationError.h"
#include "FileError.h"
#include "HttpServer.h"
#include "LoopbackPort.h"
#include "TransferTesting.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#if defined(Q_OS_LINUX)
#include <sys/mount.h>
#endif

#include <mutex>
#include <thread>

using namespace Qt::StringLiterals;
using namespace TransferTesting;
using namespace std::chrono_literals;

class FileDownloaderTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        withoutProxies();
        m_server.emplace();
        m_folder.emplace();
        m_events.clear();
    }

    void aFileArrivesWhole()
    {
        const QByteArray bytes = someBytes(3'000'000);
        m_server->serve(path, bytes);
        QCOMPARE(Tasks::finish(downloader()->start()), destination());
        QVERIFY(content() == bytes);
        QCOMPARE(filesInFolder(), QStringList { u"game.zip"_s });
    }

    void nothingIsFetchedBeforeTheStart()
    {
        const auto download = downloader();
        QTest::qWait(50);
        QCOMPARE(m_server->connectionCount(), 0);
        QCOMPARE(filesInFolder(), QStringList());
    }

    void anEmptyBodyMakesAnEmptyFile()
    {
        m_server->serve(path, QByteArray());
        Tasks::finish(downloader()->start());
        QVERIFY(QFileInfo::exists(destination()));
        QCOMPARE(content(), QByteArray());
    }

    void everyPieceIsReportedWithTheAnnouncedSize()
    {
        m_server->serve(path, someBytes(200'000));
        Tasks::finish(downloader()->start());
        QVERIFY(m_events.size() > 1);
        qint64 before = 0;
        for (const DownloadProgress &event : m_events) {
            QVERIFY(event.received > before);
            QCOMPARE(event.total, 200'000);
            before = event.received;
        }
        QCOMPARE(before, 200'000);
    }

    void aServerThatSendsNoLengthLeavesTheSizeUnknown_data()
    {
        QTest::addColumn<HttpReply>("reply");
        QTest::newRow("chunked") << HttpReply::chunked({ QByteArray(1000, 'x'), QByteArray(1000, 'y') });
        QTest::newRow("until the end") << HttpReply::head(200).send(QByteArray(2000, 'x'));
    }

    void aServerThatSendsNoLengthLeavesTheSizeUnknown()
    {
        QFETCH(HttpReply, reply);
        m_server->serve(path, reply);
        Tasks::finish(downloader()->start());
        QVERIFY(!m_events.isEmpty());
        for (const DownloadProgress &event : m_events) {
            QCOMPARE(event.total, -1);
            QVERIFY(!event.text().contains(" of "_L1));
        }
        QCOMPARE(m_events.last().received, 2000);
    }

    void noSpeedIsShownWithinTheFirstHalfSecondAndOneAfterwards()
    {
        m_server->serve(path,
                        HttpReply::head(200, { "Content-Length: 3000" })
                            .send(QByteArray(1000, 'x'))
                            .pause(600ms)
                            .send(QByteArray(1000, 'y'))
                            .pause(50ms)
                            .send(QByteArray(1000, 'z')));
        Tasks::finish(downloader()->start());
        QVERIFY(m_events.size() >= 3);
        QCOMPARE(m_events.first().bytesPerSecond, 0.0);
        const double speed = m_events.at(m_events.size() - 2).bytesPerSecond;
        QVERIFY2(speed > 100 && speed < 2000 / 0.6, QByteArray::number(speed).constData());
        QCOMPARE(m_events.last().bytesPerSecond, speed);
    }

    void theFirstSpeedIsMeasuredFromTheMakingOfTheDownloader()
    {
        m_server->serve(path, someBytes(1000));
        const auto download = downloader();
        QTest::qWait(510); // longer than the shortest interval
        Tasks::finish(download->start());
        QVERIFY(!m_events.isEmpty());
        QVERIFY(m_events.first().bytesPerSecond > 0);
    }

    void progressIsReportedOnOneOtherThread()
    {
        m_server->serve(path, someBytes(500'000));
        QList<QThread *> threads;
        const auto download = std::make_shared<FileDownloader>(
            m_server->url(path), destination(), [&threads](DownloadProgress) {
                if (threads.isEmpty() || threads.last() != QThread::currentThread())
                    threads.append(QThread::currentThread());
            });
        Tasks::finish(download->start());
        QCOMPARE(threads.size(), 1);
        QVERIFY(threads.first() != QThread::currentThread());
    }

    void nobodyNeedsToListenToTheProgress()
    {
        m_server->serve(path, "bytes");
        Tasks::finish(std::make_shared<FileDownloader>(m_server->url(path), destination(), nullptr)->start());
        QCOMPARE(content(), "bytes");
    }

    void aRefusalIsNamedWithTheFileAndNothingIsPutInPlace_data()
    {
        QTest::addColumn<int>("status");
        for (const int status : { 300, 301, 302, 303, 304, 404, 500 })
            QTest::addRow("%d", status) << status;
    }

    void aRefusalIsNamedWithTheFileAndNothingIsPutInPlace()
    {
        QFETCH(int, status);
        m_server->serve(path, HttpReply::status(status, "A page that says so"));
        QCOMPARE(failureOf(*downloader()),
                 u"The server answered with error "_s + QString::number(status) + u" for master.zip."_s);
        QCOMPARE(filesInFolder(), QStringList());
        QVERIFY(m_events.isEmpty());
    }

    void aRefusalLeavesTheOldFileAlone()
    {
        writeDestination("old");
        QCOMPARE(failureOf(*downloader()), u"The server answered with error 404 for master.zip."_s);
        QCOMPARE(content(), "old");
    }

    void aBrokenTransferIsAFailedDownload_data()
    {
        QTest::addColumn<HttpReply>("reply");
        QTest::addColumn<QString>("sentence");
        const HttpReply announced
            = HttpReply::head(200, { "Content-Length: 100000" }).send(QByteArray(50'000, 'x'));
        QTest::newRow("cut") << announced << u"Download failed: The connection was lost."_s;
        QTest::newRow("reset") << HttpReply(announced).pause(50ms).reset()
                               << u"Download failed: The connection was lost."_s;
        QTest::newRow("stalled") << HttpReply(announced).stall()
                                 << u"Download failed: The request timed out."_s;
        QTest::newRow("redirected for ever") << HttpReply::redirect("/archive/master.zip")
                                             << u"Download failed: The server redirected too many times."_s;
    }

    void aBrokenTransferIsAFailedDownload()
    {
        QFETCH(HttpReply, reply);
        m_server->serve(path, reply);
        writeDestination("old");
        const auto download
            = std::make_shared<FileDownloader>(m_server->url(path), destination(), nullptr, impatient());
        QTEST(failureOf(*download), "sentence");
        QCOMPARE(content(), "old");
        QCOMPARE(filesInFolder(), QStringList { u"game.zip"_s });
    }

    void aServerThatIsNotThereIsAFailedDownload()
    {
        const RefusingPort port;
        const QUrl url(u"http://127.0.0.1:"_s + QString::number(port.port()) + u"/master.zip"_s);
        const auto download = std::make_shared<FileDownloader>(url, destination(), nullptr);
        QCOMPARE(failureOf(*download), u"Download failed: Could not connect to the server."_s);
    }

    void aFileAtTheDestinationIsReplaced()
    {
        writeDestination("old, and much longer than the new one");
        m_server->serve(path, "new");
        Tasks::finish(downloader()->start());
        QCOMPARE(content(), "new");
    }

    void aFolderAtTheDestinationIsReplaced()
    {
        QVERIFY(QDir().mkpath(destination() + u"/sub"_s));
        m_server->serve(path, "new");
        Tasks::finish(downloader()->start());
        QCOMPARE(content(), "new");
    }

    void aLinkAtTheDestinationIsReplacedAndWhatItLeadsToIsLeftAlone()
    {
        const QString other = m_folder->filePath(u"other"_s);
        write(other, "precious");
        QVERIFY(QFile::link(other, destination()));
        m_server->serve(path, "new");
        Tasks::finish(downloader()->start());
        QVERIFY(!QFileInfo(destination()).isSymLink());
        QCOMPARE(content(), "new");
        QCOMPARE(read(other), "precious");
    }

    void aLeftoverOfAnEarlierDownloadIsReplaced()
    {
        write(destination() + u".part"_s, QByteArray(100'000, 'x'));
        m_server->serve(path, "new");
        Tasks::finish(downloader()->start());
        QCOMPARE(content(), "new");
        QCOMPARE(filesInFolder(), QStringList { u"game.zip"_s });
    }

    void aDestinationInAFolderThatIsMissingIsAFileError()
    {
        m_server->serve(path, "new");
        const auto download = std::make_shared<FileDownloader>(
            m_server->url(path), m_folder->filePath(u"missing/game.zip"_s), nullptr);
        const auto error = Tasks::failure<FileError>(download->start());
        QVERIFY(error);
        QCOMPARE(error->code(), ENOENT);
        QVERIFY2(error->errorDescription().contains(u"game.zip"_s), qPrintable(error->errorDescription()));
    }

    void aDestinationInAFolderThatIsAFileIsAFileError()
    {
        write(m_folder->filePath(u"file"_s), "x");
        m_server->serve(path, "new");
        const auto download = std::make_shared<FileDownloader>(
            m_server->url(path), m_folder->filePath(u"file/game.zip"_s), nullptr);
        const auto error = Tasks::failure<FileError>(download->start());
        QVERIFY(error);
        QCOMPARE(error->code(), ENOTDIR);
    }

    void aFolderThatVanishesBeforeTheMoveIsAFileError()
    {
        m_server->serve(path,
                        HttpReply::head(200, { "Content-Length: 10" }).send("12345").stall().send("67890"));
        auto task = downloader()->start();
        QTRY_COMPARE(filesInFolder(), QStringList { u"game.zip.part"_s });
        QVERIFY(QDir(m_folder->path()).removeRecursively());
        m_server->release();
        const auto error = Tasks::failure<FileError>(std::move(task));
        QVERIFY(error);
        QCOMPARE(error->code(), ENOENT);
        QCOMPARE(error->errorDescription(), u"“game.zip” could not be written: No such file or directory."_s);
    }

    void aDestinationThatCannotBeRemovedIsAFileErrorAndNothingIsLeftBesideIt()
    {
#if defined(Q_OS_LINUX)
        QVERIFY(QDir().mkpath(destination()));
        const QByteArray folder = QFile::encodeName(destination());
        // A mount point cannot be removed.
        if (::mount("none", folder.constData(), "tmpfs", 0, "size=64k") != 0)
            QSKIP("Only the superuser can bring in another file system.");
        const auto unmount = qScopeGuard([folder] { ::umount(folder.constData()); });
        m_server->serve(path, "new");
        const auto error = Tasks::failure<FileError>(downloader()->start());
        QVERIFY(error);
        QCOMPARE(error->code(), EBUSY);
        QCOMPARE(error->errorDescription(), u"“game.zip” could not be removed: Device or resource busy."_s);
        QCOMPARE(filesInFolder(), QStringList { u"game.zip"_s });
#else
        QSKIP("There is no other file system to be had here.");
#endif
    }

    void aCancelAfterTheEndDoesNothing()
    {
        m_server->serve(path, "new");
        const auto download = downloader();
        QCOMPARE(Tasks::finish(download->start()), destination());
        download->cancel();
        QCOMPARE(content(), "new");
    }

    void theCallerIsResumedOnceOnTheMainThread()
    {
        m_server->serve(path, "new");
        int resumed = 0;
        const auto download = downloader();
        const auto task = countResumptions(download, &resumed);
        QTRY_VERIFY(task.isReady());
        download->cancel();
        QTest::qWait(50);
        QCOMPARE(resumed, 1);
    }

    void aDownloadGoesOnWhenItsOwnerLetsGo()
    {
        m_server->serve(path, HttpReply::head(200).stall().send("late"));
        auto task = downloader()->start();
        QTRY_COMPARE(m_server->requestCount(path), 1);
        m_server->release();
        QCOMPARE(Tasks::finish(std::move(task)), destination());
        QCOMPARE(content(), "late");
    }

    void aDownloaderThatNeverStartedMayGo()
    {
        downloader().reset();
        QCOMPARE(filesInFolder(), QStringList());
    }

private:
    static QCoro::Task<> countResumptions(std::shared_ptr<FileDownloader> download, int *resumed)
    {
        co_await download->start();
        if (QThread::currentThread() == QCoreApplication::instance()->thread())
            ++*resumed;
    }

    std::shared_ptr<FileDownloader> downloader()
    {
        const auto note = [this](DownloadProgress progress) { m_events.append(progress); };
        return std::make_shared<FileDownloader>(m_server->url(path), destination(), note);
    }

    static QString failureOf(FileDownloader &download)
    {
        const auto error = Tasks::failure<AppError>(download.start());
        return error ? error->errorDescription() : QString();
    }

    QString destination() const { return m_folder->filePath(u"game.zip"_s); }

    QStringList filesInFolder() const
    {
        return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    static void write(const QString &file, const QByteArray &bytes)
    {
        QFile out(file);
        QVERIFY(out.open(QIODevice::WriteOnly));
        QCOMPARE(out.write(bytes), bytes.size());
    }

    static QByteArray read(const QString &file)
    {
        QFile in(file);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray("could not be read");
    }

    void writeDestination(const QByteArray &bytes) const { write(destination(), bytes); }
    QByteArray content() const { return read(destination()); }

    const QString path = u"/archive/master.zip"_s;
    std::optional<HttpServer> m_server;
    std::optional<QTemporaryDir> m_folder;
    QList<DownloadProgress> m_events; // belongs to the transfer's thread until the download has ended
};

QTEST_GUILESS_MAIN(FileDownloaderTest)
#include "FileDownloaderTest.moc"
