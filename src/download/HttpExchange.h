#pragma once

#include "CurlLibrary.h"
#include "HttpTransfer.h"
#include "StallWatch.h"
#include "TransferError.h"

#include <atomic>
#include <optional>

struct SystemProxy;

/// One request and its answer with libcurl, and the next one after a redirect. Blocks: for the transfer's
/// thread only.
class HttpExchange final {
public:
    struct Answer {
        int status = 0;
        QByteArray location;

        bool isGood() const { return status >= 200 && status <= 299; }
    };

    /// Everything outlives the exchange. `multi` lets another thread wake it up after setting `cancelled`.
    HttpExchange(const CurlLibrary &curl, CURLM *multi, const HttpTransfer::Request &request,
                 const std::atomic<bool> &cancelled, const HttpTransfer::OnBody &onBody);
    ~HttpExchange();
    HttpExchange(const HttpExchange &) = delete;
    HttpExchange &operator=(const HttpExchange &) = delete;

    /// Asks for `url` and gives the final answer when all of its body has come, or its head when it is not a
    /// good one. Throws TransferError, CancellationError, or what `onBody` throws.
    Answer perform(const QByteArray &url);

private:
    void setOptions(const QByteArray &url);
    SystemProxy proxyFor(const QUrl &url) const;
    CURLcode drive();
    std::optional<CURLcode> result() const;
    TransferError failure(CURLcode code) const;

    static size_t onHeaderLine(char *bytes, size_t size, size_t count, void *exchange);
    static size_t onPiece(char *bytes, size_t size, size_t count, void *exchange);
    void takeHeaderLine(QByteArrayView line);
    void takeEndOfHead();
    void takePiece(QByteArrayView piece);

    const CurlLibrary &m_curl;
    CURLM *m_multi;
    CURL *m_easy;
    const HttpTransfer::Request &m_request;
    const std::atomic<bool> &m_cancelled;
    const HttpTransfer::OnBody &m_onBody;
    StallWatch m_watch;
    char m_detail[CURL_ERROR_SIZE] = {};

    Answer m_answer;
    bool m_isLengthBeyondNumbers = false; // the announced length, which libcurl then takes for none
    bool m_isComplete = false; // the head says that nothing of the body is wanted
    std::exception_ptr m_exception; // thrown inside a callback, where libcurl's frames lie between
    qint64 m_headerBytes = 0;
    qint64 m_received = 0;
    qint64 m_total = -1;
};
