#include "HttpExchange.h"

#include "CancellationError.h"
#include "SystemProxy.h"

#include <algorithm>
#include <system_error>

namespace {

/// For all headers, redirects included; far more than servers send. libcurl limits single lines, and the
/// total only in its later versions.
constexpr qint64 longestHeaders = 256 * 1024;

/// Without a chunk for this long, the receiver is called all the same, so that it can tell a standstill.
constexpr std::chrono::seconds longestSilence { 1 };

bool isBeyondNumbers(QByteArrayView length)
{
    bool isNumber = false;
    static_cast<void>(length.toLongLong(&isNumber));
    return !isNumber && !length.isEmpty()
        && std::all_of(length.begin(), length.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
}

StallWatch::Clock::time_point now() { return StallWatch::Clock::now(); }

}

HttpExchange::HttpExchange(const CurlLibrary &curl, CURLM *multi, const HttpTransfer::Request &request,
                           const std::atomic<bool> &cancelled, const HttpTransfer::OnAnswer &onAnswer,
                           const HttpTransfer::OnBody &onBody)
    : m_curl(curl)
    , m_multi(multi)
    , m_easy(m_curl.curl_easy_init())
    , m_request(request)
    , m_cancelled(cancelled)
    , m_onAnswer(onAnswer)
    , m_onBody(onBody)
    , m_watch(now(), request.rules.silence, request.rules.slowestBytesPerSecond)
{
    if (!m_easy)
        throw TransferError::couldNotBegin();
}

void HttpExchange::HeadersCleanup::operator()(curl_slist *headers) const
{
    CurlLibrary::loaded()->curl_slist_free_all(headers);
}

HttpExchange::~HttpExchange() { m_curl.curl_easy_cleanup(m_easy); }

void HttpExchange::setOptions(const QByteArray &url)
{
    const auto set
        = [this](CURLoption option, auto value) { m_curl.curl_easy_setopt(m_easy, option, value); };
    const TransferRules &rules = m_request.rules;

    set(CURLOPT_URL, url.constData());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_HTTP_VERSION, long(CURL_HTTP_VERSION_1_1)); // one file per connection: nothing to multiplex
    set(CURLOPT_USERAGENT, "VantorPlatformer/" LAUNCHER_VERSION);
    // No Accept-Encoding: the file is stored, and its checksum compared, exactly as the server has it. An
    // encoding that the server applies unasked is not decoded, so the archive check refuses the file.
    set(CURLOPT_ACCEPT_ENCODING, static_cast<const char *>(nullptr));
    set(CURLOPT_FOLLOWLOCATION, 0L); // HttpTransfer follows redirects, by its own rules
    set(CURLOPT_NETRC, long(CURL_NETRC_IGNORED));
    set(CURLOPT_FORBID_REUSE, 1L);
    set(CURLOPT_BUFFERSIZE, 256 * 1024L); // fewer callbacks than with the default of 16 KiB

    // Only the desktop's proxy: both options are set even when empty, or else libcurl reads the environment.
    const SystemProxy proxy = proxyFor(QUrl::fromEncoded(url));
    set(CURLOPT_PROXY, proxy.address.constData());
    set(CURLOPT_NOPROXY, "");
    set(CURLOPT_PROXYUSERNAME, proxy.user.isEmpty() ? nullptr : proxy.user.constData());
    set(CURLOPT_PROXYPASSWORD, proxy.user.isEmpty() ? nullptr : proxy.password.constData());
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);

    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    set(CURLOPT_SSLVERSION, long(CURL_SSLVERSION_TLSv1_2));
    if (!rules.trustedAuthorities.isEmpty()) {
        curl_blob authorities { const_cast<char *>(rules.trustedAuthorities.constData()),
                                static_cast<size_t>(rules.trustedAuthorities.size()), CURL_BLOB_COPY };
        set(CURLOPT_CAINFO_BLOB, &authorities);
    }

    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(rules.connect.count()));
    // A name lookup cannot be interrupted: ending a transfer abandons its thread instead of joining it.
    set(CURLOPT_QUICK_EXIT, 1L);

    setRange();

    set(CURLOPT_ERRORBUFFER, m_detail);
    set(CURLOPT_HEADERFUNCTION, &HttpExchange::onHeaderLine);
    set(CURLOPT_HEADERDATA, static_cast<void *>(this));
    set(CURLOPT_WRITEFUNCTION, &HttpExchange::onPiece);
    set(CURLOPT_WRITEDATA, static_cast<void *>(this));
}

/// Asks for part of the file with plain headers: libcurl's own option for that would end the transfer with
/// errors of its own, instead of leaving it to us what to do with another answer.
void HttpExchange::setRange()
{
    if (!m_request.range || m_headers)
        return; // kept for every redirect
    const auto add = [this](const QByteArray &header) {
        curl_slist *const longer = m_curl.curl_slist_append(m_headers.get(), header.constData());
        if (!longer)
            throw TransferError::couldNotBegin();
        static_cast<void>(m_headers.release());
        m_headers.reset(longer);
    };
    add("Range: bytes=" + QByteArray::number(m_request.range->firstByte) + '-');
    add("If-Range: " + m_request.range->validator);
    m_curl.curl_easy_setopt(m_easy, CURLOPT_HTTPHEADER, m_headers.get());
}

HttpExchange::Answer HttpExchange::perform(const QByteArray &url)
{
    m_answer = {};
    m_isComplete = false;
    m_detail[0] = '\0';
    setOptions(url);

    if (m_curl.curl_multi_add_handle(m_multi, m_easy) != CURLM_OK)
        throw TransferError::couldNotBegin();
    const auto remove = [this](CURL *easy) { m_curl.curl_multi_remove_handle(m_multi, easy); };
    const std::unique_ptr<CURL, decltype(remove)> added(m_easy, remove);

    const CURLcode code = drive();
    if (m_exception)
        std::rethrow_exception(m_exception);
    if (code != CURLE_OK && !m_isComplete)
        throw failure(code);
    // libcurl reports success for a connection that ends inside the header.
    if (m_answer.status() == 0)
        throw TransferError::fromCurl(CURLE_PARTIAL_FILE, {});
    return m_answer;
}

SystemProxy HttpExchange::proxyFor(const QUrl &url) const
{
    constexpr std::chrono::milliseconds aMoment(20);

    std::future<SystemProxy> lookup;
    try {
        lookup = SystemProxy::lookUp(url);
    } catch (const std::system_error &) {
        throw TransferError::couldNotBegin();
    }
    while (lookup.wait_for(aMoment) != std::future_status::ready) {
        if (m_cancelled)
            throw CancellationError();
        if (now() >= m_watch.deadline())
            throw TransferError::timedOut();
    }
    return lookup.get();
}

CURLcode HttpExchange::drive()
{
    using namespace std::chrono;
    while (true) {
        int running = 0;
        if (m_curl.curl_multi_perform(m_multi, &running) != CURLM_OK)
            throw TransferError::couldNotBegin();
        if (const auto code = result())
            return *code;
        if (m_cancelled)
            throw CancellationError();
        if (m_answer.status() != 0 && now() - m_lastReport >= longestSilence)
            report({});
        const auto left = ceil<milliseconds>(m_watch.deadline() - now());
        if (left <= milliseconds::zero())
            throw TransferError::timedOut();
        m_curl.curl_multi_poll(m_multi, nullptr, 0,
                               static_cast<int>(std::min<milliseconds>(left, longestSilence).count()),
                               nullptr);
    }
}

std::optional<CURLcode> HttpExchange::result() const
{
    int left = 0;
    while (const CURLMsg *message = m_curl.curl_multi_info_read(m_multi, &left)) {
        if (message->msg == CURLMSG_DONE)
            return message->data.result;
    }
    return std::nullopt;
}

TransferError HttpExchange::failure(CURLcode code) const
{
    // libcurl's versions report a proxy's refusal to connect with different codes.
    long proxyStatus = 0;
    m_curl.curl_easy_getinfo(m_easy, CURLINFO_HTTP_CONNECTCODE, &proxyStatus);
    const bool refusedByProxy = proxyStatus != 0 && (proxyStatus < 200 || proxyStatus > 299);
    return TransferError::fromCurl(refusedByProxy ? CURLE_PROXY : code, m_detail);
}

size_t HttpExchange::onHeaderLine(char *bytes, size_t size, size_t count, void *exchange)
{
    auto *self = static_cast<HttpExchange *>(exchange);
    try {
        self->takeHeaderLine(QByteArrayView(bytes, static_cast<qsizetype>(size * count)));
    } catch (...) {
        self->m_exception = std::current_exception();
    }
    const bool goesOn = !self->m_exception && !self->m_isComplete;
    return goesOn ? size * count : CURL_WRITEFUNC_ERROR;
}

size_t HttpExchange::onPiece(char *bytes, size_t size, size_t count, void *exchange)
{
    auto *self = static_cast<HttpExchange *>(exchange);
    try {
        self->takePiece(QByteArrayView(bytes, static_cast<qsizetype>(size * count)));
    } catch (...) {
        self->m_exception = std::current_exception();
    }
    return self->m_exception ? CURL_WRITEFUNC_ERROR : size * count;
}

void HttpExchange::takeHeaderLine(QByteArrayView line)
{
    m_headerBytes += line.size();
    if (m_headerBytes > longestHeaders)
        throw TransferError::notUnderstood();
    // Trailers after the body arrive here too; they must not be read as another header.
    if (m_answer.status() != 0)
        return;
    if (line.startsWith("HTTP/")) {
        m_answer = {};
        m_isLengthBeyondNumbers = false;
    } else if (line.trimmed().isEmpty()) {
        takeEndOfHead();
    } else if (const auto colon = line.indexOf(':'); colon >= 0) {
        takeField(line.first(colon).toByteArray().toLower(), line.sliced(colon + 1).trimmed());
    }
}

void HttpExchange::takeField(QByteArrayView name, QByteArrayView value)
{
    if (name == "location")
        m_answer.location = value.toByteArray();
    else if (name == "content-length")
        m_isLengthBeyondNumbers = isBeyondNumbers(value);
    else
        m_answer.head.takeField(name, value);
}

void HttpExchange::takeEndOfHead()
{
    long status = 0;
    m_curl.curl_easy_getinfo(m_easy, CURLINFO_RESPONSE_CODE, &status);
    if (status < 200)
        return; // an interim response: another header follows
    m_answer.head.status = static_cast<int>(status);
    m_isComplete = !m_answer.isGood();
    if (m_isComplete)
        return;
    m_lastReport = now();
    curl_off_t length = -1;
    m_curl.curl_easy_getinfo(m_easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    m_answer.head.length = length;
    if (m_isLengthBeyondNumbers || length > m_request.rules.largestBody - firstByte())
        throw TransferError::tooLarge();
    if (m_onAnswer)
        m_onAnswer(m_answer.head);
}

/// Where in the file the body begins. The limit for a file holds for the whole, however many transfers it
/// takes.
qint64 HttpExchange::firstByte() const
{
    constexpr int partialContent = 206;
    return m_request.range && m_answer.status() == partialContent ? m_request.range->firstByte : 0;
}

void HttpExchange::takePiece(QByteArrayView piece)
{
    if (m_cancelled)
        throw CancellationError();
    m_received += piece.size();
    if (m_received > m_request.rules.largestBody - firstByte())
        throw TransferError::tooLarge();
    m_watch.received(now(), m_received);
    report(piece);
}

void HttpExchange::report(QByteArrayView piece)
{
    m_lastReport = now();
    m_onBody(piece, m_answer.head.length);
}
