#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QUrl>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>

/// Whom a transfer trusts, and what it may cost before it counts as broken. The defaults are the player's;
/// tests shorten the times.
struct TransferRules {
    /// Until the server is connected, TLS included.
    std::chrono::milliseconds connect { 30'000 };
    /// How long a server may send (nearly) nothing of the body: everything before it (name, connection,
    /// redirects, header) must come within this time too. Silence is an error within 60 s.
    std::chrono::milliseconds silence { 50'000 };
    /// Fewer bytes per second than this, on average over `silence`, count as silence.
    qint64 slowestBytesPerSecond = 64;
    /// The most bytes that a body may hold.
    qint64 largestBody = 4LL * 1000 * 1000 * 1000;
    /// The most redirects that are followed; HTTPS is never left for HTTP.
    int redirects = 10;
    /// PEM. Empty for the authorities that the system trusts, which is what every download uses; tests of TLS
    /// name their own.
    QByteArray trustedAuthorities = {};
};

/// One GET request over HTTP(S) on a thread of its own, redirects followed. It keeps nothing: no cookies, no
/// cache, no credentials. The body of an answer outside 200-299 is not fetched. One transfer per object.
class HttpTransfer final {
public:
    struct Request {
        QUrl url;
        TransferRules rules = {};
    };

    /// How a transfer ended: with the final status and the whole body of it, or with an error, which is a
    /// TransferError, a CancellationError, or what `onBody` threw.
    struct Ending {
        int status = 0;
        std::exception_ptr error = nullptr;

        bool isGood() const { return !error && status >= 200 && status <= 299; }
    };

    /// A piece of the body of an answer within 200-299. `total` is the size that the server announced, -1
    /// when it announced none. On the transfer's thread. May throw, which ends the transfer.
    using OnBody = std::function<void(QByteArrayView piece, qint64 total)>;
    /// The last call, exactly one for every started transfer, with the connection closed. On the transfer's
    /// thread. Must not throw.
    using OnEnd = std::function<void(Ending ending)>;

    HttpTransfer(Request request, OnBody onBody, OnEnd onEnd);
    /// Cancels and waits for the thread, which takes a moment at most. Not on the transfer's own thread.
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer &) = delete;
    HttpTransfer &operator=(const HttpTransfer &) = delete;

    /// Once. Throws TransferError when the system refuses a thread; then nothing was called.
    void start();

    /// Ends the transfer soon, whatever it waits for. Any thread.
    void cancel();

private:
    struct Private;
    std::unique_ptr<Private> m_private;
};
