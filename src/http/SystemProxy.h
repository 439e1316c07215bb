#pragma once

#include <QByteArray>
#include <QUrl>

#include <future>

/// The proxy that the desktop's settings name for an address.
struct SystemProxy {
    /// As libcurl takes it ("http://proxy:3128", "socks5h://proxy:1080"), empty for a direct connection.
    QByteArray address;
    QByteArray user;
    QByteArray password;

    /// The proxy for `url`. May block for any length of time: the desktop's settings may name a script that
    /// has to be fetched first.
    static SystemProxy forUrl(const QUrl &url);

    /// The same on a thread of its own, since `forUrl` cannot be interrupted. Dropping the future abandons
    /// that thread. Throws std::system_error when no thread can be started.
    static std::future<SystemProxy> lookUp(const QUrl &url);
};
