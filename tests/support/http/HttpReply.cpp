#include "HttpReply.h"

#include <QFileInfo>

namespace {

QByteArray statusLine(int code)
{
    return "HTTP/1.1 " + QByteArray::number(code) + (code < 300 ? " OK" : " Not so");
}

}

HttpReply HttpReply::status(int code, const QByteArray &body)
{
    return head(code, { "Content-Length: " + QByteArray::number(body.size()) }).send(body);
}

HttpReply HttpReply::file(const QString &path)
{
    const QByteArray size = QByteArray::number(QFileInfo(path).size());
    return head(200, { "Content-Length: " + size }).sendFile(path);
}

HttpReply HttpReply::redirect(const QByteArray &location, int code)
{
    return head(code, { "Location: " + location, "Content-Length: 0" });
}

HttpReply HttpReply::head(int code, const QByteArrayList &headers)
{
    QByteArrayList lines { statusLine(code) };
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

HttpReply &HttpReply::add(Step step)
{
    m_steps.push_back(std::move(step));
    return *this;
}

HttpReply &HttpReply::send(const QByteArray &bytes)
{
    return add({ .kind = Step::Kind::Send, .bytes = bytes });
}

HttpReply &HttpReply::sendFile(const QString &path)
{
    return add({ .kind = Step::Kind::SendFile, .path = path });
}

HttpReply &HttpReply::sendSlowly(const QByteArray &bytes, qsizetype piece, std::chrono::milliseconds pause)
{
    for (qsizetype at = 0; at < bytes.size(); at += piece)
        send(bytes.mid(at, piece)).add({ .kind = Step::Kind::Pause, .time = pause });
    return *this;
}

HttpReply &HttpReply::sendForever(const QByteArray &bytes, std::chrono::milliseconds pause)
{
    return add({ .kind = Step::Kind::SendForever, .bytes = bytes, .time = pause });
}

HttpReply &HttpReply::pause(std::chrono::milliseconds time)
{
    return add({ .kind = Step::Kind::Pause, .time = time });
}

HttpReply &HttpReply::stall() { return add({ .kind = Step::Kind::Stall }); }

HttpReply &HttpReply::reset() { return add({ .kind = Step::Kind::Reset }); }

HttpReply &HttpReply::cut() { return add({ .kind = Step::Kind::Cut }); }
