#include "LookupTesting.h"

#include <QTest>

#include <netdb.h>

using namespace LookupTesting;
using namespace TransferTesting;

// Replaces the system's function in this whole program: a name server that never answers.
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

    void aLookupThatNeverEndsIsAnErrorAfterTheLimit() { endsWithAnErrorAfterTheLimit(); }

    void aStopDuringALookupEndsAtOnce() { endsAtOnceWhenStopped(); }
};

QTEST_GUILESS_MAIN(NameLookupTest)
#include "NameLookupTest.moc"
