#include "CancellationError.h"
#include "HttpServer.h"
#include "StandingQueue.h"
#include "TransferTesting.h"

#include <QNetworkProxy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace TransferTesting;

namespace {

StandingQueue &lookups()
{
    static StandingQueue queue;
    return queue;
}

}

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

    void aLookupThatNeverEndsIsAnErrorAfterTheLimit()
    {
        QElapsedTimer time;
        time.start();
        QCOMPARE(failure(m_url, impatient()), u"The request timed out."_s);
        QVERIFY2(time.elapsed() < 4000, QByteArray::number(time.elapsed()).constData());
        QCOMPARE(lookups().waiting(), 1);
    }

    void aStopDuringALookupEndsAtOnce()
    {
        std::stop_source stop;
        auto task = fetchData(m_url, plenty, stop.get_token());
        QTRY_COMPARE(lookups().waiting(), 1);
        QElapsedTimer time;
        time.start();
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        QVERIFY2(time.elapsed() < 400, QByteArray::number(time.elapsed()).constData());
        QCOMPARE(lookups().waiting(), 1);
    }

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

private:
    const QUrl m_url { u"http://server.invalid/list"_s };
};

QTEST_GUILESS_MAIN(ProxyLookupTest)
#include "ProxyLookupTest.moc"
