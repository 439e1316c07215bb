#include "Socket.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <sys/socket.h>
#include <unistd.h>

TlsContext makeTlsContext(const QByteArray &certificate, const QByteArray &key)
{
    TlsContext context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> certificateBytes(
        BIO_new_mem_buf(certificate.constData(), static_cast<int>(certificate.size())), BIO_free_all);
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> keyBytes(
        BIO_new_mem_buf(key.constData(), static_cast<int>(key.size())), BIO_free_all);
    const std::unique_ptr<X509, decltype(&X509_free)> x509(
        PEM_read_bio_X509(certificateBytes.get(), nullptr, nullptr, nullptr), X509_free);
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> privateKey(
        PEM_read_bio_PrivateKey(keyBytes.get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
    if (!x509 || !privateKey || SSL_CTX_use_certificate(context.get(), x509.get()) != 1
        || SSL_CTX_use_PrivateKey(context.get(), privateKey.get()) != 1)
        qFatal("The test server's certificate is of no use.");
    return context;
}

Socket::Socket(int descriptor, TlsContext tls)
    : m_descriptor(descriptor)
    , m_tls(std::move(tls))
{
    if (m_tls) {
        m_session = SSL_new(m_tls.get());
        SSL_set_fd(m_session, m_descriptor);
    }
}

Socket::~Socket()
{
    SSL_free(m_session);
    ::close(m_descriptor);
}

bool Socket::greet() { return !m_session || SSL_accept(m_session) == 1; }

QByteArray Socket::read()
{
    char piece[4096];
    while (true) {
        const auto count = m_session ? SSL_read(m_session, piece, sizeof piece)
                                     : ::recv(m_descriptor, piece, sizeof piece, 0);
        if (count > 0)
            return QByteArray(piece, count);
        if (m_session || count == 0 || errno != EINTR)
            return {};
    }
}

bool Socket::write(QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const auto size = static_cast<size_t>(std::min<qsizetype>(bytes.size(), INT_MAX));
        const auto count = m_session ? SSL_write(m_session, bytes.data(), static_cast<int>(size))
                                     : ::send(m_descriptor, bytes.data(), size, 0);
        if (count > 0)
            bytes = bytes.sliced(count);
        else if (m_session || errno != EINTR)
            return false;
    }
    return true;
}

bool Socket::isAbandoned() const
{
    char byte = 0;
    const auto count = ::recv(m_descriptor, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    if (count < 0)
        return errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR;
    // Over TLS a close_notify alert precedes the end of the stream; a client sends nothing else after its
    // request.
    return count == 0 || m_session;
}

void Socket::finish()
{
    if (m_session)
        SSL_shutdown(m_session);
    ::shutdown(m_descriptor, SHUT_WR);
}

void Socket::resetOnClose()
{
    const linger atOnce { .l_onoff = 1, .l_linger = 0 };
    ::setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

void Socket::interrupt() { ::shutdown(m_descriptor, SHUT_RDWR); }
