#include "LoopbackPort.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

int boundLoopbackSocket(quint16 *port)
{
    const int descriptor = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto *plain = reinterpret_cast<sockaddr *>(&address);
    socklen_t size = sizeof address;
    if (descriptor < 0 || ::fcntl(descriptor, F_SETFD, FD_CLOEXEC) != 0
        || ::bind(descriptor, plain, size) != 0 || ::getsockname(descriptor, plain, &size) != 0)
        qFatal("No loopback port could be had for the test.");
    *port = ntohs(address.sin_port);
    return descriptor;
}

RefusingPort::RefusingPort()
    : m_socket(boundLoopbackSocket(&m_port)) // bound, so that nobody else gets the port, but not listening
{
}

RefusingPort::~RefusingPort() { ::close(m_socket); }

SilentPort::SilentPort()
    : m_socket(boundLoopbackSocket(&m_port))
{
    ::listen(m_socket, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(m_port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
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
    ::close(m_socket);
}
