#include "EngineManager.h"

#include "AppError.h"
#include "CancellationError.h"
#include "Table.h"
#include "Tasks.h"
#include "TransferError.h"
#include "http/HttpServer.h"
#include "http/LoopbackPort.h"

using namespace Qt::StringLiterals;

namespace {

const QString path = u"/SHA512-SUMS.txt"_s;
const QString name = u"Godot.zip"_s;

}

class ExpectedChecksumTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_server = std::make_unique<HttpServer>(); }
    void cleanup() { m_server.reset(); }

    void theFilesHashIsReturnedAsItStandsInTheList_data()
    {
        const auto row = table<HttpReply, QString>("reply", "hash");
        row("upper case", HttpReply::ok("aaa  other.zip\r\nABC *Godot.zip\r\n"), u"ABC"_s);
        row("bytes that are not UTF-8", HttpReply::ok("\xff\xfe  \x80.zip\nabc  Godot.zip\n"), u"abc"_s);
        row("another good status", HttpReply::status(203, "abc  Godot.zip\n"), u"abc"_s);
        row("a redirect is followed", HttpReply::redirect("/elsewhere"), u"def"_s);
    }

    void theFilesHashIsReturnedAsItStandsInTheList()
    {
        QFETCH(HttpReply, reply);
        m_server->serve(path, reply);
        m_server->serve(u"/elsewhere"_s, "def  Godot.zip\n");
        QTEST(Tasks::finish(lookUp()), "hash");
    }

    void aListThatDoesNotHelpIsAnErrorInASentence_data()
    {
        const auto row = table<HttpReply, QString>("reply", "sentence");
        row("no entry", HttpReply::ok("aaa  other.zip\n"),
            u"The official checksum list has no entry for Godot.zip."_s);
        for (const int status : { 300, 301, 302, 303, 304, 400, 403, 404, 429, 500, 503 })
            row(QByteArray::number(status).constData(), HttpReply::status(status),
                u"Could not get the checksum list (server error %1)."_s.arg(status));
    }

    void aListThatDoesNotHelpIsAnErrorInASentence()
    {
        QFETCH(HttpReply, reply);
        m_server->serve(path, reply);
        const auto error = Tasks::failure<AppError>(lookUp());
        QVERIFY(error);
        QTEST(error->errorDescription(), "sentence");
    }

    void aTransferThatFailsIsPassedOn()
    {
        const RefusingPort port;
        const QUrl url(u"http://127.0.0.1:%1/SHA512-SUMS.txt"_s.arg(port.port()));
        QVERIFY(Tasks::failure<TransferError>(EngineManager::expectedChecksum(url, name)));
    }

    void aListWithoutAnEndIsRefused()
    {
        m_server->serve(path, HttpReply::head(200).sendForever(QByteArray(65536, 'a')));
        QVERIFY(Tasks::failure<TransferError>(lookUp()));
    }

    void aStopEndsTheWait()
    {
        m_server->serve(path, HttpReply::head(200).stall());
        std::stop_source stop;
        auto task = lookUp(stop.get_token());
        QTRY_COMPARE(m_server->requestCount(path), 1);
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
    }

private:
    QCoro::Task<QString> lookUp(std::stop_token stop = {}) const
    {
        return EngineManager::expectedChecksum(m_server->url(path), name, std::move(stop));
    }

    std::unique_ptr<HttpServer> m_server;
};

QTEST_GUILESS_MAIN(ExpectedChecksumTest)
#include "ExpectedChecksumTest.moc"
