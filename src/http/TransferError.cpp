#include "TransferError.h"

#include "CurlLibrary.h"

using namespace Qt::StringLiterals;

namespace {

/// CURLE_TOO_LARGE, a name that the oldest libcurl we build with does not have.
constexpr int tooLargeAHeader = 100;

/// `text` without its final full stop, which only some of libcurl's texts have.
QString withoutFullStop(const QByteArray &text)
{
    QString trimmed = QString::fromUtf8(text).simplified();
    while (trimmed.endsWith(u'.'))
        trimmed.chop(1);
    return trimmed;
}

QString insecure(const QByteArray &detail)
{
    const QString sentence = u"A secure connection to the server could not be made"_s;
    const QString reason = withoutFullStop(detail);
    return reason.isEmpty() ? sentence + u'.' : sentence + u" ("_s + reason + u")."_s;
}

}

// Our own wording for every error that a player may meet: libcurl's changes from version to version.
TransferError TransferError::fromCurl(int code, const QByteArray &detail)
{
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
        return TransferError(u"The server could not be found."_s, Outlook::Passing);
    case CURLE_COULDNT_RESOLVE_PROXY:
        return TransferError(u"The proxy server could not be found."_s, Outlook::Passing);
    case CURLE_PROXY:
        return TransferError(u"The proxy server refused the connection."_s);
    case CURLE_COULDNT_CONNECT:
    case CURLE_INTERFACE_FAILED:
        return TransferError(u"Could not connect to the server."_s, Outlook::Passing);
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_AGAIN:
    case CURLE_HTTP2: // not asked for today; no other sentence should be needed on the day it is
    case CURLE_HTTP2_STREAM:
        return TransferError(u"The connection was lost."_s, Outlook::Passing);
    case CURLE_OPERATION_TIMEDOUT:
        return timedOut();
    case CURLE_SSL_CONNECT_ERROR: // also a connection that is lost during the handshake
        return TransferError(insecure(detail), Outlook::Passing);
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_SSL_CRL_BADFILE:
    case CURLE_SSL_CLIENTCERT:
    case CURLE_SSL_SHUTDOWN_FAILED:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_PEER_FAILED_VERIFICATION:
        return TransferError(insecure(detail));
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_BAD_FUNCTION_ARGUMENT: // libcurl's code for a trailer without a colon
    case CURLE_OUT_OF_MEMORY: // up to libcurl 8.5 also for a header line that is too long
    case tooLargeAHeader:
        return notUnderstood();
    case CURLE_FILESIZE_EXCEEDED:
        return tooLarge();
    case CURLE_FAILED_INIT:
    case CURLE_NO_CONNECTION_AVAILABLE:
    case CURLE_UNRECOVERABLE_POLL:
        return couldNotBegin();
    case CURLE_URL_MALFORMAT:
        return TransferError(u"The address is not a web address."_s);
    default:
        return TransferError(
            withoutFullStop(CurlLibrary::loaded()->curl_easy_strerror(static_cast<CURLcode>(code))) + u'.');
    }
}

TransferError TransferError::timedOut()
{
    return TransferError(u"The request timed out."_s, Outlook::Passing);
}

TransferError TransferError::tooLarge() { return TransferError(u"The file is larger than expected."_s); }

TransferError TransferError::notUnderstood()
{
    return TransferError(u"The server's answer could not be understood."_s);
}

TransferError TransferError::couldNotBegin()
{
    return TransferError(u"The system has no room for another transfer."_s);
}
