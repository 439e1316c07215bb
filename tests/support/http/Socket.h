#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <memory>

struct ssl_ctx_st;
struct ssl_st;

/// The server's certificate in the form that connections need. None of it for a plain server.
using TlsContext = std::shared_ptr<ssl_ctx_st>;
TlsContext makeTlsContext(const QByteArray &certificate, const QByteArray &key);

/// One accepted connection, plain or over TLS, with blocking reads and writes. Owns its descriptor.
class Socket final {
public:
    Socket(int descriptor, TlsContext tls);
    ~Socket();
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;

    /// The TLS handshake. At once true for a plain connection.
    bool greet();
    /// Some bytes, or none at the end of the stream and on an error.
    QByteArray read();
    bool write(QByteArrayView bytes);
    /// Whether the other side has ended the connection. Does not wait.
    bool isAbandoned() const;

    /// An orderly end.
    void finish();
    /// Makes closing send a TCP reset.
    void resetOnClose();
    /// Ends reads and writes that wait on another thread. The one operation for other threads.
    void interrupt();

private:
    int m_descriptor = -1;
    TlsContext m_tls;
    ssl_st *m_session = nullptr;
};
