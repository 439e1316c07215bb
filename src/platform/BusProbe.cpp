#include "BusProbe.h"

#include "FileDescriptor.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <string_view>

namespace {

using namespace std::string_view_literals;

/// What every client begins with, asking how it may prove who it is.
constexpr std::string_view greeting = "\0AUTH\r\n"sv;

/// The path of the socket in an address such as "unix:path=/run/user/1000/bus,guid=0123", which begins with a
/// zero byte if the socket is not in the file system. Empty for other kinds of addresses.
QByteArray socketPath(const QString &address)
{
    const QByteArray first = address.toUtf8().split(';').first();
    const QByteArray kind = "unix:";
    if (!first.startsWith(kind))
        return {};
    const QList<QByteArray> values = first.mid(kind.size()).split(',');
    for (const QByteArray &value : values) {
        if (value.startsWith("path="))
            return QByteArray::fromPercentEncoding(value.mid(5));
        if (value.startsWith("abstract="))
            return '\0' + QByteArray::fromPercentEncoding(value.mid(9));
    }
    return {};
}

FileDescriptor connectTo(const QByteArray &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (static_cast<std::size_t>(path.size()) >= sizeof address.sun_path)
        return {};
    std::copy(path.cbegin(), path.cend(), address.sun_path);
    const auto size
        = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + static_cast<std::size_t>(path.size()));
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto *general = reinterpret_cast<const sockaddr *>(&address);
    if (!socket.isOpen() || ::connect(socket.get(), general, size) != 0)
        return {};
    return socket;
}

}

bool BusProbe::responds(const QString &address)
{
    const QByteArray path = socketPath(address);
    if (path.isEmpty())
        return true; // the library knows more kinds of addresses
    const FileDescriptor socket = connectTo(path);
    if (!socket.isOpen() || ::send(socket.get(), greeting.data(), greeting.size(), MSG_NOSIGNAL) < 0)
        return false;
    std::array<char, 256> answer = {};
    ssize_t size = 0;
    do {
        size = ::recv(socket.get(), answer.data(), answer.size(), 0);
    } while (size < 0 && errno == EINTR);
    return size > 0;
}
