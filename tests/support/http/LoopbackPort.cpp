#include "LoopbackPort.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

sockaddr_in loopback(quint16 port)
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}

LoopbackPort::LoopbackPort()
    : m_socket(::socket(AF_INET, SOCK_STREAM, 0))
{
    sockaddr_in address = loopback(0);
    auto *plain = reinterpret_cast<sockaddr *>(&address);
    socklen_t size = sizeof address;
    if (m_socket < 0 || ::fcntl(m_socket, F_SETFD, FD_CLOEXEC) != 0 || ::bind(m_socket, plain, size) != 0
        || ::getsockname(m_socket, plain, &size) != 0)
        qFatal("No loopback port could be had for the test.");
    m_port = ntohs(address.sin_port);
}

LoopbackPort::~LoopbackPort() { ::close(m_socket); }

QUrl LoopbackPort::url(const QString &path) const
{
    QUrl url(QStringLiteral("http://127.0.0.1"));
    url.setPort(m_port);
    url.setPath(path);
    return url;
}

SilentPort::SilentPort()
{
    ::listen(socket(), 0);
    const sockaddr_in address = loopback(port());
    for (int i = 0; i < 4; ++i) {
        const int filler = ::socket(AF_INET, SOCK_STREAM, 0);
        ::fcntl(filler, F_SETFL, O_NONBLOCK);
        ::connect(filler, reinterpret_cast<const sockaddr *>(&address), sizeof address);
        m_fillers.push_back(filler);
    }
}

SilentPort::~SilentPort()
{
    for (const int filler : m_fillers)
        ::close(filler);
}
