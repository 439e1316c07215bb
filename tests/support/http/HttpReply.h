#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <chrono>
#include <vector>

/// What the server sends in reply to one request, step by step. After the last step it closes the connection
/// cleanly. Bytes are sent unchanged, so a reply can be as broken as a test needs; `HttpReply()` alone closes
/// the connection without sending any.
///
///     HttpReply::ok(zip)
///     HttpReply::head(200, { "Content-Length: 100" }).send(half).reset()
///     HttpReply::head(200).sendForever("x", std::chrono::milliseconds(500))
class HttpReply final {
public:
    /// The status line, the length of `body`, and `body`.
    static HttpReply status(int code, const QByteArray &body = {});
    static HttpReply ok(const QByteArray &body) { return status(200, body); }
    /// 200, the file's length, and the file read in pieces.
    static HttpReply file(const QString &path);
    static HttpReply redirect(const QByteArray &location, int code = 302);
    /// The status line and `headers`. Without a length the body ends with the connection.
    static HttpReply head(int code, const QByteArrayList &headers = {});
    /// 200 with each of `pieces` as one chunk, and the last chunk.
    static HttpReply chunked(const QByteArrayList &pieces);

    HttpReply &send(const QByteArray &bytes);
    HttpReply &sendFile(const QString &path);
    /// `bytes` in pieces of `piece` bytes with `pause` between them.
    HttpReply &sendSlowly(const QByteArray &bytes, qsizetype piece, std::chrono::milliseconds pause);
    /// `bytes` again and again until the client disconnects.
    HttpReply &sendForever(const QByteArray &bytes, std::chrono::milliseconds pause = {});
    HttpReply &pause(std::chrono::milliseconds time);
    /// Sends nothing until `HttpServer::release`.
    HttpReply &stall();
    /// Ends the connection with a TCP reset.
    HttpReply &reset();
    /// Closes the connection; over TLS without the close_notify alert.
    HttpReply &cut();

private:
    friend class HttpServer;
    struct Step {
        enum class Kind { Send, SendFile, SendForever, Pause, Stall, Reset, Cut };
        Kind kind = Kind::Send;
        QByteArray bytes = {};
        QString path = {};
        std::chrono::milliseconds time = {};
    };
    HttpReply &add(Step step);

    std::vector<Step> m_steps;
};
