// The launcher with a local stand-in for the code-hosting service, for trying it out and for tests. Not
// installed.

#include "Launcher.h"

#include <QUrl>

#include <cstdio>

namespace {

/// Whether `url` is a scheme, a host and an optional port and nothing else, such as "http://127.0.0.1:8080".
bool isAddress(const QUrl &url)
{
    const bool isWeb
        = url.scheme() == QLatin1StringView("http") || url.scheme() == QLatin1StringView("https");
    return url.isValid() && isWeb && !url.host().isEmpty()
        && url.toString(QUrl::RemoveScheme | QUrl::RemoveAuthority).isEmpty();
}

}

int main(int argc, char **argv)
{
    const QUrl codeHost(argc == 2 ? QString::fromLocal8Bit(argv[1]) : QString(), QUrl::StrictMode);
    if (!isAddress(codeHost)) {
        std::fputs("Usage: vantor-platformer-local http://127.0.0.1:PORT\n", stderr);
        return 2;
    }
    return Launcher::run(argv[0], codeHost);
}
