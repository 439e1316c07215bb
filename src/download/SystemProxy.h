#pragma once

#include <QByteArray>
#include <QUrl>

/// The proxy that the desktop's settings name for an address.
struct SystemProxy {
    /// As libcurl takes it ("http://proxy:3128", "socks5h://proxy:1080"), empty for a direct connection.
    QByteArray address;
    QByteArray user;
    QByteArray password;

    /// The proxy for `url`. Reads the desktop's settings, which may take a moment: not for the main thread.
    static SystemProxy forUrl(const QUrl &url);
};
