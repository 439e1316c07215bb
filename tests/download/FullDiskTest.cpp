#include "FileDownloader.h"
#include "FileError.h"
#include "HttpServer.h"
#include "TransferTesting.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#if defined(Q_OS_LINUX)
#include <sys/mount.h>
#endif

using namespace Qt::StringLiterals;
using namespace TransferTesting;

class FullDiskTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aDiskThatFillsUpIsAFileErrorAndLeavesNothing()
    {
#if defined(Q_OS_LINUX)
        const QByteArray folder = QFile::encodeName(m_folder.path());
        if (::mount("none", folder.constData(), "tmpfs", 0, "size=256k") != 0)
            QSKIP("Only the superuser can make a small disk.");
        const auto unmount = qScopeGuard([folder] { ::umount(folder.constData()); });
        const auto error = downloadFailure();
        QVERIFY(error);
        QCOMPARE(error->code(), ENOSPC);
        QVERIFY2(error->errorDescription().contains(u"game.zip"_s), qPrintable(error->errorDescription()));
        QVERIFY(QDir(m_folder.path()).isEmpty());
#else
        QSKIP("There is no small disk to be had here.");
#endif
    }

    void aFileThatMayNotGrowIsAFileErrorAndLeavesNothing()
    {
        // By default this signal ends the program.
        const auto before = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit {};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &limit), 0);
        const rlimit small { 100'000, limit.rlim_max };
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
        const auto error = downloadFailure();
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        std::signal(SIGXFSZ, before);

        QVERIFY(error);
        QCOMPARE(error->code(), EFBIG);
        QVERIFY(QDir(m_folder.path()).isEmpty());
    }

private:
    std::optional<FileError> downloadFailure()
    {
        HttpServer server;
        server.serve(u"/game.zip"_s, someBytes(1'000'000));
        const auto download = std::make_shared<FileDownloader>(server.url(u"/game.zip"_s),
                                                               m_folder.filePath(u"game.zip"_s), nullptr);
        return Tasks::failure<FileError>(download->start());
    }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(FullDiskTest)
#include "FullDiskTest.moc"
