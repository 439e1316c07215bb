#include "TestAuthority.h"

#include <QtGlobal>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace {

template <auto Free> struct Freer {
    template <typename T> void operator()(T *object) const { Free(object); }
};

using Key = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freer<X509_free>>;
using Memory = std::unique_ptr<BIO, Freer<BIO_free_all>>;

constexpr long day = 24 * 60 * 60;

void require(bool worked)
{
    if (!worked)
        qFatal("A certificate for the test could not be made.");
}

Key newKey()
{
    Key key(EVP_EC_gen("P-256"));
    require(key != nullptr);
    return key;
}

void addExtension(X509 *certificate, X509 *issuer, int kind, const QByteArray &value)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, Freer<X509_EXTENSION_free>> extension(
        X509V3_EXT_conf_nid(nullptr, &context, kind, value.constData()));
    require(extension && X509_add_ext(certificate, extension.get(), -1));
}

/// A certificate without extensions and without a signature.
Certificate newCertificate(const QByteArray &name, EVP_PKEY *key, TestAuthority::Validity validity)
{
    static long serial = 1;
    Certificate certificate(X509_new());
    X509_set_version(certificate.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), ++serial);
    const bool expired = validity == TestAuthority::Validity::Expired;
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -2 * day);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), expired ? -day : day);
    X509_set_pubkey(certificate.get(), key);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char *>(name.constData()), -1, -1, 0);
    return certificate;
}

void sign(X509 *certificate, X509 *issuer, EVP_PKEY *issuersKey)
{
    X509_set_issuer_name(certificate, X509_get_subject_name(issuer));
    require(X509_sign(certificate, issuersKey, EVP_sha256()) > 0);
}

QByteArray taken(const Memory &memory)
{
    char *text = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &text);
    return QByteArray(text, length);
}

QByteArray pem(X509 *certificate)
{
    const Memory memory(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_X509(memory.get(), certificate));
    return taken(memory);
}

QByteArray pem(EVP_PKEY *key)
{
    const Memory memory(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_PrivateKey(memory.get(), key, nullptr, nullptr, 0, nullptr, nullptr));
    return taken(memory);
}

}

struct TestAuthority::Private {
    Key key = newKey();
    Certificate certificate = newCertificate("Test authority", key.get(), Validity::Current);
};

TestAuthority::TestAuthority()
    : m_private(std::make_unique<Private>())
{
    X509 *certificate = m_private->certificate.get();
    addExtension(certificate, certificate, NID_basic_constraints, "critical,CA:TRUE");
    addExtension(certificate, certificate, NID_key_usage, "critical,keyCertSign");
    sign(certificate, certificate, m_private->key.get());
}

TestAuthority::~TestAuthority() = default;

QByteArray TestAuthority::certificate() const { return pem(m_private->certificate.get()); }

TestIdentity TestAuthority::issue(const QByteArray &host, Validity validity) const
{
    const Key key = newKey();
    const Certificate certificate = newCertificate(host, key.get(), validity);
    addExtension(certificate.get(), m_private->certificate.get(), NID_subject_alt_name, "DNS:" + host);
    sign(certificate.get(), m_private->certificate.get(), m_private->key.get());
    return { pem(certificate.get()), pem(key.get()) };
}

TestIdentity TestAuthority::selfSigned(const QByteArray &host)
{
    const Key key = newKey();
    const Certificate certificate = newCertificate(host, key.get(), Validity::Current);
    addExtension(certificate.get(), certificate.get(), NID_subject_alt_name, "DNS:" + host);
    sign(certificate.get(), certificate.get(), key.get());
    return { pem(certificate.get()), pem(key.get()) };
}
