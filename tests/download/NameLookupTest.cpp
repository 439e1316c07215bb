#include "CancellationError.h"
#include "StandingQueue.h"
#include "TransferTesting.h"

#include <QTest>

#include <netdb.h>

using namespace Qt::StringLiterals;
using namespace TransferTesting;
using namespace std::chrono_literals;

namespace {

StandingQueue &lookups()
{
    static StandingQueue queue;
    return queue;
}

}

// Takes the system's place for this whole program: a name server that never answers.
extern "C" int getaddrinfo(const char *, const char *, const addrinfo *, addrinfo **)
{
    lookups().wait();
    return EAI_AGAIN;
}

class NameLookupTest final : public QObject {
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

private:
    const QUrl m_url { u"http://server.invalid/list"_s };
};

QTEST_GUILESS_MAIN(NameLookupTest)
#include "NameLookupTest.moc"
