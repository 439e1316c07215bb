#include "HttpServer.h"
#include "LookupTesting.h"

#include <QNetworkProxy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace LookupTesting;
using namespace TransferTesting;

// Takes Qt's place for this whole program: settings that name a script on a server that never answers.
QList<QNetworkProxy> QNetworkProxyFactory::systemProxyForQuery(const QNetworkProxyQuery &)
{
    lookups().wait();
    return {};
}

class ProxyLookupTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { withoutProxies(); }

    void cleanup() { lookups().letGo(); }

    void aLookupThatNeverEndsIsAnErrorAfterTheLimit() { endsWithAnErrorAfterTheLimit(); }

    void aStopDuringALookupEndsAtOnce() { endsAtOnceWhenStopped(); }

    void theTransferGoesOnWhenTheLookupHasEnded()
    {
        HttpServer server;
        server.serve(u"/list"_s, "here");
        auto task = fetchData(server.url(u"/list"_s), plenty, {});
        QTRY_COMPARE(lookups().waiting(), 1);
        QCOMPARE(server.connectionCount(), 0);
        lookups().letGo();
        QCOMPARE(Tasks::finish(std::move(task)).body, "here");
    }
};

QTEST_GUILESS_MAIN(ProxyLookupTest)
#include "ProxyLookupTest.moc"
