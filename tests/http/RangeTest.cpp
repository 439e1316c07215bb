#include "Completion.h"
#include "HttpServer.h"
#include "HttpTransfer.h"
#include "Table.h"
#include "TransferTesting.h"

#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace TransferTesting;

/// Asking for a part of a file, and what is understood of the answer.
class RangeTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { withoutProxies(); }

    void aPartIsAskedForAlsoAfterARedirect()
    {
        HttpServer server;
        const QUrl stored = server.serve(u"/stored"_s, HttpReply::status(206, "rest"));
        const QUrl url = server.serve(path, HttpReply::redirect(stored.toEncoded()));
        QCOMPARE(transfer(url, HttpRange { 400, "\"a\"" }).body, "rest");
        const auto requests = server.requests();
        QCOMPARE(requests.size(), 2);
        for (const HttpRequest &request : requests) {
            QCOMPARE(request.headers.value("range"), "bytes=400-");
            QCOMPARE(request.headers.value("if-range"), "\"a\"");
        }
    }

    void theWholeIsAskedForWithoutARange()
    {
        HttpServer server;
        transfer(server.serve(path, "whole"));
        QVERIFY(!server.requests().constFirst().headers.contains("range"));
        QVERIFY(!server.requests().constFirst().headers.contains("if-range"));
    }

    void theAnswerIsKnownOnceAndBeforeTheBody()
    {
        HttpServer server;
        const HttpReply reply = HttpReply()
                                    .send("HTTP/1.1 103 Early Hints\r\nETag: \"c\"\r\n\r\n")
                                    .send("HTTP/1.1 206 OK\r\nContent-Length: 4\r\nETag: \"a\"\r\n")
                                    .send("Content-Range: bytes 6-9/10\r\n\r\nrest");
        // What comes before the last header is not part of the answer.
        const HttpReply redirect = HttpReply::head(302, { "Location: /stored", "ETag: \"b\"" });
        server.serve(u"/stored"_s, reply);
        const Result result = transfer(server.serve(path, redirect), HttpRange { 6, "\"a\"" });
        QCOMPARE(result.order, "answer body");
        QCOMPARE(result.answer.status, 206);
        QCOMPARE(result.answer.length, 4);
        QCOMPARE(result.answer.strongTag(), "\"a\"");
        QVERIFY(result.answer.range() == (HttpContentRange { 6, 9, 10 }));
    }

    void aRefusalIsNoAnswer_data()
    {
        const auto row = table<int>("status");
        row("no such range", 416);
        row("unavailable", 503);
    }

    void aRefusalIsNoAnswer()
    {
        QFETCH(int, status);
        HttpServer server;
        const QUrl url = server.serve(path, HttpReply::status(status, "a page"));
        const Result result = transfer(url, HttpRange { 400, "\"a\"" });
        QCOMPARE(result.order, "");
        QCOMPARE(result.status, status);
    }

    void onlyAStrongTagIsUnderstood_data()
    {
        const auto row = table<QByteArrayList, QByteArray>("fields", "tag");
        row("a strong tag", { "ETag: \"a-1\"" }, "\"a-1\"");
        row("in other letters", { "etag:\"a\"  " }, "\"a\"");
        row("an empty one", { "ETag: \"\"" }, "\"\"");
        row("a weak one", { "ETag: W/\"a\"" }, {});
        row("none", {}, {});
        row("without quotes", { "ETag: a" }, {});
        row("with half of the quotes", { "ETag: \"" }, {});
        row("with a quote inside", { "ETag: \"a\"b\"" }, {});
        row("with a space", { "ETag: \"a b\"" }, {});
        row("with a strange letter", { "ETag: \"\xff\"" }, {});
        row("two", { "ETag: \"a\"", "ETag: \"b\"" }, {});
        row("the same one twice", { "ETag: \"a\"", "ETag: \"a\"" }, {});
        row("as long as a tag may be", { "ETag: \"" + QByteArray(1022, 'a') + '"' },
            '"' + QByteArray(1022, 'a') + '"');
        row("longer", { "ETag: \"" + QByteArray(1023, 'a') + '"' }, {});
    }

    void onlyAStrongTagIsUnderstood()
    {
        QFETCH(QByteArrayList, fields);
        QTEST(answerWith(fields).strongTag(), "tag");
    }

    void onlyARangeOfBytesIsUnderstood_data()
    {
        const auto row = table<QByteArrayList, QByteArray>("fields", "range");
        row("a range", { "Content-Range: bytes 1-2/4" }, "1 2 4");
        row("in other letters", { "content-range:BYTES 1-2/4 " }, "1 2 4");
        row("a large one", { "Content-Range: bytes 0-9223372036854775806/9223372036854775807" },
            "0 9223372036854775806 9223372036854775807");
        row("none", {}, {});
        row("without numbers", { "Content-Range: bytes" }, {});
        row("without a unit", { "Content-Range: 1-2/4" }, {});
        row("another unit", { "Content-Range: lines 1-2/4" }, {});
        row("no range", { "Content-Range: bytes */4" }, {});
        row("an unknown size", { "Content-Range: bytes 1-2/*" }, {});
        row("no size", { "Content-Range: bytes 1-2" }, {});
        row("the wrong way around", { "Content-Range: bytes 2-1/4" }, {});
        row("more than there is", { "Content-Range: bytes 1-4/4" }, {});
        row("a negative number", { "Content-Range: bytes -1-2/4" }, {});
        row("a sign", { "Content-Range: bytes +1-2/4" }, {});
        row("a space", { "Content-Range: bytes 1 - 2/4" }, {});
        row("a number beyond all numbers", { "Content-Range: bytes 1-2/99999999999999999999" }, {});
        row("in the wrong order", { "Content-Range: bytes 1/2-4" }, {});
        row("two", { "Content-Range: bytes 1-2/4", "Content-Range: bytes 1-2/4" }, {});
        row("half of another", { "Content-Range: bytes 1-2/4, 3-3/4" }, {});
    }

    void onlyARangeOfBytesIsUnderstood()
    {
        QFETCH(QByteArrayList, fields);
        const auto range = answerWith(fields).range();
        QByteArray numbers;
        if (range) {
            numbers = QByteArray::number(range->first) + ' ' + QByteArray::number(range->last) + ' '
                + QByteArray::number(range->complete);
        }
        QTEST(numbers, "range");
    }

    void aCodingIsNoticed_data()
    {
        const auto row = table<QByteArrayList, bool>("fields", "isEncoded");
        row("none", {}, false);
        row("the one that changes nothing", { "Content-Encoding: Identity" }, false);
        row("one", { "Content-Encoding: gzip" }, true);
        row("one before the one that changes nothing",
            { "Content-Encoding: br", "Content-Encoding: identity" }, true);
    }

    void aCodingIsNoticed()
    {
        QFETCH(QByteArrayList, fields);
        QTEST(answerWith(fields).isEncoded(), "isEncoded");
    }

    void theLimitForAFileHoldsForTheWhole_data()
    {
        const auto row = table<HttpReply, qint64, bool>("reply", "largest", "fits");
        const HttpReply part
            = HttpReply::head(206, { "Content-Range: bytes 400-999/1000", "Content-Length: 600" })
                  .send(QByteArray(600, 'x'));
        row("a part that fits", part, 1000, true);
        row("a part that does not", part, 999, false);
        row("a part that does not, before a byte of it has come",
            HttpReply::head(206, { "Content-Range: bytes 400-999/1000", "Content-Length: 600" }).stall(), 999,
            false);
        row("a part of unknown length that does not",
            HttpReply::head(206, { "Content-Range: bytes 400-999/1000" }).send(QByteArray(600, 'x')), 999,
            false);
        row("the whole in place of a part", HttpReply::ok(QByteArray(999, 'x')), 999, true);
    }

    void theLimitForAFileHoldsForTheWhole()
    {
        QFETCH(HttpReply, reply);
        QFETCH(qint64, largest);
        QFETCH(bool, fits);
        HttpServer server;
        TransferRules rules;
        rules.largestBody = largest;
        const Result result = transfer(server.serve(path, reply), HttpRange { 400, "\"a\"" }, rules);
        QCOMPARE(result.sentence, fits ? QString() : TransferError::tooLarge().errorDescription());
    }

    void whatTheReceiverOfTheAnswerThrowsEndsTheTransferBeforeTheBody()
    {
        HttpServer server;
        const QUrl url = server.serve(path, HttpReply::head(200).send("body").stall());
        const Completion<HttpTransfer::Ending> ended;
        QByteArray body;
        HttpTransfer transfer(
            { url }, [&body](QByteArrayView piece, qint64) { body.append(piece); }, ending(ended),
            [](const HttpAnswer &) { throw std::runtime_error("no room"); });
        transfer.start();
        QVERIFY_THROWS_EXCEPTION(std::runtime_error,
                                 std::rethrow_exception(Tasks::finish(wait(ended)).error));
        QCOMPARE(body, "");
    }

private:
    struct Result {
        HttpAnswer answer;
        QByteArray body;
        QByteArray order; // of what was reported: "answer body"
        int status = 0;
        QString sentence; // of a failure
    };

    static HttpTransfer::OnEnd ending(const Completion<HttpTransfer::Ending> &ended)
    {
        return [ended](HttpTransfer::Ending ending) {
            postToMainThread([ended, ending] { ended.settle(ending); });
        };
    }

    static QCoro::Task<HttpTransfer::Ending> wait(Completion<HttpTransfer::Ending> ended)
    {
        const HttpTransfer::Ending ending = co_await ended;
        co_return ending;
    }

    static Result transfer(const QUrl &url, const std::optional<HttpRange> &range = {},
                           const TransferRules &rules = {})
    {
        Result result;
        const auto onAnswer = [&result](const HttpAnswer &answer) {
            result.answer = answer;
            result.order += "answer";
        };
        const auto onBody = [&result](QByteArrayView piece, qint64) {
            if (result.body.isEmpty())
                result.order += " body";
            result.body.append(piece);
        };
        const Completion<HttpTransfer::Ending> ended;
        HttpTransfer transfer({ url, rules, range }, onBody, ending(ended), onAnswer);
        transfer.start();
        const HttpTransfer::Ending ending = Tasks::finish(wait(ended));
        result.status = ending.status;
        try {
            if (ending.error)
                std::rethrow_exception(ending.error);
        } catch (const TransferError &error) {
            result.sentence = error.errorDescription();
        }
        return result;
    }

    HttpAnswer answerWith(const QByteArrayList &fields) const
    {
        HttpServer server;
        return transfer(server.serve(path, HttpReply::head(200, fields).send("x"))).answer;
    }

    const QString path = u"/file"_s;
};

QTEST_GUILESS_MAIN(RangeTest)
#include "RangeTest.moc"
