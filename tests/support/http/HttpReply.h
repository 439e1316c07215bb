#pragma once

#include <QByteArrayList>

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
    using Time = std::chrono::milliseconds;

    /// The status line, the length of `body`, and `body`.
    static HttpReply status(int code, const QByteArray &body = {});
    static HttpReply ok(const QByteArray &body) { return status(200, body); }
    static HttpReply redirect(const QByteArray &location, int code = 302);
    /// The status line and `headers`. Without a length the body ends with the connection.
    static HttpReply head(int code, const QByteArrayList &headers = {});
    /// 200 with each of `pieces` as one chunk, and the last chunk.
    static HttpReply chunked(const QByteArrayList &pieces);

    HttpReply &send(const QByteArray &bytes) { return add({ Step::Send, bytes }); }
    /// `bytes` in pieces of `piece` bytes with `pause` after each.
    HttpReply &sendSlowly(const QByteArray &bytes, qsizetype piece, Time pause);
    /// `bytes` again and again until the client disconnects.
    HttpReply &sendForever(const QByteArray &bytes, Time pause = {})
    {
        return add({ Step::SendForever, bytes, pause });
    }
    HttpReply &pause(Time time) { return add({ Step::Pause, {}, time }); }
    /// Sends nothing until `HttpServer::release`.
    HttpReply &stall() { return add({ Step::Stall }); }
    /// Ends the connection with a TCP reset.
    HttpReply &reset() { return add({ Step::Reset }); }
    /// Closes the connection; over TLS without the close_notify alert.
    HttpReply &cut() { return add({ Step::Cut }); }

private:
    friend class HttpServer;
    struct Step {
        enum Kind { Send, SendForever, Pause, Stall, Reset, Cut } kind;
        QByteArray bytes = {};
        Time time = {};
    };
    HttpReply &add(const Step &step);

    std::vector<Step> m_steps;
};
