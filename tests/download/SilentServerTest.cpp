#include "DownloadScene.h"

#include "AppError.h"

#include <QTest>

/// The silence limit that players get, in real time.
class SilentServerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aBodyThatFallsSilentEndsInAnErrorWithinAMinute()
    {
        DownloadScene scene;
        const HttpReply silent
            = HttpReply::head(200, { "Content-Length: 1000000" }).send(QByteArray(50'000, 'x')).stall();
        const auto error
            = Tasks::failure<AppError>(scene.downloader(silent)->start(), std::chrono::seconds(60));
        QVERIFY(error);
        QVERIFY(error->errorDescription().endsWith(TransferError::timedOut().errorDescription()));
    }
};

QTEST_GUILESS_MAIN(SilentServerTest)
#include "SilentServerTest.moc"
