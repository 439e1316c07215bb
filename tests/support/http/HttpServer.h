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

/// A request as it came.
struct HttpRequest {
    QByteArray method;
    /// The target without its query. Of a request to a proxy the whole address, of CONNECT "host:port".
    QString path;
    QByteArray query;
    /// By lower-case name.
    QHash<QByteArray, QByteArray> headers;
};

/// A real HTTP/1.1 server on the loopback interface, on threads of its own: one request per connection, one
/// scripted reply per path, 404 for every other path. All operations from any thread; a reply set anew counts
/// from the next request on. Destruction ends every connection, stalled ones included.
///
///     HttpServer server;
///     server.serve(u"/game.zip"_s, bytes);
///     download(server.url(u"/game.zip"_s));
class HttpServer final {
public:
    HttpServer();
    /// Over TLS with `identity`; the address is "https://localhost:...".
    explicit HttpServer(const TestIdentity &identity);
    ~HttpServer();
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    void serve(const QString &path, const QByteArray &body);
    void serve(const QString &path, const HttpReply &reply);
    void serveFile(const QString &path, const QString &file);
    /// Lets every stalled reply go on, those that come included.
    void release();

    /// The server's address, without a path: "http://127.0.0.1:12345".
    QUrl address() const;
    QUrl url(const QString &path) const;
    quint16 port() const;

    /// All requests so far, oldest first.
    QList<HttpRequest> requests() const;
    /// How many requests came for `path`.
    int requestCount(const QString &path) const;
    /// Connections that are open now. A client that goes is noticed within a moment, also during a stall or a
    /// pause.
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
