#pragma once

#include <QByteArray>

#include <chrono>

/// A transfer's limits and the authorities that it trusts. Players get the defaults; tests shorten the times.
struct TransferRules {
    /// The time limit for connecting, TLS handshake included.
    std::chrono::milliseconds connect { 30'000 };
    /// How long a server may send (almost) nothing of the body. Everything before the body (name lookup,
    /// connection, redirects, header) must fit into this time too. Silence is an error within 60 s.
    std::chrono::milliseconds silence { 50'000 };
    /// Fewer bytes per second than this, on average over `silence`, count as silence.
    qint64 slowestBytesPerSecond = 64;
    /// The most bytes that a body may hold.
    qint64 largestBody = 4LL * 1000 * 1000 * 1000;
    /// The most redirects that are followed; HTTPS is never left for HTTP.
    int redirects = 10;
    /// Certificate authorities in PEM format. Empty for the system's, which every download uses; TLS tests
    /// supply their own.
    QByteArray trustedAuthorities = {};
};
