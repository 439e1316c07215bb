#include "DownloadScene.h"

#include "Table.h"

#include <QTest>

#include <random>
#include <thread>

using namespace Qt::StringLiterals;
using namespace TransferTesting;
using namespace std::chrono_literals;

/// Cancels `download`, which was started with the token of `stop`.
using Cancel = void (*)(FileDownloader &download, std::stop_source &stop);

/// Cancelling at every moment: the caller gets the cancellation error soon, and nothing is left on disk.
class DownloadCancelTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_scene.emplace(); }

    void aCancelBeforeTheStartTouchesNoNetwork_data() { addWays(); }

    void aCancelBeforeTheStartTouchesNoNetwork()
    {
        QFETCH(Cancel, cancel);
        const auto download = m_scene->downloader(HttpReply::ok("new"));
        std::stop_source stop;
        cancel(*download, stop);
        QVERIFY(Tasks::failure<CancellationError>(download->start(stop.get_token())));
        QCOMPARE(m_scene->server.connectionCount(), 0);
        QCOMPARE(m_scene->files(), QStringList());
    }

    void aCancelDuringTheTransferEndsItAtOnce_data() { addWays(); }

    void aCancelDuringTheTransferEndsItAtOnce()
    {
        QFETCH(Cancel, cancel);
        QFETCH(HttpReply, reply);
        const auto download = m_scene->downloader(reply);
        std::stop_source stop;
        auto task = download->start(stop.get_token());
        QTRY_COMPARE(m_scene->files(), QStringList { m_scene->name + u".part"_s });
        endsAtOnce(std::move(task), [&] { cancel(*download, stop); });
        QCOMPARE(m_scene->files(), QStringList());
        QTRY_COMPARE(m_scene->server.openConnections(), 0);
        download->cancel();
    }

    void aCancelFromTheProgressReportIsHeard()
    {
        std::stop_source stop;
        const auto download = std::make_shared<FileDownloader>(
            m_scene->server.serve(m_scene->path, flood), m_scene->destination,
            [&stop](DownloadProgress) { stop.request_stop(); });
        QVERIFY(Tasks::failure<CancellationError>(download->start(stop.get_token())));
        QCOMPARE(m_scene->files(), QStringList());
    }

    void aCancelAtAnyMomentLeavesTheWholeFileOrNothing()
    {
        const QByteArray bytes = someBytes(2'000'000);
        const HttpReply slow
            = HttpReply::head(200, { "Content-Length: 2000000" }).sendSlowly(bytes, 200'000, 1ms);
        std::mt19937 random(20'260'101);
        std::uniform_int_distribution<int> microseconds(0, 30'000);
        int cancelled = 0;
        for (int round = 0; round < 50; ++round) {
            const auto download = m_scene->downloader(slow);
            auto task = download->start();
            std::thread canceller([download, moment = std::chrono::microseconds(microseconds(random))] {
                std::this_thread::sleep_for(moment);
                download->cancel();
            });
            const auto join = qScopeGuard([&canceller] { canceller.join(); });
            try {
                QCOMPARE(Tasks::finish(std::move(task)), m_scene->destination);
                QCOMPARE(m_scene->content(), bytes);
                QVERIFY(QFile::remove(m_scene->destination));
            } catch (const CancellationError &) {
                ++cancelled;
            }
            QCOMPARE(m_scene->files(), QStringList());
        }
        QVERIFY2(cancelled > 0, "No round was cancelled: the test needs a slower reply.");
        QTRY_COMPARE(m_scene->server.openConnections(), 0);
    }

private:
    void addWays() const
    {
        const auto add = table<Cancel, HttpReply>("cancel", "reply");
        const auto row = [&](const QByteArray &name, Cancel cancel) {
            add(name, cancel, HttpReply::head(200).send("x").stall());
            add(name + ", in a flood", cancel, flood);
        };
        row("by its owner", [](FileDownloader &download, std::stop_source &) { download.cancel(); });
        row("twice", [](FileDownloader &download, std::stop_source &) {
            download.cancel();
            download.cancel();
        });
        row("from another thread", [](FileDownloader &download, std::stop_source &) {
            std::thread([&download] { download.cancel(); }).join();
        });
        row("by a stop", [](FileDownloader &, std::stop_source &stop) { stop.request_stop(); });
    }

    const HttpReply flood = HttpReply::head(200).sendForever(QByteArray(100'000, 'x'));
    std::optional<DownloadScene> m_scene;
};

QTEST_GUILESS_MAIN(DownloadCancelTest)
#include "DownloadCancelTest.moc"
