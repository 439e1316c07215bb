#include "HttpServer.h"
#include "TransferTesting.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace TransferTesting;
using namespace std::chrono_literals;

class SecureTransferTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { withoutProxies(); }

    void aTrustedServerIsHeard()
    {
        HttpServer server(m_authority.issue());
        const QByteArray bytes = someBytes(1'000'000);
        server.serve(u"/list"_s, bytes);
        QVERIFY(outcome(server.url(u"/list"_s)).body == bytes);
    }

    void anExpiredCertificateIsRefused()
    {
        const HttpServer server(m_authority.issue("localhost", TestAuthority::Validity::Expired));
        const QString sentence = outcome(server.url(u"/list"_s)).failure;
        QVERIFY2(isInsecure(sentence) && sentence.contains(u"expired"_s), qPrintable(sentence));
        QCOMPARE(server.requests().size(), 0);
    }

    void aCertificateForAnotherHostIsRefused()
    {
        const HttpServer server(m_authority.issue("elsewhere.invalid"));
        const QString sentence = outcome(server.url(u"/list"_s)).failure;
        QVERIFY2(isInsecure(sentence) && sentence.contains(u"localhost"_s), qPrintable(sentence));
        QCOMPARE(server.requests().size(), 0);
    }

    void aCertificateThatNobodyVouchesForIsRefused()
    {
        const HttpServer server(TestAuthority::selfSigned());
        const QString sentence = outcome(server.url(u"/list"_s)).failure;
        QVERIFY2(isInsecure(sentence), qPrintable(sentence));
        QCOMPARE(server.requests().size(), 0);
    }

    void anAuthorityThatTheSystemDoesNotKnowIsRefused()
    {
        const HttpServer server(m_authority.issue());
        const QString sentence = failure(server.url(u"/list"_s));
        QVERIFY2(isInsecure(sentence), qPrintable(sentence));
        QCOMPARE(server.requests().size(), 0);
    }

    void aSecureServerMayNotRedirectToAnInsecureOne()
    {
        HttpServer plain;
        plain.serve(u"/list"_s, "from anybody");
        HttpServer server(m_authority.issue());
        server.serve(u"/list"_s, HttpReply::redirect(plain.url(u"/list"_s).toEncoded()));
        QCOMPARE(outcome(server.url(u"/list"_s)).failure, u"The server redirected to an unsafe address."_s);
        QCOMPARE(plain.connectionCount(), 0);
    }

    void aWayThroughASecureServerDoesNotLeadBackToAnInsecureOne()
    {
        HttpServer plain;
        plain.serve(u"/list"_s, "from anybody");
        HttpServer server(m_authority.issue());
        server.serve(u"/list"_s, HttpReply::redirect(plain.url(u"/list"_s).toEncoded()));
        plain.serve(u"/begin"_s, HttpReply::redirect(server.url(u"/list"_s).toEncoded()));
        QCOMPARE(outcome(plain.url(u"/begin"_s)).failure, u"The server redirected to an unsafe address."_s);
        QCOMPARE(plain.requestCount(u"/list"_s), 0);
    }

    void anInsecureServerMayRedirectToASecureOne()
    {
        HttpServer server(m_authority.issue());
        server.serve(u"/list"_s, "here");
        HttpServer plain;
        plain.serve(u"/begin"_s, HttpReply::redirect(server.url(u"/list"_s).toEncoded()));
        QCOMPARE(outcome(plain.url(u"/begin"_s)).body, "here");
    }

    void aBodyThatIsCutWithoutAFarewellIsAnError()
    {
        HttpServer server(m_authority.issue());
        server.serve(u"/list"_s, HttpReply::head(200, { "Content-Length: 100" }).send("half of").cut());
        QCOMPARE(outcome(server.url(u"/list"_s)).failure, u"The connection was lost."_s);
    }

private:
    struct Outcome {
        QByteArray body;
        QString failure;
    };

    /// Fetches `url`, trusting only the test's own authority.
    Outcome outcome(const QUrl &url) const
    {
        Outcome outcome;
        TransferRules rules;
        rules.trustedAuthorities = m_authority.certificate();
        std::atomic<bool> ended = false;
        {
            HttpTransfer transfer(
                { url, rules }, [&outcome](QByteArrayView piece, qint64) { outcome.body.append(piece); },
                [&outcome, &ended](const HttpTransfer::Ending &ending) {
                    try {
                        if (ending.error)
                            std::rethrow_exception(ending.error);
                    } catch (const TransferError &error) {
                        outcome.failure = error.errorDescription();
                    }
                    ended = true;
                });
            transfer.start();
            [&ended] { QTRY_VERIFY_WITH_TIMEOUT(ended, 20'000); }();
        }
        return outcome;
    }

    static bool isInsecure(const QString &sentence)
    {
        return sentence.startsWith("A secure connection to the server could not be made ("_L1)
            && sentence.endsWith(")."_L1);
    }

    const TestAuthority m_authority;
};

QTEST_GUILESS_MAIN(SecureTransferTest)
#include "SecureTransferTest.moc"
