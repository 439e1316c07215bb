#include "HttpServer.h"

#include "LoopbackPort.h"
#include "Socket.h"

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <fcntl.h>
#include <list>
#include <mutex>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr qsizetype longestRequest = 64 * 1024;

}

/// What the accepting thread, the connections' threads and the test share.
struct HttpServer::Shared {
    // Set before any thread starts.
    LoopbackPort port;
    int wakeUp[2] = { -1, -1 };
    TlsContext tls;

    mutable std::mutex lock;
    std::condition_variable changed; // stopping or released
    bool stopping = false;
    bool released = false;
    QHash<QString, QList<HttpReply>> replies;
    QList<HttpRequest> requests;
    int accepted = 0;
    int open = 0;
    std::list<Connection> connections;

    std::thread acceptor;
};

/// One connection and its thread.
class HttpServer::Connection final {
public:
    Connection(Shared *shared, int descriptor)
        : m_shared(shared)
        , m_socket(std::make_unique<Socket>(descriptor, shared->tls))
        , m_thread([this] { run(); })
    {
    }

    /// Call with the lock held; otherwise the connection's thread may close the socket meanwhile.
    void interrupt() const
    {
        if (m_socket)
            m_socket->interrupt();
    }

    void join() { m_thread.join(); }

private:
    void run()
    {
        if (m_socket->greet()) {
            const auto request = readRequest();
            const auto perform = [this](const HttpReply::Step &step) { return this->perform(step); };
            if (request && std::ranges::all_of(replyTo(*request).m_steps, perform))
                m_socket->finish();
        }
        // Moved out under the lock and closed outside it.
        std::unique_ptr<Socket> socket;
        {
            const std::lock_guard guard(m_shared->lock);
            socket = std::move(m_socket);
        }
        socket.reset();
        const std::lock_guard guard(m_shared->lock);
        --m_shared->open;
    }

    std::optional<HttpRequest> readRequest()
    {
        QByteArray bytes;
        while (!bytes.contains("\r\n\r\n")) {
            const QByteArray piece = m_socket->read();
            bytes += piece;
            if (piece.isEmpty() || bytes.size() > longestRequest)
                return std::nullopt;
        }
        QByteArrayList lines = bytes.left(bytes.indexOf("\r\n\r\n")).split('\n');
        const QByteArrayList words = lines.takeFirst().trimmed().split(' ');
        if (words.size() != 3)
            return std::nullopt;
        HttpRequest request;
        request.method = words[0];
        const QByteArrayList target = words[1].split('?');
        request.path = QUrl::fromPercentEncoding(target.first());
        request.query = target.mid(1).join('?');
        for (const QByteArray &line : lines) {
            const auto colon = line.indexOf(':');
            request.headers.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
        }
        return request;
    }

    HttpReply replyTo(const HttpRequest &request)
    {
        const std::lock_guard guard(m_shared->lock);
        m_shared->requests.append(request);
        QList<HttpReply> &replies = m_shared->replies[request.path];
        if (replies.isEmpty())
            return HttpReply::status(404, "There is nothing here.");
        return replies.size() > 1 ? replies.takeFirst() : replies.first();
    }

    /// Returns false if the connection ends here.
    bool perform(const HttpReply::Step &step)
    {
        switch (step.kind) {
        case HttpReply::Step::Send:
            return m_socket->write(step.bytes);
        case HttpReply::Step::SendForever:
            while (m_socket->write(step.bytes) && wait(step.time)) { }
            return false;
        case HttpReply::Step::Pause:
            return wait(step.time);
        case HttpReply::Step::Stall:
            return wait(std::chrono::hours(1), Until::Release);
        case HttpReply::Step::Reset:
            m_socket->resetOnClose();
            return false;
        case HttpReply::Step::Cut:
            return false;
        }
        return false;
    }

    enum class Until { TimeIsOver, Release };

    /// Waits for `time`, or for the release. Returns false if the connection must end: the client has
    /// disconnected or the server is stopping.
    bool wait(std::chrono::milliseconds time, Until until = Until::TimeIsOver)
    {
        const auto end = std::chrono::steady_clock::now() + time;
        std::unique_lock guard(m_shared->lock);
        while (!m_shared->stopping && !m_socket->isAbandoned()) {
            const auto left = end - std::chrono::steady_clock::now();
            if (left <= 0s || (until == Until::Release && m_shared->released))
                return true;
            m_shared->changed.wait_for(guard, std::min<std::chrono::nanoseconds>(left, 20ms));
        }
        return false;
    }

    Shared *m_shared;
    std::unique_ptr<Socket> m_socket;
    std::thread m_thread;
};

HttpServer::HttpServer(const TestIdentity &identity)
    : m_shared(std::make_shared<Shared>())
{
    if (!identity.certificate.isEmpty())
        m_shared->tls = makeTlsContext(identity.certificate, identity.key);
    if (::listen(m_shared->port.socket(), 64) != 0 || ::pipe(m_shared->wakeUp) != 0)
        qFatal("The test server cannot listen.");
    for (const int end : m_shared->wakeUp)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);

    // As in the launcher: writing to a peer that has disconnected must not end the program.
    std::signal(SIGPIPE, SIG_IGN);
    m_shared->acceptor = std::thread([this] { acceptConnections(); });
}

HttpServer::~HttpServer()
{
    {
        const std::lock_guard guard(m_shared->lock);
        m_shared->stopping = true;
    }
    m_shared->changed.notify_all();
    if (::write(m_shared->wakeUp[1], "!", 1) != 1)
        qFatal("The test server cannot be stopped.");
    m_shared->acceptor.join();
    {
        const std::lock_guard guard(m_shared->lock);
        for (const Connection &connection : m_shared->connections)
            connection.interrupt();
    }
    for (Connection &connection : m_shared->connections)
        connection.join();
    ::close(m_shared->wakeUp[0]);
    ::close(m_shared->wakeUp[1]);
}

void HttpServer::acceptConnections()
{
    const int listener = m_shared->port.socket();
    while (true) {
        pollfd events[] = { { listener, POLLIN, 0 }, { m_shared->wakeUp[0], POLLIN, 0 } };
        ::poll(events, 2, -1);
        if (events[1].revents)
            return;
        const int descriptor = ::accept(listener, nullptr, nullptr);
        if (descriptor < 0)
            continue;
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        const std::lock_guard guard(m_shared->lock);
        ++m_shared->accepted;
        ++m_shared->open;
        m_shared->connections.emplace_back(m_shared.get(), descriptor);
    }
}

QUrl HttpServer::serve(const QString &path, const QList<HttpReply> &replies)
{
    const std::lock_guard guard(m_shared->lock);
    m_shared->replies.insert(path, replies);
    return url(path);
}

QUrl HttpServer::serve(const QString &path, const HttpReply &reply)
{
    return serve(path, QList<HttpReply> { reply });
}

QUrl HttpServer::serve(const QString &path, const QByteArray &body)
{
    return serve(path, HttpReply::ok(body));
}

void HttpServer::release()
{
    {
        const std::lock_guard guard(m_shared->lock);
        m_shared->released = true;
    }
    m_shared->changed.notify_all();
}

QUrl HttpServer::url(const QString &path) const
{
    QUrl url = m_shared->port.url(path);
    if (m_shared->tls) {
        url.setScheme(QStringLiteral("https"));
        url.setHost(QStringLiteral("localhost"));
    }
    return url;
}

quint16 HttpServer::port() const { return m_shared->port.port(); }

QList<HttpRequest> HttpServer::requests() const
{
    const std::lock_guard guard(m_shared->lock);
    return m_shared->requests;
}

int HttpServer::requestCount(const QString &path) const
{
    const QList<HttpRequest> all = requests();
    return static_cast<int>(std::ranges::count(all, path, &HttpRequest::path));
}

int HttpServer::openConnections() const
{
    const std::lock_guard guard(m_shared->lock);
    return m_shared->open;
}

int HttpServer::connectionCount() const
{
    const std::lock_guard guard(m_shared->lock);
    return m_shared->accepted;
}
