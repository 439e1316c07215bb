#include "SystemProxy.h"

#include <QNetworkProxy>

#include <thread>

using namespace Qt::StringLiterals;

namespace {

/// libcurl's scheme for `type`, empty for a type that cannot carry HTTP.
QString schemeOf(QNetworkProxy::ProxyType type)
{
    switch (type) {
    case QNetworkProxy::HttpProxy:
    case QNetworkProxy::HttpCachingProxy:
        return u"http"_s;
    case QNetworkProxy::Socks5Proxy:
        return u"socks5h"_s; // the proxy resolves host names, as with Qt
    default:
        return {};
    }
}

}

SystemProxy SystemProxy::forUrl(const QUrl &url)
{
    const QNetworkProxyQuery query(url);
    const auto proxies = QNetworkProxyFactory::systemProxyForQuery(query);
    for (const QNetworkProxy &proxy : proxies) {
        if (proxy.type() == QNetworkProxy::NoProxy)
            break;
        QUrl address;
        address.setScheme(schemeOf(proxy.type()));
        if (address.scheme().isEmpty())
            continue;
        address.setHost(proxy.hostName());
        address.setPort(proxy.port());
        return { address.toEncoded(), proxy.user().toUtf8(), proxy.password().toUtf8() };
    }
    return {};
}

std::future<SystemProxy> SystemProxy::lookUp(const QUrl &url)
{
    std::promise<SystemProxy> promise;
    auto proxy = promise.get_future();
    std::thread([url, promise = std::move(promise)]() mutable {
        try {
            promise.set_value(forUrl(url));
        } catch (...) {
            promise.set_exception(std::current_exception());
        }
    }).detach();
    return proxy;
}
