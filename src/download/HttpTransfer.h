#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QUrl>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>

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

/// One GET request over HTTP(S) on its own thread. Follows redirects, keeps no cookies, cache or credentials,
/// and does not fetch the body of a response outside 200-299. One transfer per object.
class HttpTransfer final {
public:
    struct Request {
        QUrl url;
        TransferRules rules = {};
    };

    /// How a transfer ended: with the final status after a complete body, or with an error, which is a
    /// TransferError, a CancellationError, or what `onBody` threw.
    struct Ending {
        int status = 0;
        std::exception_ptr error = nullptr;

        bool isGood() const { return !error && status >= 200 && status <= 299; }
    };

    /// Receives a piece of the body of a response within 200-299. `total` is the size that the server
    /// announced, -1 when it announced none. Called on the transfer's thread. Throwing ends the transfer.
    using OnBody = std::function<void(QByteArrayView piece, qint64 total)>;
    /// Called last and exactly once per started transfer, after the connection is closed, on the transfer's
    /// thread. Must not throw.
    using OnEnd = std::function<void(Ending ending)>;

    HttpTransfer(Request request, OnBody onBody, OnEnd onEnd);
    /// Cancels and joins the thread, which takes a moment at most. Must not run on the transfer's thread.
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer &) = delete;
    HttpTransfer &operator=(const HttpTransfer &) = delete;

    /// Call once. Throws TransferError when libcurl or a thread is unavailable; then no callback is called.
    void start();

    /// Makes the transfer end soon, whatever it is waiting for. Any thread.
    void cancel();

private:
    struct Private;
    std::unique_ptr<Private> m_private;
};
