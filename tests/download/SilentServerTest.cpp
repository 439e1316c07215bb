#include "DownloadScene.h"

#include "AppError.h"

#include <QTest>

#include <atomic>

using namespace std::chrono_literals;

/// The silence limit that players get, in real time.
class SilentServerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void silenceIsNoticedWithinAMinute()
    {
        DownloadScene scene;
        const QUrl silent = scene.server.serve(QStringLiteral("/silent"), HttpReply().stall());
        const QUrl halting = scene.server.serve(
            QStringLiteral("/halting"),
            HttpReply::head(200, { "Content-Length: 1000000" }).send(QByteArray(50'000, 'x')).stall());
        std::atomic<int> retries = 0;
        FileDownloader::Callbacks callbacks;
        callbacks.onRetry = [&retries](const QString &) { ++retries; };

        FileDownloader neverBegun(silent, scene.folder.filePath(QStringLiteral("never begun")), nullptr);
        FileDownloader begun(halting, scene.folder.filePath(QStringLiteral("begun")), callbacks);
        auto failing = neverBegun.start();
        auto retrying = begun.start();
        // Before the body it is an error, in the body a lost connection.
        const auto error = Tasks::failure<AppError>(std::move(failing), 60s);
        QVERIFY(error);
        QVERIFY(error->errorDescription().endsWith(TransferError::timedOut().errorDescription()));
        QTRY_COMPARE(retries.load(), 1);
        begun.cancel();
        QVERIFY(Tasks::failure<CancellationError>(std::move(retrying)));
    }
};

QTEST_GUILESS_MAIN(SilentServerTest)
#include "SilentServerTest.moc"
