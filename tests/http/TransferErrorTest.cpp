#include "TransferError.h"

#include <QTest>

#include <curl/curl.h>

using namespace Qt::StringLiterals;

class TransferErrorTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFailureIsAPlainSentence_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("detail");
        QTest::addColumn<QString>("sentence");

        const auto row = [](int code, const QByteArray &detail, const QString &sentence) {
            QTest::addRow("%d %s", code, detail.constData()) << code << detail << sentence;
        };
        row(CURLE_COULDNT_RESOLVE_HOST, "Could not resolve host: x", u"The server could not be found."_s);
        row(CURLE_COULDNT_RESOLVE_PROXY, "", u"The proxy server could not be found."_s);
        row(CURLE_COULDNT_CONNECT, "Failed to connect to x", u"Could not connect to the server."_s);
        row(CURLE_RECV_ERROR, "Recv failure: Connection reset by peer", u"The connection was lost."_s);
        row(CURLE_SEND_ERROR, "", u"The connection was lost."_s);
        row(CURLE_PARTIAL_FILE, "", u"The connection was lost."_s);
        row(CURLE_GOT_NOTHING, "", u"The connection was lost."_s);
        row(CURLE_OPERATION_TIMEDOUT, "Connection timed out after 30 ms", u"The request timed out."_s);
        row(CURLE_SSL_CONNECT_ERROR, "", u"A secure connection to the server could not be made."_s);
        row(CURLE_PEER_FAILED_VERIFICATION, "SSL certificate problem: certificate has expired",
            u"A secure connection to the server could not be made (SSL certificate problem: certificate has expired)."_s);
        row(CURLE_PEER_FAILED_VERIFICATION, "It ended.\n",
            u"A secure connection to the server could not be made (It ended)."_s);
        row(CURLE_WEIRD_SERVER_REPLY, "", u"The server's answer could not be understood."_s);
        row(CURLE_UNSUPPORTED_PROTOCOL, "Received HTTP/0.9 when not allowed",
            u"The server's answer could not be understood."_s);
        row(CURLE_PROXY, "", u"The proxy server refused the connection."_s);
        row(CURLE_URL_MALFORMAT, "", u"The address is not a web address."_s);
        row(CURLE_OUT_OF_MEMORY, "", u"The server's answer could not be understood."_s);
        row(CURLE_BAD_FUNCTION_ARGUMENT, "Invalid response header",
            u"The server's answer could not be understood."_s);
        row(CURLE_BAD_CONTENT_ENCODING, "Unsolicited Transfer-Encoding (gzip) found",
            u"The server's answer could not be understood."_s);
        constexpr int tooLargeAHeader = 100; // CURLE_TOO_LARGE, which older headers lack
        row(tooLargeAHeader, "Too many response headers, 5000 is max",
            u"The server's answer could not be understood."_s);
        row(CURLE_FILESIZE_EXCEEDED, "", u"The file is larger than expected."_s);
        row(CURLE_SSL_ENGINE_INITFAILED, "", u"A secure connection to the server could not be made."_s);
        row(CURLE_FAILED_INIT, "", u"The system has no room for another transfer."_s);
        row(CURLE_UNRECOVERABLE_POLL, "", u"The system has no room for another transfer."_s);
    }

    void aFailureIsAPlainSentence()
    {
        QFETCH(int, code);
        QFETCH(QByteArray, detail);
        const TransferError error = TransferError::fromCurl(code, detail);
        QTEST(error.errorDescription(), "sentence");
        QCOMPARE(QByteArray(error.what()), error.errorDescription().toUtf8());
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
