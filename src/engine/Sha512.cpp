#include "EngineManager.h"

#include "AppError.h"
#include "CancellationError.h"
#include "FileError.h"

#include <QByteArray>
#include <QFile>

#ifdef Q_OS_MACOS
#include <CommonCrypto/CommonDigest.h>
#else
#include <openssl/evp.h>
#endif

#include <cerrno>
#include <cstdio>

namespace {

// Qt's own SHA-512 takes more than three times as long, and engine archives are large.
#ifdef Q_OS_MACOS

class Hash final {
public:
    Hash() { CC_SHA512_Init(&m_context); }

    void add(const char *data, std::size_t size)
    {
        CC_SHA512_Update(&m_context, data, static_cast<CC_LONG>(size));
    }

    QByteArray finish()
    {
        QByteArray digest(CC_SHA512_DIGEST_LENGTH, '\0');
        CC_SHA512_Final(reinterpret_cast<unsigned char *>(digest.data()), &m_context);
        return digest;
    }

private:
    CC_SHA512_CTX m_context = {};
};

#else

class Hash final {
public:
    Hash()
        : m_context(EVP_MD_CTX_new())
    {
        check(m_context && EVP_DigestInit_ex(m_context.get(), EVP_sha512(), nullptr) == 1);
    }

    void add(const char *data, std::size_t size)
    {
        check(EVP_DigestUpdate(m_context.get(), data, size) == 1);
    }

    QByteArray finish()
    {
        QByteArray digest(EVP_MD_size(EVP_sha512()), '\0');
        check(EVP_DigestFinal_ex(m_context.get(), reinterpret_cast<unsigned char *>(digest.data()), nullptr)
              == 1);
        return digest;
    }

private:
    static void check(bool worked)
    {
        if (!worked)
            throw AppError::message(QStringLiteral("The checksum of the download could not be computed."));
    }

    struct Free {
        void operator()(EVP_MD_CTX *context) const { EVP_MD_CTX_free(context); }
    };
    std::unique_ptr<EVP_MD_CTX, Free> m_context;
};

#endif

struct Close {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

}

QString EngineManager::sha512(const QString &file, const std::stop_token &stop)
{
    constexpr qsizetype pieceSize = 4 * 1024 * 1024;

    const std::unique_ptr<std::FILE, Close> input(std::fopen(QFile::encodeName(file).constData(), "rb"));
    if (!input)
        throw FileError(file, QStringLiteral("opened"), errno);
    std::setvbuf(input.get(), nullptr, _IONBF, 0);

    Hash hash;
    QByteArray piece(pieceSize, Qt::Uninitialized);
    for (;;) {
        const std::size_t count
            = std::fread(piece.data(), 1, static_cast<std::size_t>(pieceSize), input.get());
        if (std::ferror(input.get()))
            throw FileError(file, QStringLiteral("read"), errno);
        if (count == 0)
            break;
        hash.add(piece.constData(), count);
        throwIfCancelled(stop);
    }
    return QString::fromLatin1(hash.finish().toHex());
}
