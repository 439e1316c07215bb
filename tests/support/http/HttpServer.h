#pragma once

#include "HttpReply.h"
#include "TestAuthority.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QUrl>

#include <memory>

/// A request as it was received.
struct HttpRequest {
    QByteArray method;
    /// The target without its query: of a request to a proxy the whole URL, of CONNECT "host:port".
    QString path;
    QByteArray query;
    /// Keyed by lower-case name.
    QHash<QByteArray, QByteArray> headers;
};

/// A real HTTP/1.1 server on the loopback interface, on threads of its own: one request per connection,
/// scripted replies per path, 404 for every other path. Thread-safe. New replies for a path apply from the
/// next request on. The destructor closes every connection, stalled ones included.
///
///     HttpServer server;
///     download(server.serve(u"/game.zip"_s, { HttpReply::status(500), HttpReply::ok(bytes) }));
class HttpServer final {
public:
    /// With an `identity` it serves over TLS, and the address is "https://localhost:...".
    explicit HttpServer(const TestIdentity &identity = {});
    ~HttpServer();
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    /// Each request for `path` gets the next of `replies`; the last one repeats. Returns the URL of `path`.
    QUrl serve(const QString &path, const QList<HttpReply> &replies);
    QUrl serve(const QString &path, const HttpReply &reply);
    QUrl serve(const QString &path, const QByteArray &body);
    /// Lets every stalled reply continue, future ones included.
    void release();

    /// The server's address, without a path: "http://127.0.0.1:12345".
    QUrl address() const { return url({}); }
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

    void acceptConnections();

    std::shared_ptr<Shared> m_shared;
};
