#include "HttpServer.h"
#include "SystemProxy.h"
#include "Table.h"
#include "TransferTesting.h"

#include <QNetworkProxy>
#include <QTest>

#include <atomic>
#include <mutex>

#include <netdb.h>

using namespace Qt::StringLiterals;
using namespace TransferTesting;

namespace {

/// Lookups that are blocked now, as by a name server that never answers.
std::atomic<int> waiting = 0;
std::atomic<bool> released = false;

/// Blocks until `release` is called. Any thread.
void block()
{
    ++waiting;
    released.wait(false);
    --waiting;
}

/// Releases all blocked lookups; later ones block again. Main thread.
void release()
{
    released = true;
    released.notify_all();
    QTRY_COMPARE(waiting, 0);
    released = false;
}

/// The proxies in the desktop's settings. If there are none, the lookup blocks, as for a script on a silent
/// server.
QList<QNetworkProxy> proxies;
std::mutex proxiesLock;

void setProxies(const QList<QNetworkProxy> &known)
{
    const std::lock_guard guard(proxiesLock);
    proxies = known;
}

}

// These two replace the functions of Qt and of the system in this whole program.
QList<QNetworkProxy> QNetworkProxyFactory::systemProxyForQuery(const QNetworkProxyQuery &)
{
    std::unique_lock lock(proxiesLock);
    const QList<QNetworkProxy> known = proxies;
    lock.unlock();
    if (known.isEmpty())
        block();
    return known;
}

extern "C" int getaddrinfo(const char *, const char *, const addrinfo *, addrinfo **)
{
    block();
    return EAI_AGAIN;
}

/// The lookups at the start of a transfer, which nothing can interrupt.
class LookupTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        setProxies({});
        release();
    }

    void theFirstProxyThatCarriesHttpIsTaken_data()
    {
        const auto row = table<QByteArray, QList<QNetworkProxy::ProxyType>>("address", "types");
        using enum QNetworkProxy::ProxyType;
        row("an HTTP proxy", "http://proxy:1", { HttpProxy });
        row("one that caches", "http://proxy:1", { HttpCachingProxy });
        row("one that looks names up", "socks5h://proxy:1", { Socks5Proxy });
        row("one for other things before it", "http://proxy:2", { FtpCachingProxy, HttpProxy });
        row("only one for other things", {}, { FtpCachingProxy });
        row("a direct connection, although others follow", {}, { NoProxy, HttpProxy });
    }

    void theFirstProxyThatCarriesHttpIsTaken()
    {
        QFETCH(const QList<QNetworkProxy::ProxyType>, types);
        QList<QNetworkProxy> known;
        for (const QNetworkProxy::ProxyType type : types)
            known.append(QNetworkProxy(type, u"proxy"_s, static_cast<quint16>(known.size() + 1)));
        setProxies(known);
        QTEST(SystemProxy::forUrl(m_url).address, "address");
    }

    void aLookupThatNeverEndsTimesOut_data() { addLookups(); }

    void aLookupThatNeverEndsTimesOut()
    {
        QFETCH(QList<QNetworkProxy>, known);
        setProxies(known);
        QElapsedTimer time;
        time.start();
        QCOMPARE(failure(m_url, impatient()), TransferError::timedOut().errorDescription());
        QCOMPARE_LT(time.elapsed(), 3000);
        QCOMPARE(waiting, 1);
    }

    void aStopDuringALookupEndsTheTransferAtOnce_data() { addLookups(); }

    void aStopDuringALookupEndsTheTransferAtOnce()
    {
        QFETCH(QList<QNetworkProxy>, known);
        setProxies(known);
        std::stop_source stop;
        auto task = fetchData(m_url, plenty, stop.get_token());
        QTRY_COMPARE(waiting, 1);
        endsAtOnce(std::move(task), [&stop] { stop.request_stop(); });
        QCOMPARE(waiting, 1);
    }

    void theTransferContinuesWhenTheLookupHasEnded()
    {
        HttpServer server;
        auto task = fetchData(server.serve(u"/list"_s, "here"), plenty, {});
        QTRY_COMPARE(waiting, 1);
        QCOMPARE(server.connectionCount(), 0);
        release();
        QCOMPARE(Tasks::finish(std::move(task)).body, "here");
    }

private:
    static void addLookups()
    {
        const auto row = table<QList<QNetworkProxy>>("known");
        row("of the proxy", {});
        row("of the server's name", { QNetworkProxy::NoProxy });
    }

    const QUrl m_url = QUrl(u"http://server.invalid/list"_s);
};

QTEST_GUILESS_MAIN(LookupTest)
#include "LookupTest.moc"
