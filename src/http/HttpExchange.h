#pragma once

#include "CurlLibrary.h"
#include "HttpTransfer.h"
#include "StallWatch.h"
#include "TransferError.h"

#include <atomic>
#include <optional>

struct SystemProxy;

/// Performs a transfer's requests with libcurl, one after the other: the first, then one per redirect.
/// Blocks, so for the transfer's thread only.
class HttpExchange final {
public:
    struct Answer {
        HttpAnswer head;
        QByteArray location;

        int status() const { return head.status; }
        bool isGood() const { return status() >= 200 && status() <= 299; }
    };

    /// All arguments must outlive the exchange. To cancel, another thread sets `cancelled` and wakes `multi`.
    HttpExchange(const CurlLibrary &curl, CURLM *multi, const HttpTransfer::Request &request,
                 const std::atomic<bool> &cancelled, const HttpTransfer::OnAnswer &onAnswer,
                 const HttpTransfer::OnBody &onBody);
    ~HttpExchange();
    HttpExchange(const HttpExchange &) = delete;
    HttpExchange &operator=(const HttpExchange &) = delete;

    /// Requests `url`. Returns when the body is complete, or right after the header when the status is not
    /// within 200-299. Throws TransferError, CancellationError, or what `onAnswer` or `onBody` throws.
    Answer perform(const QByteArray &url);

private:
    struct HeadersCleanup {
        void operator()(curl_slist *headers) const;
    };
    using Headers = std::unique_ptr<curl_slist, HeadersCleanup>;

    void setOptions(const QByteArray &url);
    void setRange();
    SystemProxy proxyFor(const QUrl &url) const;
    CURLcode drive();
    std::optional<CURLcode> result() const;
    TransferError failure(CURLcode code) const;

    static size_t onHeaderLine(char *bytes, size_t size, size_t count, void *exchange);
    static size_t onPiece(char *bytes, size_t size, size_t count, void *exchange);
    void takeHeaderLine(QByteArrayView line);
    void takeField(QByteArrayView name, QByteArrayView value);
    void takeEndOfHead();
    void takePiece(QByteArrayView piece);
    void report(QByteArrayView piece);
    qint64 firstByte() const;

    const CurlLibrary &m_curl;
    CURLM *m_multi;
    CURL *m_easy;
    Headers m_headers;
    const HttpTransfer::Request &m_request;
    const std::atomic<bool> &m_cancelled;
    const HttpTransfer::OnAnswer &m_onAnswer;
    const HttpTransfer::OnBody &m_onBody;
    StallWatch m_watch;
    char m_detail[CURL_ERROR_SIZE] = {};

    Answer m_answer;
    bool m_isLengthBeyondNumbers = false; // the announced length overflows; libcurl then reports none
    bool m_isComplete = false; // the header has come, and the status makes the body unwanted
    std::exception_ptr m_exception; // thrown in a callback; must not unwind through libcurl
    StallWatch::Clock::time_point m_lastReport; // when m_onBody was last called
    qint64 m_headerBytes = 0;
    qint64 m_received = 0;
};
