#include "CancellationError.h"
#include "TransferTesting.h"

#include <QTest>

#include <condition_variable>
#include <mutex>
#include <netdb.h>

using namespace Qt::StringLiterals;
using namespace TransferTesting;
using namespace std::chrono_literals;

namespace {

/// How many look-ups wait for a name server that does not answer, and whether they may go on.
struct Lookups {
    std::mutex lock;
    std::condition_variable changed;
    int waiting = 0;
    bool released = false;

    static Lookups &all()
    {
        static Lookups lookups;
        return lookups;
    }
};

}

// Takes the system's place for this whole program: a name server that never answers.
extern "C" int getaddrinfo(const char *, const char *, const addrinfo *, addrinfo **)
{
    Lookups &lookups = Lookups::all();
    std::unique_lock guard(lookups.lock);
    ++lookups.waiting;
    lookups.changed.wait(guard, [&lookups] { return lookups.released; });
    --lookups.waiting;
    return EAI_AGAIN;
}

class NameLookupTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { withoutProxies(); }

    void cleanup()
    {
        Lookups &lookups = Lookups::all();
        {
            const std::lock_guard guard(lookups.lock);
            lookups.released = true;
        }
        lookups.changed.notify_all();
        QTRY_COMPARE(waiting(), 0);
        const std::lock_guard guard(lookups.lock);
        lookups.released = false;
    }

    void aLookupThatNeverEndsIsAnErrorAfterTheLimit()
    {
        QElapsedTimer time;
        time.start();
        QCOMPARE(failure(m_url, impatient()), u"The request timed out."_s);
        QVERIFY2(time.elapsed() < 4000, QByteArray::number(time.elapsed()).constData());
        QCOMPARE(waiting(), 1);
    }

    void aStopDuringALookupEndsAtOnce()
    {
        std::stop_source stop;
        auto task = fetchData(m_url, plenty, stop.get_token());
        QTRY_COMPARE(waiting(), 1);
        QElapsedTimer time;
        time.start();
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
        QVERIFY2(time.elapsed() < 400, QByteArray::number(time.elapsed()).constData());
        QCOMPARE(waiting(), 1);
    }

private:
    static int waiting()
    {
        const std::lock_guard guard(Lookups::all().lock);
        return Lookups::all().waiting;
    }

    const QUrl m_url { u"http://server.invalid/list"_s };
};

QTEST_GUILESS_MAIN(NameLookupTest)
#include "NameLookupTest.moc"
