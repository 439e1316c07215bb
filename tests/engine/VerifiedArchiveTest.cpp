#include "AppError.h"
#include "CodeHost.h"
#include "Desktop.h"
#include "EngineManager.h"
#include "FileError.h"
#include "HttpServer.h"
#include "LogStore.h"
#include "Paths.h"
#include "Tasks.h"
#include "TestHome.h"
#include "ZipBuilder.h"

#include <QCryptographicHash>
#include <QProcess>

namespace {

const auto checking = QStringLiteral("Checking the download against the official SHA-512 checksum");
const auto matches = QStringLiteral("Checksum matches");
const auto doesNotMatch = QStringLiteral(
    "The Godot download did not match its official checksum, so it was thrown away. Please try again.");
const auto isALink
    = QStringLiteral("“Godot_v4.3-stable_linux.x86_64.zip” could not be opened: Too many levels of symbolic "
                     "links.");

const auto isNoFile
    = QStringLiteral("“Godot_v4.3-stable_linux.x86_64.zip” could not be opened: Invalid argument.");

const char *const program = "Godot_v4.3-stable_linux.x86_64";

/// Both archives have the same size, so that only their content tells them apart.
QByteArray goodArchive() { return ZipBuilder { ZipEntry::program(program, "#!/bin/sh\n") }.bytes(); }
QByteArray evilArchive() { return ZipBuilder { ZipEntry::program(program, "#!/bin/ev\n") }.bytes(); }

}

/// What is unpacked is the very file whose checksum matched, whatever happens to it on the disk meanwhile.
class VerifiedArchiveTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TestHome>();
        m_server = std::make_unique<HttpServer>();
        m_log = std::make_unique<LogStore>();
        CodeHost::setAddress(m_server->address());
        useUnpackTool("");

        m_server->serve(addressOf(m_spec.fileName()), goodArchive());
        m_server->serve(addressOf(QStringLiteral("SHA512-SUMS.txt")),
                        QCryptographicHash::hash(goodArchive(), QCryptographicHash::Sha512).toHex() + "  "
                            + m_spec.fileName().toUtf8() + "\n");
        m_home->write(QStringLiteral("evil.zip"), evilArchive());
    }

    void cleanup()
    {
        m_log.reset();
        m_server.reset();
        m_home.reset();
        Desktop::use(std::nullopt);
        CodeHost::setAddress(CodeHost::official());
    }

    void anArchiveThatNobodyTouchesIsInstalled()
    {
        QCOMPARE(failure(), QString());
        QCOMPARE(installedProgram(), "#!/bin/sh\n");
    }

    void anArchiveThatIsExchangedIsNeverInstalled_data()
    {
        QTest::addColumn<QString>("lastLine");
        QTest::addColumn<QByteArray>("deed");
        QTest::addColumn<QString>("sentence");

        const QByteArray replace = "mv ~/evil.zip $archive";
        const QByteArray overwrite = "cat ~/evil.zip > $archive";
        const QByteArray keepTime = "touch -r $archive ~/time; " + overwrite + "; touch -r ~/time $archive";
        const QByteArray link = "ln -sf ~/evil.zip $archive";
        const QByteArray linkItself = "mv $archive ~/good.zip; ln -s ~/good.zip $archive";
        const QByteArray writeTheSame = "cp $archive ~/good.zip; cat ~/good.zip > $archive";
        const QByteArray remove = "rm $archive";

        const QString downloading = QStringLiteral("Downloading Godot 4.3 from ");
        QTest::newRow("replaced before the check") << downloading << replace << doesNotMatch;
        QTest::newRow("overwritten before the check") << downloading << overwrite << doesNotMatch;
        QTest::newRow("a link to another one before the check") << downloading << link << isALink;
        QTest::newRow("a link to itself before the check") << downloading << linkItself << isALink;

        QTest::newRow("a pipe before the check")
            << downloading << QByteArray("rm $archive; mkfifo $archive") << isNoFile;

        QTest::newRow("replaced behind the check") << matches << replace << doesNotMatch;
        QTest::newRow("overwritten behind the check") << matches << overwrite << doesNotMatch;
        QTest::newRow("overwritten with its old time behind the check")
            << matches << keepTime << doesNotMatch;
        QTest::newRow("a link to another one behind the check") << matches << link << doesNotMatch;
        QTest::newRow("a link to itself behind the check") << matches << linkItself << doesNotMatch;
        QTest::newRow("written anew behind the check") << matches << writeTheSame << doesNotMatch;
        QTest::newRow("removed behind the check") << matches << remove << doesNotMatch;
    }

    void anArchiveThatIsExchangedIsNeverInstalled()
    {
        QFETCH(QString, lastLine);
        QFETCH(QByteArray, deed);
        bool done = false;
        // willChange comes before a line is stored: this is the line after `lastLine`.
        connect(m_log.get(), &Observable::willChange, this, [this, &done, lastLine, deed] {
            if (done || m_log->lines->isEmpty() || !m_log->lines->last().startsWith(lastLine))
                return;
            done = true;
            QCOMPARE(QProcess::execute(QStringLiteral("/bin/sh"),
                                       { QStringLiteral("-c"), QString::fromUtf8(onArchive(deed)) }),
                     0);
        });
        QTEST(failure(), "sentence");
        QVERIFY(done);
        nothingIsInstalled();
    }

    void anArchiveThatIsExchangedWhileItIsUnpackedIsNeverInstalled_data()
    {
        QTest::addColumn<QByteArray>("tool");
        QTest::newRow("replaced") << QByteArray("mv ~/evil.zip $archive; UNPACK");
        QTest::newRow("replaced and put back")
            << QByteArray("mv $archive ~/good.zip; cp ~/evil.zip $archive; UNPACK; mv ~/good.zip $archive");
        QTest::newRow("overwritten") << QByteArray("cat ~/evil.zip > $archive; UNPACK");
        QTest::newRow("overwritten and put back")
            << QByteArray("cp $archive ~/good.zip; cat ~/evil.zip > $archive; UNPACK; "
                          "cat ~/good.zip > $archive");
        QTest::newRow("overwritten at the end") << QByteArray("UNPACK; cat ~/evil.zip > $archive");
    }

    void anArchiveThatIsExchangedWhileItIsUnpackedIsNeverInstalled()
    {
        QFETCH(QByteArray, tool);
        useUnpackTool(tool);
        QCOMPARE(failure(), doesNotMatch);
        nothingIsInstalled();
    }

    /// The checked file itself never changes here, so it is the one that must be installed.
    void aFolderThatIsExchangedBringsNoOtherArchiveIn()
    {
        useUnpackTool("temp=$(dirname $archive); mv $temp ~/aside; mkdir -p $temp; cp ~/evil.zip $archive\n"
                      "cp -r ~/aside/engine $temp; UNPACK; mv $temp ~/evil\n"
                      "mv ~/aside $temp; rmdir $temp/engine; mv ~/evil/engine $temp");
        QCOMPARE(failure(), QString());
        QCOMPARE(installedProgram(), "#!/bin/sh\n");
    }

private:
    QString addressOf(const QString &file) const { return QUrl(m_spec.baseURL() + file).path(); }

    /// `deed` as a shell script in which $archive is the path of the downloaded archive.
    QByteArray onArchive(const QByteArray &deed) const
    {
        return "set -e; archive=$(ls ~/data/*/Temp/*/" + m_spec.fileName().toUtf8() + "); IFS=; " + deed;
    }

    /// Runs `script` in place of the unpack tool, which "UNPACK" calls. If empty, uses the tool itself.
    void useUnpackTool(QByteArray script) const
    {
        Desktop desktop = Desktop::describing(Desktop::System::Linux);
        desktop.processor = Desktop::Processor::X86_64;
        desktop.unpackTool = QCoreApplication::applicationDirPath() + QStringLiteral("/vantor-unpack");
        if (!script.isEmpty()) {
            script.replace("UNPACK", "'" + QFile::encodeName(desktop.unpackTool) + "' \"$@\"");
            desktop.unpackTool
                = m_home->write(QStringLiteral("unpack"), "#!/bin/sh\n" + onArchive(script) + "\n");
            QFile::setPermissions(desktop.unpackTool, QFile::ReadOwner | QFile::ExeOwner);
        }
        Desktop::use(desktop);
    }

    /// The sentence that installing fails with, empty when it does not fail.
    QString failure()
    {
        EngineManager engines;
        try {
            Tasks::finish(engines.install(m_spec, m_log.get(), nullptr, {}));
        } catch (const AppError &error) {
            return error.errorDescription();
        } catch (const FileError &error) {
            return error.errorDescription();
        }
        return {};
    }

    QByteArray installedProgram() const
    {
        QFile file(EngineManager::folder(m_spec) + u'/' + QString::fromLatin1(program));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void nothingIsInstalled() const
    {
        QVERIFY(!QFileInfo::exists(EngineManager::folder(m_spec)));
        QVERIFY(QDir(Paths::tempFolder()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }

    const EngineSpec m_spec { 4, QStringLiteral("4.3"), false };
    std::unique_ptr<TestHome> m_home;
    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<LogStore> m_log;
};

QTEST_GUILESS_MAIN(VerifiedArchiveTest)
#include "VerifiedArchiveTest.moc"
