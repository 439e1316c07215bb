#include "EngineManager.h"

#include "AppError.h"
#include "CancellationError.h"
#include "Tasks.h"
#include "http/HttpServer.h"
#include "http/LoopbackPort.h"

class ExpectedChecksumTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFilesHashIsGivenAsItStandsInTheList()
    {
        HttpServer server;
        server.serve(path(), "aaa  other.zip\r\nABC *Godot_v4.3-stable_macos.universal.zip\r\n");
        QCOMPARE(Tasks::finish(EngineManager::expectedChecksum(server.url(path()), name())),
                 QStringLiteral("ABC"));
    }

    void bytesThatAreNoUtf8DoNoHarm()
    {
        HttpServer server;
        server.serve(path(), "\xff\xfe  \x80.zip\nabc  Godot_v4.3-stable_macos.universal.zip\n");
        QCOMPARE(Tasks::finish(EngineManager::expectedChecksum(server.url(path()), name())),
                 QStringLiteral("abc"));
    }

    void aListWithoutTheFileSaysSo()
    {
        HttpServer server;
        server.serve(path(), "aaa  other.zip\n");
        QCOMPARE(message(server.url(path())),
                 QStringLiteral("The official checksum list has no entry for "
                                "Godot_v4.3-stable_macos.universal.zip."));
    }

    void anAnswerOutsideTheGoodOnesIsAServerError_data()
    {
        QTest::addColumn<int>("status");
        for (const int status : { 300, 301, 302, 303, 304, 400, 403, 404, 429, 500, 503 })
            QTest::addRow("%d", status) << status;
    }

    void anAnswerOutsideTheGoodOnesIsAServerError()
    {
        QFETCH(int, status);
        HttpServer server;
        server.serve(path(), HttpReply::status(status));
        QCOMPARE(message(server.url(path())),
                 QStringLiteral("Could not get the checksum list (server error %1).").arg(status));
    }

    void everyGoodAnswerIsAList()
    {
        HttpServer server;
        server.serve(path(), HttpReply::status(203, "abc  Godot_v4.3-stable_macos.universal.zip\n"));
        QCOMPARE(Tasks::finish(EngineManager::expectedChecksum(server.url(path()), name())),
                 QStringLiteral("abc"));
    }

    void aRedirectIsFollowed()
    {
        HttpServer server;
        server.serve(path(), HttpReply::redirect("/elsewhere"));
        server.serve(QStringLiteral("/elsewhere"), "abc  Godot_v4.3-stable_macos.universal.zip\n");
        QCOMPARE(Tasks::finish(EngineManager::expectedChecksum(server.url(path()), name())),
                 QStringLiteral("abc"));
    }

    void aBrokenTransferIsPassedOn()
    {
        const RefusingPort port;
        const QUrl url(QStringLiteral("http://127.0.0.1:%1/SHA512-SUMS.txt").arg(port.port()));
        auto task = EngineManager::expectedChecksum(url, name());
        const auto error = Tasks::failure<std::exception>(std::move(task));
        QVERIFY(error);
        auto again = EngineManager::expectedChecksum(url, name());
        QVERIFY(!Tasks::failure<AppError>(std::move(again)));
    }

    void aListWithoutAnEndIsRefused()
    {
        HttpServer server;
        server.serve(path(), HttpReply::head(200).sendForever(QByteArray(65536, 'a')));
        auto task = EngineManager::expectedChecksum(server.url(path()), name());
        QVERIFY(Tasks::failure<std::exception>(std::move(task)));
    }

    void aStopEndsTheWait()
    {
        HttpServer server;
        server.serve(path(), HttpReply::head(200).stall());
        std::stop_source stop;
        auto task = EngineManager::expectedChecksum(server.url(path()), name(), stop.get_token());
        QTRY_COMPARE(server.requestCount(path()), 1);
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
    }

private:
    static QString path() { return QStringLiteral("/SHA512-SUMS.txt"); }
    static QString name() { return QStringLiteral("Godot_v4.3-stable_macos.universal.zip"); }

    static QString message(const QUrl &url)
    {
        const auto error = Tasks::failure<AppError>(EngineManager::expectedChecksum(url, name()));
        return error ? error->errorDescription() : QString();
    }
};

QTEST_GUILESS_MAIN(ExpectedChecksumTest)
#include "ExpectedChecksumTest.moc"
