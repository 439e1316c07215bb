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

    /// The proxy for `url`. Reads the desktop's settings, which takes as long as it takes: they may name a
    /// script that has to be fetched first.
    static SystemProxy forUrl(const QUrl &url);

    /// The same on a thread of its own, since nothing can interrupt it. Who no longer wants the result lets
    /// go of it and leaves that thread behind. Throws std::system_error when the system refuses a thread.
    static std::future<SystemProxy> lookUp(const QUrl &url);
};
