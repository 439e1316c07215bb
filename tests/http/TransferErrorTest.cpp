#include "TransferError.h"

#include "Table.h"

#include <QTest>

#include <curl/curl.h>

using namespace Qt::StringLiterals;

class TransferErrorTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFailureIsAPlainSentence_data()
    {
        const auto add = table<int, QByteArray, QString>("code", "detail", "sentence");
        const auto row = [&add](const QString &sentence, int code, const QByteArray &detail = {}) {
            add(QByteArray::number(code) + ' ' + detail, code, detail, sentence);
        };
        row(u"The server could not be found."_s, CURLE_COULDNT_RESOLVE_HOST, "Could not resolve host: x");
        row(u"The proxy server could not be found."_s, CURLE_COULDNT_RESOLVE_PROXY);
        row(u"The proxy server refused the connection."_s, CURLE_PROXY);
        row(u"Could not connect to the server."_s, CURLE_COULDNT_CONNECT, "Failed to connect to x");
        row(u"The request timed out."_s, CURLE_OPERATION_TIMEDOUT, "Connection timed out after 30 ms");
        row(u"The address is not a web address."_s, CURLE_URL_MALFORMAT);
        row(u"The file is larger than expected."_s, CURLE_FILESIZE_EXCEEDED);
        for (const int code : { CURLE_FAILED_INIT, CURLE_UNRECOVERABLE_POLL })
            row(u"The system has no room for another transfer."_s, code);

        const QString lost = u"The connection was lost."_s;
        row(lost, CURLE_RECV_ERROR, "Recv failure: Connection reset by peer");
        for (const int code :
             { CURLE_SEND_ERROR, CURLE_PARTIAL_FILE, CURLE_GOT_NOTHING, CURLE_HTTP2, CURLE_HTTP2_STREAM })
            row(lost, code);

        const QString insecure = u"A secure connection to the server could not be made%1."_s;
        for (const int code : { CURLE_SSL_CONNECT_ERROR, CURLE_SSL_ENGINE_INITFAILED })
            row(insecure.arg(QString()), code);
        row(insecure.arg(u" (SSL certificate problem: certificate has expired)"_s),
            CURLE_PEER_FAILED_VERIFICATION, "SSL certificate problem: certificate has expired");
        row(insecure.arg(u" (It ended)"_s), CURLE_PEER_FAILED_VERIFICATION, "It ended.\n");

        const QString notUnderstood = u"The server's answer could not be understood."_s;
        constexpr int tooLargeAHeader = 100; // CURLE_TOO_LARGE, which older headers lack
        row(notUnderstood, CURLE_WEIRD_SERVER_REPLY);
        row(notUnderstood, CURLE_OUT_OF_MEMORY);
        row(notUnderstood, CURLE_UNSUPPORTED_PROTOCOL, "Received HTTP/0.9 when not allowed");
        row(notUnderstood, CURLE_BAD_FUNCTION_ARGUMENT, "Invalid response header");
        row(notUnderstood, CURLE_BAD_CONTENT_ENCODING, "Unsolicited Transfer-Encoding (gzip) found");
        row(notUnderstood, tooLargeAHeader, "Too many response headers, 5000 is max");
    }

    void aFailureIsAPlainSentence()
    {
        QFETCH(int, code);
        QFETCH(QByteArray, detail);
        const TransferError error = TransferError::fromCurl(code, detail);
        QTEST(error.errorDescription(), "sentence");
        QCOMPARE(QByteArray(error.what()), error.errorDescription().toUtf8());
    }

    void onlyALostConnectionMayComeBack()
    {
        const QList<int> passing { CURLE_COULDNT_RESOLVE_HOST,
                                   CURLE_COULDNT_RESOLVE_PROXY,
                                   CURLE_COULDNT_CONNECT,
                                   CURLE_INTERFACE_FAILED,
                                   CURLE_SEND_ERROR,
                                   CURLE_RECV_ERROR,
                                   CURLE_PARTIAL_FILE,
                                   CURLE_GOT_NOTHING,
                                   CURLE_AGAIN,
                                   CURLE_HTTP2,
                                   CURLE_HTTP2_STREAM,
                                   CURLE_OPERATION_TIMEDOUT,
                                   CURLE_SSL_CONNECT_ERROR };
        for (int code = 1; code < CURL_LAST; ++code) {
            const bool isPassing
                = TransferError::fromCurl(code, {}).outlook() == TransferError::Outlook::Passing;
            QVERIFY2(isPassing == passing.contains(code), QByteArray::number(code).constData());
        }
    }

    void everyOtherFailureIsASentenceToo()
    {
        for (int code = 1; code < CURL_LAST; ++code) {
            const QString sentence = TransferError::fromCurl(code, "A detail.").errorDescription();
            QVERIFY2(sentence.size() > 5 && sentence.front().isUpper(), qPrintable(sentence));
            QVERIFY2(sentence.endsWith(u'.') && !sentence.endsWith(".."_L1), qPrintable(sentence));
        }
    }
};

QTEST_GUILESS_MAIN(TransferErrorTest)
#include "TransferErrorTest.moc"
