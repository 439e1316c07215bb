#pragma once

#include "HttpReply.h"
#include "TestAuthority.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>

/// A request as it was received.
struct HttpRequest {
    QByteArray method;
    /// The target without its query: of a request to a proxy the whole URL, of CONNECT "host:port".
    QString path;
    QByteArray query;
    /// Keyed by lower-case name.
    QHash<QByteArray, QByteArray> headers;
};

/// A real HTTP/1.1 server on the loopback interface, on threads of its own: one request per connection, one
/// scripted reply per path, 404 for every other path. Thread-safe. A new reply for a path applies from the
/// next request on. The destructor closes every connection, stalled ones included.
///
///     HttpServer server;
///     server.serve(u"/game.zip"_s, bytes);
///     download(server.url(u"/game.zip"_s));
class HttpServer final {
public:
    HttpServer();
    /// Serves over TLS with `identity`; the address is "https://localhost:...".
    explicit HttpServer(const TestIdentity &identity);
    ~HttpServer();
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    void serve(const QString &path, const QByteArray &body);
    void serve(const QString &path, const HttpReply &reply);
    void serveFile(const QString &path, const QString &file);
    /// Lets every stalled reply continue, future ones included.
    void release();

    /// The server's address, without a path: "http://127.0.0.1:12345".
    QUrl address() const;
    QUrl url(const QString &path) const;
    quint16 port() const;

    /// All requests so far, oldest first.
    QList<HttpRequest> requests() const;
    /// How many requests came for `path`.
    int requestCount(const QString &path) const;
    /// Connections that are open now. A client that disconnects is noticed within a moment, even during a
    /// stall or a pause.
    int openConnections() const;
    /// Connections accepted so far.
    int connectionCount() const;

private:
    struct Shared;
    class Connection;

    explicit HttpServer(const std::optional<TestIdentity> &identity);
    void acceptConnections();

    std::shared_ptr<Shared> m_shared;
};
