#include "EngineManager.h"

#include "CancellationError.h"
#include "FileError.h"
#include "TestHome.h"

#include <QCryptographicHash>

class Sha512Test final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aKnownTextHasItsKnownHash()
    {
        const TestHome home;
        QCOMPARE(EngineManager::sha512(home.write(QStringLiteral("file"), "abc")),
                 QStringLiteral("ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
                                "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"));
    }

    void anEmptyFileHasAHash()
    {
        const TestHome home;
        QCOMPARE(EngineManager::sha512(home.write(QStringLiteral("file"), QByteArray())),
                 QStringLiteral("cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
                                "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e"));
    }

    void filesAroundTheSizeOfAPieceAreReadWhole_data()
    {
        QTest::addColumn<int>("size");
        constexpr int piece = 4 * 1024 * 1024;
        for (const int size : { piece - 1, piece, piece + 1, 3 * piece, 3 * piece + 17 })
            QTest::addRow("%d", size) << size;
    }

    void filesAroundTheSizeOfAPieceAreReadWhole()
    {
        QFETCH(int, size);
        QByteArray content(size, 'x');
        content.back() = 'y';
        const TestHome home;
        QCOMPARE(EngineManager::sha512(home.write(QStringLiteral("file"), content)),
                 QString::fromLatin1(QCryptographicHash::hash(content, QCryptographicHash::Sha512).toHex()));
    }

    void aMissingFileIsTheSystemsError()
    {
        const TestHome home;
        const auto error = failure(home.filePath(QStringLiteral("none")));
        QVERIFY(error);
        QCOMPARE(error->code(), ENOENT);
    }

    void aFolderCannotBeRead()
    {
        const TestHome home;
        const auto error = failure(home.path());
        QVERIFY(error);
        QCOMPARE(error->code(), EISDIR);
    }

    void aStopEndsTheReading()
    {
        const TestHome home;
        std::stop_source stop;
        stop.request_stop();
        const QString file = home.write(QStringLiteral("file"), "content");
        QVERIFY_THROWS_EXCEPTION(CancellationError, EngineManager::sha512(file, stop.get_token()));
    }

private:
    static std::optional<FileError> failure(const QString &file)
    {
        try {
            EngineManager::sha512(file);
        } catch (const FileError &error) {
            return error;
        }
        return std::nullopt;
    }
};

QTEST_GUILESS_MAIN(Sha512Test)
#include "Sha512Test.moc"
