#include "HttpTransfer.h"

#include "HttpExchange.h"
#include "TransferError.h"

#include <system_error>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

struct UrlCleanup {
    void operator()(CURLU *url) const { CurlLibrary::loaded()->curl_url_cleanup(url); }
};
using Url = std::unique_ptr<CURLU, UrlCleanup>;

struct MultiCleanup {
    void operator()(CURLM *multi) const { CurlLibrary::loaded()->curl_multi_cleanup(multi); }
};
using Multi = std::unique_ptr<CURLM, MultiCleanup>;

QByteArray partOf(const Url &url, CURLUPart part)
{
    const CurlLibrary &curl = *CurlLibrary::loaded();
    char *text = nullptr;
    if (curl.curl_url_get(url.get(), part, &text, 0) != CURLUE_OK)
        return {};
    const QByteArray copy(text);
    curl.curl_free(text);
    return copy;
}

bool isRedirect(const HttpExchange::Answer &answer)
{
    switch (answer.status()) {
    case 301:
    case 302:
    case 303:
    case 307:
    case 308:
        return !answer.location.isEmpty();
    default:
        return false;
    }
}

/// Resolves a redirect's `location` against `from` and removes any user name and password. Throws
/// TransferError unless it leads to HTTPS, or from HTTP to HTTP.
QByteArray redirected(const QByteArray &from, const QByteArray &location)
{
    const CurlLibrary &curl = *CurlLibrary::loaded();
    const Url url(curl.curl_url());
    const bool isRead = url && curl.curl_url_set(url.get(), CURLUPART_URL, from.constData(), 0) == CURLUE_OK
        && curl.curl_url_set(url.get(), CURLUPART_URL, location.constData(), CURLU_URLENCODE) == CURLUE_OK;
    if (!isRead)
        throw TransferError::notUnderstood();
    for (const CURLUPart part : { CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_OPTIONS, CURLUPART_FRAGMENT })
        curl.curl_url_set(url.get(), part, nullptr, 0);

    const QByteArray scheme = partOf(url, CURLUPART_SCHEME);
    const bool isAllowed = scheme == "https" || (scheme == "http" && !from.startsWith("https:"));
    if (!isAllowed)
        throw TransferError(u"The server redirected to an unsafe address."_s);
    return partOf(url, CURLUPART_URL);
}

}

struct HttpTransfer::Private {
    Request request;
    OnAnswer onAnswer;
    OnBody onBody;
    OnEnd onEnd;
    Multi multi;
    std::atomic<bool> cancelled = false;
    std::thread thread;

    void run()
    {
        Ending ending;
        try {
            ending.status = fetch();
        } catch (...) {
            ending.error = std::current_exception();
        }
        onEnd(std::move(ending));
    }

    int fetch()
    {
        const QString scheme = request.url.scheme();
        if ((scheme != "http"_L1 && scheme != "https"_L1) || request.url.host().isEmpty())
            throw TransferError::fromCurl(CURLE_URL_MALFORMAT, {});
        QByteArray url = request.url.toEncoded(QUrl::RemoveUserInfo | QUrl::RemoveFragment);
        HttpExchange exchange(*CurlLibrary::loaded(), multi.get(), request, cancelled, onAnswer, onBody);
        for (int followed = 0;; ++followed) {
            const HttpExchange::Answer answer = exchange.perform(url);
            if (!isRedirect(answer))
                return answer.status();
            if (followed == request.rules.redirects)
                throw TransferError(u"The server redirected too many times."_s);
            url = redirected(url, answer.location);
        }
    }
};

HttpTransfer::HttpTransfer(Request request, OnBody onBody, OnEnd onEnd, OnAnswer onAnswer)
    : m_private(std::make_unique<Private>())
{
    m_private->request = std::move(request);
    m_private->onAnswer = std::move(onAnswer);
    m_private->onBody = std::move(onBody);
    m_private->onEnd = std::move(onEnd);
    const CurlLibrary *const curl = CurlLibrary::loaded();
    if (!curl)
        return; // `start` will throw
    m_private->multi.reset(curl->curl_multi_init());
#if LIBCURL_VERSION_NUM >= 0x081400
    // As in HttpExchange: do not wait for a name lookup.
    curl->curl_multi_setopt(m_private->multi.get(), CURLMOPT_QUICK_EXIT, 1L);
#endif
}

HttpTransfer::~HttpTransfer()
{
    cancel();
    if (m_private->thread.joinable())
        m_private->thread.join();
}

void HttpTransfer::start()
{
    if (!m_private->multi)
        throw TransferError::couldNotBegin();
    try {
        m_private->thread = std::thread(&Private::run, m_private.get());
    } catch (const std::system_error &) {
        throw TransferError::couldNotBegin();
    }
}

void HttpTransfer::cancel()
{
    m_private->cancelled = true;
    if (m_private->multi)
        CurlLibrary::loaded()->curl_multi_wakeup(m_private->multi.get());
}
