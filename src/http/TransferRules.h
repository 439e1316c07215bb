#pragma once

#include <QByteArray>

#include <chrono>
#include <vector>

/// A transfer's limits and the authorities that it trusts. Players get the defaults; tests shorten the times.
struct TransferRules {
    /// The time limit for connecting, TLS handshake included.
    std::chrono::milliseconds connect { 30'000 };
    /// How long a server may send (almost) nothing of the body. Everything before the body (name lookup,
    /// connection, redirects, header) must fit into this time too. Silence is an error within 60 s.
    std::chrono::milliseconds silence { 50'000 };
    /// Fewer bytes per second than this, on average over `silence`, count as silence.
    qint64 slowestBytesPerSecond = 64;
    /// How long a download waits before it takes a broken transfer up again, when that transfer brought bytes
    /// and when one, two and so on in a row have brought none. As many such transfers as there are pauses end
    /// the download.
    std::vector<std::chrono::milliseconds> pauses {
        std::chrono::seconds(1),
        std::chrono::seconds(2),
        std::chrono::seconds(4),
    };
    /// The most bytes that a file may hold.
    qint64 largestBody = 4LL * 1000 * 1000 * 1000;
    /// The most redirects that are followed; HTTPS is never left for HTTP.
    int redirects = 10;
    /// Certificate authorities in PEM format. Empty for the system's, which every download uses; TLS tests
    /// supply their own.
    QByteArray trustedAuthorities = {};
};
