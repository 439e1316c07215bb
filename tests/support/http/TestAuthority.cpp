#include "TestAuthority.h"

#include <QtGlobal>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <map>

namespace {

template <auto Free> struct Freer {
    template <typename T> void operator()(T *object) const { Free(object); }
};

constexpr long day = 24 * 60 * 60;

void require(bool worked)
{
    if (!worked)
        qFatal("A certificate for the test could not be made.");
}

template <typename Write> QByteArray pem(Write write)
{
    const std::unique_ptr<BIO, Freer<BIO_free_all>> memory(BIO_new(BIO_s_mem()));
    require(write(memory.get()) == 1);
    char *text = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &text);
    return QByteArray(text, length);
}

/// A certificate and its key.
struct Identity {
    std::unique_ptr<X509, Freer<X509_free>> certificate;
    std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY_free>> key;

    QByteArray certificateText() const
    {
        return pem([this](BIO *memory) { return PEM_write_bio_X509(memory, certificate.get()); });
    }
    TestIdentity text() const
    {
        return { certificateText(), pem([this](BIO *memory) {
                     return PEM_write_bio_PrivateKey(memory, key.get(), nullptr, nullptr, 0, nullptr,
                                                     nullptr);
                 }) };
    }
};

/// The value of an extension by its kind.
using Extensions = std::map<int, QByteArray>;

/// Signed by `issuer`, or by itself without one.
Identity issued(const QByteArray &name, const Extensions &extensions, const Identity *issuer = nullptr,
                TestAuthority::Validity validity = TestAuthority::Validity::Current)
{
    static long serial = 1;
    Identity made { decltype(Identity::certificate)(X509_new()),
                    decltype(Identity::key)(EVP_EC_gen("P-256")) };
    X509 *const certificate = made.certificate.get();
    require(certificate && made.key);
    X509_set_version(certificate, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), ++serial);
    const bool expired = validity == TestAuthority::Validity::Expired;
    X509_gmtime_adj(X509_getm_notBefore(certificate), -2 * day);
    X509_gmtime_adj(X509_getm_notAfter(certificate), expired ? -day : day);
    X509_set_pubkey(certificate, made.key.get());
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char *>(name.constData()), -1, -1, 0);

    const Identity &signer = issuer ? *issuer : made;
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, signer.certificate.get(), certificate, nullptr, nullptr, 0);
    for (const auto &[kind, value] : extensions) {
        const std::unique_ptr<X509_EXTENSION, Freer<X509_EXTENSION_free>> extension(
            X509V3_EXT_conf_nid(nullptr, &context, kind, value.constData()));
        require(extension && X509_add_ext(certificate, extension.get(), -1));
    }
    X509_set_issuer_name(certificate, X509_get_subject_name(signer.certificate.get()));
    require(X509_sign(certificate, signer.key.get(), EVP_sha256()) > 0);
    return made;
}

Extensions forHost(const QByteArray &host) { return { { NID_subject_alt_name, "DNS:" + host } }; }

}

struct TestAuthority::Private {
    Identity identity = issued(
        "Test authority",
        { { NID_basic_constraints, "critical,CA:TRUE" }, { NID_key_usage, "critical,keyCertSign" } });
};

TestAuthority::TestAuthority()
    : m_private(std::make_unique<Private>())
{
}

TestAuthority::~TestAuthority() = default;

QByteArray TestAuthority::certificate() const { return m_private->identity.certificateText(); }

TestIdentity TestAuthority::issue(const QByteArray &host, Validity validity) const
{
    return issued(host, forHost(host), &m_private->identity, validity).text();
}

TestIdentity TestAuthority::selfSigned(const QByteArray &host) { return issued(host, forHost(host)).text(); }
