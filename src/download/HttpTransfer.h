#pragma once

#include <QtGlobal>

#include <chrono>

/// What a transfer may cost before it counts as broken. The defaults are the player's; tests shorten the times.
struct TransferLimits {
    /// Until the server is connected, TLS included.
    std::chrono::seconds connect { 30 };
    /// How long a server may send (nearly) nothing, in, before and after the header. Silence is an error within 60 s.
    std::chrono::seconds silence { 50 };
    /// Fewer bytes per second than this, on average over `silence`, count as silence.
    qint64 slowestBytesPerSecond = 64;
    /// The most bytes that a body may hold.
    qint64 largestBody = 4LL * 1000 * 1000 * 1000;
    /// The most redirects that are followed; HTTPS is never left for HTTP.
    int redirects = 10;
};
