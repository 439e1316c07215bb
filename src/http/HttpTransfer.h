#pragma once

#include "HttpAnswer.h"
#include "TransferRules.h"

#include <QByteArrayView>
#include <QUrl>

#include <exception>
#include <functional>
#include <memory>
#include <optional>

/// One GET request over HTTP(S) on its own thread. Follows redirects, keeps no cookies, cache or credentials,
/// and does not fetch the body of a response outside 200-299. One transfer per object.
class HttpTransfer final {
public:
    struct Request {
        QUrl url;
        TransferRules rules = {};
        /// No value for the whole file.
        std::optional<HttpRange> range = std::nullopt;
    };

    /// How a transfer ended: with the final status after a complete body, or with an error, which is a
    /// TransferError, a CancellationError, or what `onAnswer` or `onBody` threw.
    struct Ending {
        int status = 0;
        std::exception_ptr error = nullptr;
    };

    /// Receives the header of a response within 200-299, once and before its body. Called on the transfer's
    /// thread. Throwing ends the transfer.
    using OnAnswer = std::function<void(const HttpAnswer &answer)>;
    /// Receives a chunk of the body of a response within 200-299; also called about once a second, with an
    /// empty chunk, while none arrives. `total` is the size that the server announced, -1 when it announced
    /// none. Called on the transfer's thread. Throwing ends the transfer.
    using OnBody = std::function<void(QByteArrayView piece, qint64 total)>;
    /// Called last and exactly once per started transfer, after the connection is closed, on the transfer's
    /// thread. Must not throw.
    using OnEnd = std::function<void(Ending ending)>;

    /// `onAnswer` may be empty.
    HttpTransfer(Request request, OnBody onBody, OnEnd onEnd, OnAnswer onAnswer = {});
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
