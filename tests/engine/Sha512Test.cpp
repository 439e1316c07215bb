#include "EngineManager.h"

#include "CancellationError.h"
#include "FileError.h"
#include "Rows.h"
#include "TestHome.h"

#include <QCryptographicHash>

using namespace Qt::StringLiterals;

class Sha512Test final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFileHasTheHashOfItsContent_data()
    {
        const auto row = rows([](const QByteArray &content, const QByteArray &hash) {
            const TestHome home;
            QCOMPARE(EngineManager::sha512(home.write(u"file"_s, content)).toLatin1(), hash);
        });
        row("a known text", "abc",
            "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
            "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f");
        row("nothing", "",
            "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
            "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e");
        constexpr int chunk = 4 * 1024 * 1024; // is read at once
        for (const int size : { chunk - 1, chunk, chunk + 1, 3 * chunk, 3 * chunk + 17 }) {
            const QByteArray content = QByteArray(size - 1, 'x') + 'y';
            row(QByteArray::number(size).constData(), content,
                QCryptographicHash::hash(content, QCryptographicHash::Sha512).toHex());
        }
    }
    void aFileHasTheHashOfItsContent() { runRow(); }

    void whatCannotBeReadIsTheSystemsError()
    {
        const TestHome home;
        QCOMPARE(codeOf(home.filePath(u"missing"_s)), ENOENT);
        QCOMPARE(codeOf(home.path()), EISDIR);
    }

    void aStopEndsTheReading()
    {
        const TestHome home;
        std::stop_source stop;
        stop.request_stop();
        const QString file = home.write(u"file"_s, "content");
        QVERIFY_THROWS_EXCEPTION(CancellationError, EngineManager::sha512(file, stop.get_token()));
    }

private:
    /// The errno value that hashing `file` fails with, 0 when it does not fail.
    static int codeOf(const QString &file)
    {
        try {
            EngineManager::sha512(file);
        } catch (const FileError &error) {
            return error.code();
        }
        return 0;
    }
};

QTEST_GUILESS_MAIN(Sha512Test)
#include "Sha512Test.moc"
