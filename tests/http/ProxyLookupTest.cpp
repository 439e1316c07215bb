#include "HttpServer.h"
#include "LookupTesting.h"
#include "SystemProxy.h"

#include <QNetworkProxy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace LookupTesting;
using namespace TransferTesting;

/// The proxies in the desktop's settings. If empty, the lookup blocks, as for a script on a silent server.
static QList<QNetworkProxy> named;

// Replaces Qt's function in this whole program.
QList<QNetworkProxy> QNetworkProxyFactory::systemProxyForQuery(const QNetworkProxyQuery &)
{
    if (named.isEmpty())
        lookups().wait();
    return named;
}

class ProxyLookupTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { withoutProxies(); }

    void cleanup()
    {
        named.clear();
        lookups().letGo();
    }

    void theFirstProxyThatCarriesTheWebIsTaken_data()
    {
        QTest::addColumn<QList<int>>("types");
        QTest::addColumn<QByteArray>("address");
        QTest::newRow("a web proxy") << QList<int> { QNetworkProxy::HttpProxy }
                                     << QByteArray("http://proxy:1");
        QTest::newRow("one that keeps copies")
            << QList<int> { QNetworkProxy::HttpCachingProxy } << QByteArray("http://proxy:1");
        QTest::newRow("one that looks names up")
            << QList<int> { QNetworkProxy::Socks5Proxy } << QByteArray("socks5h://proxy:1");
        QTest::newRow("one for other things before it")
            << QList<int> { QNetworkProxy::FtpCachingProxy, QNetworkProxy::HttpProxy }
            << QByteArray("http://proxy:2");
        QTest::newRow("only one for other things")
            << QList<int> { QNetworkProxy::FtpCachingProxy } << QByteArray();
        QTest::newRow("none, although others follow")
            << QList<int> { QNetworkProxy::NoProxy, QNetworkProxy::HttpProxy } << QByteArray();
    }

    void theFirstProxyThatCarriesTheWebIsTaken()
    {
        QFETCH(const QList<int>, types);
        for (const int type : types) {
            named.append(QNetworkProxy(static_cast<QNetworkProxy::ProxyType>(type), u"proxy"_s,
                                       static_cast<quint16>(named.size() + 1)));
        }
        QTEST(SystemProxy::forUrl(address()).address, "address");
    }

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
