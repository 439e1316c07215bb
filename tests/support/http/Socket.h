#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <memory>

struct ssl_ctx_st;
struct ssl_st;

/// The server's certificate and key in the form that connections need. Null for a plain server.
using TlsContext = std::shared_ptr<ssl_ctx_st>;
TlsContext makeTlsContext(const QByteArray &certificate, const QByteArray &key);

/// One accepted connection, plain or over TLS, with blocking reads and writes. Owns its descriptor.
class Socket final {
public:
    Socket(int descriptor, TlsContext tls);
    ~Socket();
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;

    /// Performs the TLS handshake and returns whether it succeeded. Always true for a plain connection.
    bool greet();
    /// Reads some bytes. Empty at the end of the stream and on an error.
    QByteArray read();
    bool write(QByteArrayView bytes);
    /// Whether the peer has closed the connection. Does not block.
    bool isAbandoned() const;

    /// Ends the stream cleanly.
    void finish();
    /// Makes closing send a TCP reset.
    void resetOnClose();
    /// Ends reads and writes that block on another thread. The only operation that other threads may call.
    void interrupt();

private:
    int m_descriptor = -1;
    TlsContext m_tls;
    ssl_st *m_session = nullptr;
};
