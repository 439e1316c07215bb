#pragma once

#include "HttpFetch.h"
#include "HttpTransfer.h"
#include "Tasks.h"
#include "TransferError.h"

#include <QElapsedTimer>

#include <algorithm>
#include <chrono>
#include <stop_token>

/// What the tests of transfers share.
namespace TransferTesting {

/// Forgets the proxies of the person who runs the tests.
inline void withoutProxies()
{
    for (const char *name : { "http_proxy", "https_proxy", "all_proxy", "no_proxy" })
        qunsetenv(name);
}

/// Limits that let a test of silence end soon.
inline TransferLimits impatient()
{
    TransferLimits limits;
    limits.connect = std::chrono::seconds(1);
    limits.silence = std::chrono::seconds(1);
    return limits;
}

inline constexpr qint64 plenty = 100 * 1000 * 1000;

inline HttpResponse fetch(const QUrl &url, TransferLimits limits = {})
{
    return Tasks::finish(fetchData(url, plenty, {}, limits));
}

/// The sentence that fetching `url` fails with, empty when it does not fail.
inline QString failure(const QUrl &url, TransferLimits limits = {}, qint64 largestBody = plenty)
{
    const auto error = Tasks::failure<TransferError>(fetchData(url, largestBody, {}, limits));
    return error ? error->description() : QString();
}

/// `size` bytes that do not repeat in any short period.
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
