#include "HttpServer.h"
#include "LoopbackPort.h"
#include "TransferTesting.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace TransferTesting;
using namespace std::chrono_literals;

/// What a server, or something in between, can do to a transfer. Each ends in one sentence, in bounded time.
class BrokenTransferTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { withoutProxies(); }

    void aServerThatDoesNotExistIsNotFound()
    {
        QCOMPARE(failure(QUrl(u"http://nobody.invalid/list"_s)), u"The server could not be found."_s);
    }

    void aPortThatRefusesIsAnError()
    {
        const RefusingPort port;
        QCOMPARE(failure(addressOf(port)), u"Could not connect to the server."_s);
    }

    void anAddressThatDoesNotAnswerIsAnErrorAfterTheConnectLimit()
    {
        const SilentPort port;
        TransferRules rules;
        rules.connect = 1s;
        QElapsedTimer time;
        time.start();
        QCOMPARE(failure(addressOf(port), rules), u"The request timed out."_s);
        QVERIFY2(time.elapsed() < 3000, QByteArray::number(time.elapsed()).constData());
    }

    void anAddressThatDoesNotAnswerIsAnErrorAfterTheSilenceLimit()
    {
        const SilentPort port;
        TransferRules rules;
        rules.silence = 1s;
        QElapsedTimer time;
        time.start();
        QCOMPARE(failure(addressOf(port), rules), u"The request timed out."_s);
        QVERIFY2(time.elapsed() < 3000, QByteArray::number(time.elapsed()).constData());
    }

    void aBrokenAnswerIsAnError_data()
    {
        QTest::addColumn<HttpReply>("reply");
        QTest::addColumn<QString>("sentence");

        const QString lost = u"The connection was lost."_s;
        const QString unclear = u"The server's answer could not be understood."_s;
        const QByteArray half(5000, 'x');
        const HttpReply announced = HttpReply::head(200, { "Content-Length: 10000" });
        const HttpReply chunks = HttpReply::head(200, { "Transfer-Encoding: chunked" });
        const auto row = [](const char *name, const HttpReply &reply, const QString &sentence) {
            QTest::newRow(name) << reply << sentence;
        };
        row("closed without a byte", HttpReply(), lost);
        row("reset without a byte", HttpReply().reset(), lost);
        row("closed in the header", HttpReply().send("HTTP/1.1 200 OK\r\nContent-Le"), lost);
        row("reset in the header", HttpReply().send("HTTP/1.1 200 OK\r\nContent-Le").pause(50ms).reset(),
            lost);
        row("closed before the body", HttpReply(announced), lost);
        row("closed in the body", HttpReply(announced).send(half), lost);
        row("reset in the body", HttpReply(announced).send(half).pause(50ms).reset(), lost);
        row("closed in a chunk", HttpReply(chunks).send("10\r\nabc"), lost);
        row("closed before the last chunk", HttpReply(chunks).send("3\r\nabc\r\n"), lost);
        row("a chunk without a size", HttpReply(chunks).send("zz\r\nabc\r\n0\r\n\r\n"), lost);
        row("no HTTP at all", HttpReply().send("This is not the web.\r\n\r\n"), unclear);
        row("a header that is too long",
            HttpReply().send("HTTP/1.1 200 OK\r\n").send(QByteArray("X-Y: z\r\n").repeated(60'000)), unclear);
        const HttpReply inTrailer = HttpReply(chunks).send("3\r\nabc\r\n0\r\n");
        row("a status line as a trailer", HttpReply(inTrailer).send("HTTP/1.1 404 Gone\r\n\r\n"), unclear);
        row("a trailer without a colon", HttpReply(inTrailer).send("abc\r\n\r\n"), unclear);
        row("a transfer coding that nobody asked for",
            HttpReply::head(200, { "Transfer-Encoding: gzip" }).send("abc"), unclear);
        row("a header without a colon", HttpReply().send("HTTP/1.1 200 OK\r\nabc\r\n\r\n"), unclear);
        row("a length that is none", HttpReply::head(200, { "Content-Length: -5" }).send("abc"), unclear);
    }

    void aBrokenAnswerIsAnError()
    {
        QFETCH(HttpReply, reply);
        HttpServer server;
        server.serve(u"/list"_s, reply);
        QTEST(failure(server.url(u"/list"_s)), "sentence");
    }

    void whatATrailerSaysOfTheAnswerIsPassedOver_data()
    {
        QTest::addColumn<QByteArray>("trailer");
        QTest::newRow("another status") << QByteArray("HTTP/1.1 404 Gone: really");
        QTest::newRow("another place") << QByteArray("Location: /elsewhere");
        QTest::newRow("another length") << QByteArray("Content-Length: 99999999999999999999999");
    }

    void whatATrailerSaysOfTheAnswerIsPassedOver()
    {
        QFETCH(QByteArray, trailer);
        HttpServer server;
        server.serve(u"/list"_s,
                     HttpReply::head(200, { "Transfer-Encoding: chunked" })
                         .send("3\r\nabc\r\n0\r\n" + trailer + "\r\n\r\n"));
        QCOMPARE(fetch(server.url(u"/list"_s)).body, "abc");
    }

    void silenceEndsInAnErrorWhereverItFalls_data()
    {
        QTest::addColumn<HttpReply>("reply");

        const auto row = [](const char *name, const HttpReply &reply) { QTest::newRow(name) << reply; };
        const HttpReply announced = HttpReply::head(200, { "Content-Length: 10000" });
        const QByteArray burst(5000, 'x');
        row("before the header", HttpReply().stall());
        row("in the header", HttpReply().send("HTTP/1.1 200 OK\r\nContent-Le").stall());
        row("after the header", HttpReply(announced).stall());
        row("in the body", HttpReply(announced).send(burst).stall());
        row("in a body without a length", HttpReply::head(200).send(burst).stall());
        row("in a chunk", HttpReply::head(200, { "Transfer-Encoding: chunked" }).send("5000\r\nab").stall());
        row("before the last chunk",
            HttpReply::head(200, { "Transfer-Encoding: chunked" }).send("1\r\na\r\n").stall());
        row("a header in drips", HttpReply().send("HTTP/1.1 200 OK\r\nX: ").sendForever("y", 50ms));
        row("header lines in drips", HttpReply().send("HTTP/1.1 200 OK\r\n").sendForever("X: y\r\n", 50ms));
        row("hints without end", HttpReply().sendForever("HTTP/1.1 103 Early Hints\r\n\r\n", 50ms));
        row("a body in drips", HttpReply(announced).sendForever("x", 100ms));
        row("chunks in drips",
            HttpReply::head(200, { "Transfer-Encoding: chunked" }).sendForever("1\r\nx\r\n", 100ms));
        row("trailers in drips",
            HttpReply::head(200, { "Transfer-Encoding: chunked" })
                .send("1\r\na\r\n0\r\n")
                .sendForever("X: y\r\n", 50ms));
    }

    void silenceEndsInAnErrorWhereverItFalls()
    {
        QFETCH(HttpReply, reply);
        HttpServer server;
        server.serve(u"/list"_s, reply);
        QElapsedTimer time;
        time.start();
        QCOMPARE(failure(server.url(u"/list"_s), impatient()), u"The request timed out."_s);
        QVERIFY2(time.elapsed() >= 450 && time.elapsed() < 4000,
                 QByteArray::number(time.elapsed()).constData());
        QTRY_COMPARE(server.openConnections(), 0);
    }

    void silenceInTheSecureGreetingEndsInAnError()
    {
        HttpServer server; // plain HTTP: it never answers the TLS handshake
        QUrl url = server.url(u"/list"_s);
        url.setScheme(u"https"_s);
        QElapsedTimer time;
        time.start();
        QCOMPARE(failure(url, impatient()), u"The request timed out."_s);
        QVERIFY2(time.elapsed() < 4000, QByteArray::number(time.elapsed()).constData());
    }

    void redirectsThatTakeTheirTimeEndInAnError()
    {
        HttpServer server;
        server.serve(u"/a"_s, HttpReply().pause(400ms).send("HTTP/1.1 302 Found\r\nLocation: /a\r\n\r\n"));
        TransferRules rules = impatient();
        rules.redirects = 1000;
        QCOMPARE(failure(server.url(u"/a"_s), rules), u"The request timed out."_s);
    }

    void aSlowBodyThatGoesOnIsNotSilence()
    {
        HttpServer server;
        const QByteArray bytes = someBytes(2000);
        server.serve(u"/list"_s,
                     HttpReply::head(200, { "Content-Length: 2000" }).sendSlowly(bytes, 100, 100ms));
        QVERIFY(fetch(server.url(u"/list"_s), impatient()).body == bytes);
    }

    void aBodyMayBeAsLargeAsAllowed()
    {
        HttpServer server;
        server.serve(u"/list"_s, someBytes(1000));
        QCOMPARE(Tasks::finish(fetchData(server.url(u"/list"_s), 1000, {})).body.size(), 1000);
    }

    void aBodyThatIsTooLargeIsAnError_data()
    {
        QTest::addColumn<HttpReply>("reply");
        QTest::newRow("announced") << HttpReply::head(200, { "Content-Length: 1001" }).stall();
        QTest::newRow("unannounced") << HttpReply::head(200).send(QByteArray(1001, 'x')).stall();
        QTest::newRow("chunked") << HttpReply::chunked({ QByteArray(1001, 'x') });
        QTest::newRow("endless") << HttpReply::head(200).sendForever(QByteArray(100'000, 'x'));
    }

    void aBodyThatIsTooLargeIsAnError()
    {
        QFETCH(HttpReply, reply);
        HttpServer server;
        server.serve(u"/list"_s, reply);
        QCOMPARE(failure(server.url(u"/list"_s), {}, 1000), u"The file is larger than expected."_s);
        QTRY_COMPARE(server.openConnections(), 0);
    }

private:
    template <typename Port> static QUrl addressOf(const Port &port)
    {
        return QUrl(u"http://127.0.0.1:"_s + QString::number(port.port()) + u"/list"_s);
    }
};

QTEST_GUILESS_MAIN(BrokenTransferTest)
#include "BrokenTransferTest.moc"
