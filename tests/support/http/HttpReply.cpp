#include "HttpReply.h"

HttpReply HttpReply::status(int code, const QByteArray &body)
{
    return head(code, { "Content-Length: " + QByteArray::number(body.size()) }).send(body);
}

HttpReply HttpReply::redirect(const QByteArray &location, int code)
{
    return head(code, { "Location: " + location, "Content-Length: 0" });
}

HttpReply HttpReply::head(int code, const QByteArrayList &headers)
{
    QByteArrayList lines { "HTTP/1.1 " + QByteArray::number(code) + (code < 300 ? " OK" : " Not so") };
    lines += headers;
    lines += { "Connection: close", {}, {} };
    return HttpReply().send(lines.join("\r\n"));
}

HttpReply HttpReply::chunked(const QByteArrayList &pieces)
{
    HttpReply reply = head(200, { "Transfer-Encoding: chunked" });
    for (const QByteArray &piece : pieces)
        reply.send(QByteArray::number(piece.size(), 16) + "\r\n" + piece + "\r\n");
    return reply.send("0\r\n\r\n");
}

HttpReply &HttpReply::sendSlowly(const QByteArray &bytes, qsizetype piece, Time time)
{
    for (qsizetype at = 0; at < bytes.size(); at += piece)
        send(bytes.mid(at, piece)).pause(time);
    return *this;
}

HttpReply &HttpReply::add(const Step &step)
{
    m_steps.push_back(step);
    return *this;
}
