#pragma once

#include "CancellationError.h"
#include "StandingQueue.h"
#include "TransferTesting.h"

#include <QTest>

/// Tests for the lookups at the start of a transfer, which nothing can interrupt.
namespace LookupTesting {

/// Blocks this program's lookups.
inline StandingQueue &lookups()
{
    static StandingQueue queue;
    return queue;
}

inline QUrl address() { return QUrl(QStringLiteral("http://server.invalid/list")); }

inline void endsWithAnErrorAfterTheLimit()
{
    QElapsedTimer time;
    time.start();
    QCOMPARE(TransferTesting::failure(address(), TransferTesting::impatient()),
             QStringLiteral("The request timed out."));
    QVERIFY2(time.elapsed() < 4000, QByteArray::number(time.elapsed()).constData());
    QCOMPARE(lookups().waiting(), 1);
}

inline void endsAtOnceWhenStopped()
{
    std::stop_source stop;
    auto task = fetchData(address(), TransferTesting::plenty, stop.get_token());
    QTRY_COMPARE(lookups().waiting(), 1);
    QElapsedTimer time;
    time.start();
    stop.request_stop();
    QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
    QVERIFY2(time.elapsed() < 400, QByteArray::number(time.elapsed()).constData());
    QCOMPARE(lookups().waiting(), 1);
}

}
