#include "HttpServer.h"
#include "Table.h"
#include "TransferTesting.h"

#include <QTest>

#include <curl/curl.h>

using namespace Qt::StringLiterals;
using namespace TransferTesting;

class SecureTransferTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        withoutProxies();
        m_rules.trustedAuthorities = m_authority.certificate();
    }

    void aTrustedServerIsHeard()
    {
        HttpServer server(m_authority.issue());
        const QByteArray bytes = someBytes(1'000'000);
        QCOMPARE(fetch(server.serve(path, bytes), m_rules).body, bytes);
    }

    void aServerThatCannotBeTrustedIsNotAskedForAnything_data()
    {
        const auto row = table<TestIdentity, TransferRules, QString>("identity", "rules", "reason");
        using enum TestAuthority::Validity;
        row("expired", m_authority.issue("localhost", Expired), m_rules, u"expired"_s);
        row("another host", m_authority.issue("elsewhere.invalid"), m_rules, u"localhost"_s);
        row("nobody vouches for it", TestAuthority::selfSigned(), m_rules, {});
        row("an authority that the system does not know", m_authority.issue(), {}, {});
    }

    void aServerThatCannotBeTrustedIsNotAskedForAnything()
    {
        QFETCH(TestIdentity, identity);
        QFETCH(TransferRules, rules);
        QFETCH(QString, reason);
        const HttpServer server(identity);
        const QString said = failure(server.url(path), rules);
        const QString beginning = sentence(CURLE_PEER_FAILED_VERIFICATION).chopped(1) + u" ("_s;
        QVERIFY2(said.startsWith(beginning) && said.endsWith(")."_L1), qPrintable(said));
        QVERIFY2(said.sliced(beginning.size()).contains(reason), qPrintable(said));
        QCOMPARE(server.requests().size(), 0);
    }

    void aSecureServerMayNotRedirectToAnInsecureOne()
    {
        HttpServer plain;
        HttpServer secure(m_authority.issue());
        const QUrl end = plain.serve(u"/end"_s, "from anybody");
        const QUrl down = secure.serve(path, HttpReply::redirect(end.toEncoded()));
        const QUrl over = plain.serve(u"/over"_s, HttpReply::redirect(down.toEncoded()));
        const QString unsafe = failure(plain.serve(u"/file"_s, HttpReply::redirect("file:///etc/passwd")));
        QCOMPARE(failure(down, m_rules), unsafe);
        QCOMPARE(failure(over, m_rules), unsafe);
        QCOMPARE(secure.requestCount(path), 2);
        QCOMPARE(plain.requestCount(u"/end"_s), 0);
    }

    void anInsecureServerMayRedirectToASecureOne()
    {
        HttpServer secure(m_authority.issue());
        HttpServer plain;
        const HttpReply redirect = HttpReply::redirect(secure.serve(path, "here").toEncoded());
        QCOMPARE(fetch(plain.serve(path, redirect), m_rules).body, "here");
    }

    void aBodyThatIsCutWithoutACloseNotifyIsAnError()
    {
        HttpServer server(m_authority.issue());
        const HttpReply cut = HttpReply::head(200, { "Content-Length: 100" }).send("half of").cut();
        QCOMPARE(failure(server.serve(path, cut), m_rules), sentence(CURLE_PARTIAL_FILE));
    }

private:
    const QString path = u"/list"_s;
    const TestAuthority m_authority;
    TransferRules m_rules; // trusts only the test's own authority
};

QTEST_GUILESS_MAIN(SecureTransferTest)
#include "SecureTransferTest.moc"
