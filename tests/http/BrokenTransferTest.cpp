#include "HttpServer.h"
#include "LoopbackPort.h"
#include "Table.h"
#include "TransferTesting.h"

#include <QTest>

#include <curl/curl.h>

using namespace Qt::StringLiterals;
using namespace TransferTesting;
using namespace std::chrono_literals;

/// What a server, or something in between, can do to a transfer. Each ends in one sentence, in bounded time.
class BrokenTransferTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { withoutProxies(); }

    void aServerThatDoesNotExistOrRefusesIsAnError()
    {
        QCOMPARE(failure(QUrl(u"http://nobody.invalid/list"_s)), sentence(CURLE_COULDNT_RESOLVE_HOST));
        QCOMPARE(failure(RefusingPort().url(path)), sentence(CURLE_COULDNT_CONNECT));
    }

    void anAddressThatDoesNotAnswerTimesOutAfterTheShorterLimit()
    {
        const SilentPort port;
        timesOut(port.url(path), { .connect = 250ms });
        timesOut(port.url(path), { .silence = 250ms });
    }

    void aBrokenAnswerIsAnError_data()
    {
        const auto add = table<HttpReply, QString>("reply", "sentence");
        QString expected = sentence(CURLE_PARTIAL_FILE);
        const auto row = [&](const char *name, const HttpReply &reply) { add(name, reply, expected); };
        row("closed without a byte", HttpReply());
        row("reset without a byte", HttpReply().reset());
        row("closed in the header", HttpReply(inHeader));
        row("reset in the header", HttpReply(inHeader).pause(50ms).reset());
        row("closed before the body", HttpReply(announced));
        row("closed in the body", HttpReply(announced).send(half));
        row("reset in the body", HttpReply(announced).send(half).pause(50ms).reset());
        row("closed in a chunk", HttpReply(chunks).send("10\r\nabc"));
        row("closed before the last chunk", HttpReply(chunks).send("3\r\nabc\r\n"));
        row("a chunk without a size", HttpReply(chunks).send("zz\r\nabc\r\n0\r\n\r\n"));

        expected = TransferError::notUnderstood().errorDescription();
        const HttpReply inTrailer = HttpReply(chunks).send("3\r\nabc\r\n0\r\n");
        row("no HTTP at all", HttpReply().send("This is not the web.\r\n\r\n"));
        row("a header that is too long",
            HttpReply().send("HTTP/1.1 200 OK\r\n").send(QByteArray("X-Y: z\r\n").repeated(60'000)));
        row("a status line as a trailer", HttpReply(inTrailer).send("HTTP/1.1 404 Gone\r\n\r\n"));
        row("a trailer without a colon", HttpReply(inTrailer).send("abc\r\n\r\n"));
        row("a transfer coding that nobody asked for",
            HttpReply::head(200, { "Transfer-Encoding: gzip" }).send("abc"));
        row("a header without a colon", HttpReply().send("HTTP/1.1 200 OK\r\nabc\r\n\r\n"));
        row("a length that is not one", HttpReply::head(200, { "Content-Length: -5" }).send("abc"));

        expected = TransferError::tooLarge().errorDescription();
        const QByteArray large(largest + 1, 'x');
        row("too large, as announced", HttpReply::head(200, { "Content-Length: 10001" }).stall());
        row("too large, unannounced", HttpReply::head(200).send(large).stall());
        row("too large, in chunks", HttpReply::chunked({ large }));
        row("endless", HttpReply::head(200).sendForever(QByteArray(100'000, 'x')));
    }

    void aBrokenAnswerIsAnError()
    {
        QFETCH(HttpReply, reply);
        HttpServer server;
        QTEST(failure(server.serve(path, reply), {}, largest), "sentence");
        QTRY_COMPARE(server.openConnections(), 0);
    }

    void silenceTimesOutWhereverItFalls_data()
    {
        const auto row = table<HttpReply>("reply");
        row("before the header", HttpReply().stall());
        row("in the header", HttpReply(inHeader).stall());
        row("after the header", HttpReply(announced).stall());
        row("in the body", HttpReply(announced).send(half).stall());
        row("in a body without a length", HttpReply::head(200).send(half).stall());
        row("in a chunk", HttpReply(chunks).send("5000\r\nab").stall());
        row("before the last chunk", HttpReply(chunks).send("1\r\na\r\n").stall());
        row("a header in drips", HttpReply().send("HTTP/1.1 200 OK\r\nX: ").sendForever("y", 50ms));
        row("header lines in drips", HttpReply().send("HTTP/1.1 200 OK\r\n").sendForever("X: y\r\n", 50ms));
        row("hints without end", HttpReply().sendForever("HTTP/1.1 103 Early Hints\r\n\r\n", 50ms));
        row("a body in drips", HttpReply(announced).sendForever("x", 100ms));
        row("chunks in drips", HttpReply(chunks).sendForever("1\r\nx\r\n", 100ms));
        row("trailers in drips", HttpReply(chunks).send("1\r\na\r\n0\r\n").sendForever("X: y\r\n", 50ms));
        row("redirects that take their time",
            HttpReply().pause(100ms).send("HTTP/1.1 302 Found\r\nLocation: /list\r\n\r\n"));
    }

    void silenceTimesOutWhereverItFalls()
    {
        QFETCH(HttpReply, reply);
        HttpServer server;
        timesOut(server.serve(path, reply), impatient());
        QTRY_COMPARE(server.openConnections(), 0);
    }

    void silenceInTheTlsHandshakeTimesOut()
    {
        const HttpServer server; // plain HTTP: it never answers the handshake
        QUrl url = server.url(path);
        url.setScheme(u"https"_s);
        timesOut(url, impatient());
    }

    void aSlowBodyThatKeepsComingIsNotSilence()
    {
        HttpServer server;
        TransferRules rules;
        rules.silence = 500ms;
        const QByteArray bytes = someBytes(2000);
        const HttpReply slow = HttpReply::head(200, { "Content-Length: 2000" }).sendSlowly(bytes, 200, 100ms);
        QCOMPARE(fetch(server.serve(path, slow), rules).body, bytes);
    }

private:
    /// Verifies that fetching `url` fails when the shortest limit in `rules` is over.
    static void timesOut(const QUrl &url, const TransferRules &rules)
    {
        QElapsedTimer time;
        time.start();
        QCOMPARE(failure(url, rules), TransferError::timedOut().errorDescription());
        QCOMPARE_GE(time.elapsed(), 200);
        QCOMPARE_LT(time.elapsed(), 3000);
    }

    static constexpr qint64 largest = 10'000;
    const QString path = u"/list"_s;
    const QByteArray half = QByteArray(5000, 'x');
    const HttpReply inHeader = HttpReply().send("HTTP/1.1 200 OK\r\nContent-Le");
    const HttpReply announced = HttpReply::head(200, { "Content-Length: 10000" });
    const HttpReply chunks = HttpReply::head(200, { "Transfer-Encoding: chunked" });
};

QTEST_GUILESS_MAIN(BrokenTransferTest)
#include "BrokenTransferTest.moc"
