#include "CancellationError.h"
#include "FileDownloader.h"
#include "HttpServer.h"
#include "LoopbackPort.h"
#include "TransferTesting.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <random>
#include <thread>

using namespace Qt::StringLiterals;
using namespace TransferTesting;
using namespace std::chrono_literals;

/// Cancelling at every moment: the caller gets the cancellation error soon, and nothing is left on disk.
class DownloadCancelTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        withoutProxies();
        m_server.emplace();
        m_folder.emplace();
    }

    void aCancelBeforeTheStartTouchesNoNetwork()
    {
        m_server->serve(path, "new");
        const auto download = downloader(m_server->url(path));
        download->cancel();
        QVERIFY(Tasks::failure<CancellationError>(download->start()));
        QCOMPARE(m_server->connectionCount(), 0);
        QVERIFY(isFolderEmpty());
    }

    void aStopBeforeTheStartTouchesNoNetwork()
    {
        m_server->serve(path, "new");
        std::stop_source stop;
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(downloader(m_server->url(path))->start(stop.get_token())));
        QCOMPARE(m_server->connectionCount(), 0);
    }

    void aCancelDuringTheTransferIsNoFailedDownload_data()
    {
        QTest::addColumn<HttpReply>("reply");
        const HttpReply announced = HttpReply::head(200, { "Content-Length: 10000" });
        QTest::newRow("before the header") << HttpReply().stall();
        QTest::newRow("in the header") << HttpReply().send("HTTP/1.1 200").stall();
        QTest::newRow("before the body") << HttpReply(announced).stall();
        QTest::newRow("in the body") << HttpReply(announced).send("x").stall();
        QTest::newRow("in a drip") << HttpReply(announced).sendForever("x", 10ms);
        QTest::newRow("in a flood") << HttpReply::head(200).sendForever(QByteArray(100'000, 'x'));
    }

    void aCancelDuringTheTransferIsNoFailedDownload()
    {
        QFETCH(HttpReply, reply);
        m_server->serve(path, reply);
        const auto download = downloader(m_server->url(path));
        auto task = download->start();
        QTRY_COMPARE(m_server->requestCount(path), 1);
        QTest::qWait(intoTheWait);

        QElapsedTimer time;
        time.start();
        download->cancel();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        QVERIFY2(time.elapsed() < 400, QByteArray::number(time.elapsed()).constData());
        QVERIFY(isFolderEmpty());
        QTRY_COMPARE(m_server->openConnections(), 0);
    }

    void aStopDuringTheTransferIsACancel()
    {
        m_server->serve(path, HttpReply::head(200).send("x").stall());
        std::stop_source stop;
        auto task = downloader(m_server->url(path))->start(stop.get_token());
        QTRY_COMPARE(m_server->requestCount(path), 1);
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        QVERIFY(isFolderEmpty());
    }

    void aCancelWhileConnectingEndsAtOnce()
    {
        const SilentPort port;
        const auto download
            = downloader(QUrl(u"http://127.0.0.1:"_s + QString::number(port.port()) + u"/master.zip"_s));
        auto task = download->start();
        QTest::qWait(intoTheWait);
        QElapsedTimer time;
        time.start();
        download->cancel();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        QVERIFY2(time.elapsed() < 400, QByteArray::number(time.elapsed()).constData());
    }

    void aCancelFromAnotherThreadIsHeard()
    {
        m_server->serve(path, HttpReply().stall());
        const auto download = downloader(m_server->url(path));
        auto task = download->start();
        QTRY_COMPARE(m_server->requestCount(path), 1);
        std::thread([download] { download->cancel(); }).join();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
    }

    void cancellingTwiceIsCancellingOnce()
    {
        m_server->serve(path, HttpReply().stall());
        const auto download = downloader(m_server->url(path));
        auto task = download->start();
        download->cancel();
        download->cancel();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        download->cancel();
    }

    void aCancelFromTheProgressReportIsHeard()
    {
        m_server->serve(path, HttpReply::head(200).sendForever(QByteArray(100'000, 'x')));
        std::stop_source stop;
        const auto download = std::make_shared<FileDownloader>(
            m_server->url(path), destination(), [&stop](DownloadProgress) { stop.request_stop(); });
        QVERIFY(Tasks::failure<CancellationError>(download->start(stop.get_token())));
        QVERIFY(isFolderEmpty());
    }

    void aCancelAtAnyMomentLeavesTheWholeFileOrNothing()
    {
        const QByteArray bytes = someBytes(2'000'000);
        m_server->serve(path,
                        HttpReply::head(200, { "Content-Length: 2000000" }).sendSlowly(bytes, 200'000, 1ms));
        std::mt19937 random(20'260'101);
        std::uniform_int_distribution<int> microseconds(0, 30'000);
        int cancelled = 0;
        for (int round = 0; round < 50; ++round) {
            const auto download = downloader(m_server->url(path));
            auto task = download->start();
            std::thread canceller([download, moment = std::chrono::microseconds(microseconds(random))] {
                std::this_thread::sleep_for(moment);
                download->cancel();
            });
            bool isWhole = false;
            try {
                isWhole = Tasks::finish(std::move(task)) == destination();
            } catch (const CancellationError &) {
                ++cancelled;
            }
            canceller.join();
            if (isWhole) {
                QFile file(destination());
                QVERIFY(file.open(QIODevice::ReadOnly) && file.readAll() == bytes);
                QVERIFY(file.remove());
            }
            QVERIFY(isFolderEmpty());
        }
        QVERIFY2(cancelled > 0, "No round was cancelled: the test needs a slower reply.");
        QTRY_COMPARE(m_server->openConnections(), 0);
    }

private:
    /// How long, in milliseconds, until a transfer waits for nothing but the server: by then libcurl's
    /// initial timers, which also wake it, have expired.
    static constexpr int intoTheWait = 450;

    std::shared_ptr<FileDownloader> downloader(const QUrl &url) const
    {
        return std::make_shared<FileDownloader>(url, destination(), nullptr);
    }

    QString destination() const { return m_folder->filePath(u"game.zip"_s); }
    bool isFolderEmpty() const
    {
        return QDir(m_folder->path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    const QString path = u"/archive/master.zip"_s;
    std::optional<HttpServer> m_server;
    std::optional<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(DownloadCancelTest)
#include "DownloadCancelTest.moc"
