#pragma once

#include <QByteArray>

#include <memory>

/// A server's certificate and its private key, as PEM.
struct TestIdentity {
    QByteArray certificate;
    QByteArray key;
};

/// A certificate authority made for one test. Only clients that are given `certificate()` trust it.
class TestAuthority final {
public:
    enum class Validity { Current, Expired };

    TestAuthority();
    ~TestAuthority();
    TestAuthority(const TestAuthority &) = delete;
    TestAuthority &operator=(const TestAuthority &) = delete;

    /// The authority's own certificate, as PEM.
    QByteArray certificate() const;

    /// A certificate for `host`, signed by this authority.
    TestIdentity issue(const QByteArray &host = "localhost", Validity validity = Validity::Current) const;

    /// A self-signed certificate for `host`.
    static TestIdentity selfSigned(const QByteArray &host = "localhost");

private:
    struct Private;
    std::unique_ptr<Private> m_private;
};
