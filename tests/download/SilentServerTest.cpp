#include "AppError.h"
#include "FileDownloader.h"
#include "HttpServer.h"
#include "TransferTesting.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace TransferTesting;

/// The silence limit that players get, in real time.
class SilentServerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { withoutProxies(); }

    void aBodyThatFallsSilentEndsInAnErrorWithinAMinute()
    {
        HttpServer server;
        server.serve(
            u"/game.zip"_s,
            HttpReply::head(200, { "Content-Length: 1000000" }).send(QByteArray(50'000, 'x')).stall());
        const QTemporaryDir folder;
        const auto download = std::make_shared<FileDownloader>(server.url(u"/game.zip"_s),
                                                               folder.filePath(u"game.zip"_s), nullptr);
        const auto error = Tasks::failure<AppError>(download->start(), std::chrono::seconds(60));
        QVERIFY(error);
        QCOMPARE(error->errorDescription(), u"Download failed: The request timed out."_s);
    }
};

QTEST_GUILESS_MAIN(SilentServerTest)
#include "SilentServerTest.moc"
