#pragma once

#include "CancellationError.h"
#include "HttpFetch.h"
#include "Tasks.h"
#include "TransferError.h"

#include <QElapsedTimer>

#include <algorithm>
#include <chrono>
#include <stop_token>

/// What the tests of transfers share.
namespace TransferTesting {

/// Ignores the proxy settings of whoever runs the tests.
inline void withoutProxies()
{
    for (const char *name : { "http_proxy", "https_proxy", "all_proxy", "no_proxy" })
        qunsetenv(name);
}

/// The usual limits, with hardly a pause before a broken download is taken up again.
inline TransferRules withoutPauses()
{
    TransferRules rules;
    for (std::chrono::milliseconds &pause : rules.pauses)
        pause = std::chrono::milliseconds(1);
    return rules;
}

/// Short limits, so that a test with a silent server ends soon.
inline TransferRules impatient()
{
    TransferRules rules = withoutPauses();
    rules.connect = rules.silence = std::chrono::milliseconds(250);
    return rules;
}

inline constexpr qint64 plenty = 100 * 1000 * 1000;

inline HttpResponse fetch(const QUrl &url, TransferRules rules = {})
{
    return Tasks::finish(fetchData(url, plenty, {}, rules));
}

/// The sentence that fetching `url` fails with, empty when it does not fail.
inline QString failure(const QUrl &url, TransferRules rules = {}, qint64 largestBody = plenty)
{
    const auto error = Tasks::failure<TransferError>(fetchData(url, largestBody, {}, rules));
    return error ? error->errorDescription() : QString();
}

/// The sentence for libcurl's result `code`. TransferErrorTest says how each reads.
inline QString sentence(int code) { return TransferError::fromCurl(code, {}).errorDescription(); }

/// Verifies that `task` ends with a CancellationError at most 0.4 s after `cancel` is called.
template <typename Value, typename Cancel> void endsAtOnce(QCoro::Task<Value> task, const Cancel &cancel)
{
    QElapsedTimer time;
    time.start();
    cancel();
    QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
    QCOMPARE_LT(time.elapsed(), 400);
}

/// `size` pseudo-random bytes, always the same.
inline QByteArray someBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = 1;
    std::generate(bytes.begin(), bytes.end(), [&state] {
        state = state * 1664525 + 1013904223;
        return static_cast<char>(state >> 24);
    });
    return bytes;
}

}
