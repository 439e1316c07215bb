// Whatever goes wrong with the network, an archive or the disk during an installation: the player reads one
// full sentence, "Temp" is left empty, what was installed stays, and the next Play works.

#include "EngineManager.h"
#include "HttpServer.h"
#include "Player.h"
#include "Readme.h"
#include "ZipBuilder.h"

#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QTest>

#if defined(Q_OS_LINUX)
#include <sys/mount.h>
#endif
#include <unistd.h>

namespace {

const QString gamePath = QStringLiteral("/Kestrelwood/Vantor/archive/refs/heads/master.zip");
const QString releases = QStringLiteral("/godotengine/godot-builds/releases/download/4.6-stable/");
const QString noProject
    = QStringLiteral("The downloaded game has no project.godot file, so it cannot be started.");
const QString badArchive = QStringLiteral("Could not unpack game.zip (ditto exit code 1).");
const QString anyDownloadFailure = QStringLiteral("^Download failed: [A-Z][^\\n]*[a-z]\\.$");

QByteArray project()
{
    return "config_version=5\nconfig/name=\"Hill Run\"\nconfig/features=PackedStringArray(\"4.6\")\n";
}

ZipBuilder gameArchive(const QByteArray &projectFile = project())
{
    return { ZipEntry::folder("Vantor-master/"), ZipEntry::file("Vantor-master/project.godot", projectFile),
             ZipEntry::file("Vantor-master/import.sh", "mkdir -p .godot\n"),
             ZipEntry::file("Vantor-master/play.sh", "echo playing; exec sleep 60\n") };
}

QString exactly(const QString &sentence)
{
    return QLatin1Char('^') + QRegularExpression::escape(sentence) + QLatin1Char('$');
}

/// Mounts a small file system on a folder for as long as this object lives. Needs root.
class SmallDisk final {
public:
    SmallDisk(const QString &folder, const char *options)
        : m_folder(QFile::encodeName(folder))
    {
        QDir().mkpath(folder);
#if defined(Q_OS_LINUX)
        m_mounted = ::mount("tmpfs", m_folder.constData(), "tmpfs", 0, options) == 0;
#else
        Q_UNUSED(options)
#endif
    }
    ~SmallDisk()
    {
#if defined(Q_OS_LINUX)
        if (m_mounted)
            ::umount2(m_folder.constData(), MNT_DETACH);
#endif
    }
    Q_DISABLE_COPY_MOVE(SmallDisk)

    bool isMounted() const { return m_mounted; }

private:
    QByteArray m_folder;
    bool m_mounted = false;
};

}

class BadInputTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_player = std::make_unique<Player>();
        m_server = std::make_unique<HttpServer>();
        CodeHost::setAddress(m_server->address());
        serveGood();
        m_player->startModel();
    }

    void cleanup()
    {
        m_player.reset();
        m_server.reset();
        CodeHost::setAddress(CodeHost::official());
    }

    void aBadAnswerForTheGame_data()
    {
        QTest::addColumn<HttpReply>("reply");
        QTest::addColumn<QString>("sentence");
        const QByteArray whole = gameArchive().bytes();
        const QByteArrayList length { "Content-Length: " + QByteArray::number(whole.size()) };
        const auto row = [](const char *name, const HttpReply &reply, const QString &sentence) {
            QTest::newRow(name) << reply << sentence;
        };
        row("no such archive", HttpReply::status(404, "<html>Not Found</html>"),
            exactly(QStringLiteral("The server answered with error 404 for master.zip.")));
        row("a server in trouble", HttpReply::status(503),
            exactly(QStringLiteral("The server answered with error 503 for master.zip.")));
        row("the connection is reset", HttpReply::head(200, length).send(whole.left(100)).reset(),
            anyDownloadFailure);
        row("no answer at all", HttpReply(), anyDownloadFailure);
        row("a body cut short", HttpReply::head(200, length).send(whole.left(200)), anyDownloadFailure);
        row("a redirect loop", HttpReply::redirect(gamePath.toUtf8()), anyDownloadFailure);
        row("an HTML page where the archive should be", HttpReply::ok("<!DOCTYPE html><title>Log in</title>"),
            exactly(badArchive));
        row("an empty file", HttpReply::ok(QByteArray()), exactly(badArchive));
        row("an archive without members", HttpReply::ok(ZipBuilder().bytes()),
            QStringLiteral("^(%1|%2)$")
                .arg(QRegularExpression::escape(badArchive), QRegularExpression::escape(noProject)));
        row("an archive cut short, sent without a length",
            HttpReply::head(200).send(whole.left(whole.size() / 2)), exactly(badArchive));
        row("an archive that leads out of its folder",
            HttpReply::ok(ZipBuilder { ZipEntry::file("Vantor-master/project.godot", project()),
                                       ZipEntry::file("../../../evil", "evil") }
                              .bytes()),
            exactly(badArchive));
        row("an archive with a link that leads out",
            HttpReply::ok(ZipBuilder { ZipEntry::file("Vantor-master/project.godot", project()),
                                       ZipEntry::link("Vantor-master/home", "/") }
                              .bytes()),
            exactly(badArchive));
        row("an archive without a project",
            HttpReply::ok(ZipBuilder { ZipEntry::file("README.md", "# Hi\n") }.bytes()), exactly(noProject));
        ZipEntry wrongChecksum = ZipEntry::file("Vantor-master/project.godot", project());
        wrongChecksum.crc = wrongChecksum.localCrc = 1;
        row("an archive with a damaged member", HttpReply::ok(ZipBuilder { wrongChecksum }.bytes()),
            exactly(badArchive));
    }

    void aBadAnswerForTheGame()
    {
        QFETCH(HttpReply, reply);
        QFETCH(QString, sentence);
        AppModel &model = *m_player->model;
        m_server->serve(gamePath, reply);
        model.play();
        verifyFailure(sentence);
        QVERIFY(!QFileInfo::exists(Paths::gameFolder()));
        QCOMPARE(model.stepText.get(), QStringLiteral("Step 1 of 4: downloading the game"));

        serveGood();
        QVERIFY(m_player->install());

        // The same reply to an update: the installed game stays and can be played.
        m_server->serve(gamePath, reply);
        model.updateGame();
        verifyFailure(sentence);
        Diary diary(model);
        QVERIFY(m_player->playToRunning());
        QCOMPARE(diary.steps(), QStringList({ QStringLiteral("Step 4 of 4: starting the game") }));
    }

    void aBadAnswerForTheEngine_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<HttpReply>("reply");
        QTest::addColumn<QString>("sentence");
        const QString sums = releases + QStringLiteral("SHA512-SUMS.txt");
        const QString archive = releases + archiveName();
        QTest::newRow("no list") << sums << HttpReply::status(404)
                                 << exactly(QStringLiteral(
                                        "Could not get the checksum list (server error 404)."));
        QTest::newRow("an empty list")
            << sums << HttpReply::ok(QByteArray())
            << exactly(QStringLiteral("The official checksum list has no entry for %1.").arg(archiveName()));
        QTest::newRow("another build's list")
            << sums << HttpReply::ok(QByteArray(128, 'a') + "  Godot_v4.6-stable_win64.exe.zip\n")
            << exactly(QStringLiteral("The official checksum list has no entry for %1.").arg(archiveName()));
        QTest::newRow("another hash")
            << sums << HttpReply::ok(QByteArray(128, 'a') + "  " + archiveName().toUtf8() + '\n')
            << exactly(
                   QStringLiteral("The Godot download did not match its official checksum, so it was thrown "
                                  "away. Please try again."));
        QTest::newRow("another archive")
            << archive
            << HttpReply::ok(ZipBuilder { ZipEntry::program(archiveName().toUtf8(), "evil") }.bytes())
            << exactly(
                   QStringLiteral("The Godot download did not match its official checksum, so it was thrown "
                                  "away. Please try again."));
        QTest::newRow("no archive")
            << archive << HttpReply::status(404)
            << exactly(QStringLiteral("The server answered with error 404 for %1.").arg(archiveName()));
        QTest::newRow("an archive cut short")
            << archive << HttpReply::head(200, { "Content-Length: 100000" }).send("PK") << anyDownloadFailure;
        QTest::newRow("the list's connection is reset")
            << sums << HttpReply::head(200, { "Content-Length: 1000" }).send("aa").reset()
            << QStringLiteral("^[A-Z][^\\n]*[a-z]\\.$");
    }

    void aBadAnswerForTheEngine()
    {
        QFETCH(QString, path);
        QFETCH(HttpReply, reply);
        QFETCH(QString, sentence);
        m_server->serve(path, reply);
        m_player->model->play();
        verifyFailure(sentence);
        QVERIFY(!QFileInfo::exists(Paths::engineFolder() + QStringLiteral("/4.6")));
        QVERIFY(QFileInfo::exists(Paths::gameFolder() + QStringLiteral("/project.godot")));

        serveGood();
        Diary diary(*m_player->model);
        QVERIFY(m_player->playToRunning());
        QVERIFY(!diary.steps().contains(QStringLiteral("Step 1 of 4: downloading the game")));
    }

    void anEngineArchiveWithoutAnEngineSaysSo()
    {
        serveEngine(ZipBuilder { ZipEntry::file("README.txt", "no engine here") }.bytes());
        m_player->model->play();
        verifyFailure(
            exactly(QStringLiteral("The engine was unpacked but no Godot program was found inside it.")));
        serveGood();
        QVERIFY(m_player->playToRunning());
    }

    void aProjectFileOfRandomBytesIsReadAsOneWithoutFacts()
    {
        QByteArray bytes(100000, '\0');
        QRandomGenerator(7).generate(bytes.begin(), bytes.end());
        m_server->serve(gamePath, gameArchive(bytes).bytes());
        m_player->model->play();
        // A project without a format version counts as a 3.x game, and this host has no engine for it.
        verifyFailure(exactly(QStringLiteral("Could not get the checksum list (server error 404).")));
        QCOMPARE(m_player->model->info.get()->name, QStringLiteral("Vantor"));
    }

    void aProjectFileOf50MegabytesPlays()
    {
        QByteArray big = project();
        while (big.size() < 50 * 1000 * 1000)
            big += "; a comment that goes on and on, line after line, for no reason at all\n";
        ZipBuilder archive = gameArchive();
        archive.entries[1] = ZipEntry::file("Vantor-master/project.godot", big);
        m_server->serve(gamePath, archive.bytes());
        QVERIFY(m_player->playToRunning());
        QCOMPARE(m_player->model->info.get()->name, QStringLiteral("Hill Run"));
    }

    void aReadmeOf10MegabytesOnOneLinePlaysAndIsCut()
    {
        ZipBuilder archive = gameArchive();
        archive.entries.append(
            ZipEntry::file("Vantor-master/README.md", QByteArray("word ").repeated(2000000)));
        m_server->serve(gamePath, archive.bytes());
        QVERIFY(m_player->playToRunning());
        QCOMPARE(m_player->model->info.get()->blurb.size(), longestParagraph);
    }

    void aFullDiskIsOneSentenceAndWhatWasThereStaysPlayable()
    {
        const SmallDisk disk(m_player->home.dataHome(), "size=1m");
        if (!disk.isMounted())
            QSKIP("Only root may mount the small disk that this needs.");
        QVERIFY(m_player->install());
        ZipBuilder archive = gameArchive();
        QByteArray noise(3000000, '\0');
        QRandomGenerator(7).generate(noise.begin(), noise.end());
        archive.entries.append(ZipEntry::file("Vantor-master/big.bin", noise));
        m_server->serve(gamePath, archive.bytes());
        m_player->model->updateGame();
        verifyFailure(QStringLiteral("^[^\\n]*No space left on device\\.$"));
        QVERIFY(m_player->playToRunning());
    }

    void aFolderThatCannotBeWrittenIsOneSentence()
    {
        // A file in the way, because permissions do not stop root.
        const QString inTheWay
            = m_player->home.write(QStringLiteral("data"), "a file where the folder should be");
        m_player->model->play();
        verifyFailure(QStringLiteral("^[^\\n]*(Not a directory|File exists)\\.$"));
        QVERIFY(QFile::remove(inTheWay));
        QVERIFY(m_player->playToRunning());
    }

    void aGameFolderFullOfLinksIsReplacedAndRemovedWithoutTouchingWhatTheyLeadTo()
    {
        const QString treasure = m_player->home.write(QStringLiteral("treasure/letter.txt"), "dear");
        const QString treasury = QFileInfo(treasure).path();
        const auto plantLinks = [&] {
            const QString game = Paths::gameFolder();
            QVERIFY(QDir().mkpath(game + QStringLiteral("/deep/er")));
            for (const QString &place :
                 { QStringLiteral("/home"), QStringLiteral("/deep/home"), QStringLiteral("/deep/er/home") })
                QVERIFY(QFile::link(treasury, game + place));
            QVERIFY(QFile::link(game, game + QStringLiteral("/deep/itself")));
            QVERIFY(QFile::link(treasure, game + QStringLiteral("/letter")));
        };
        QVERIFY(m_player->install());
        plantLinks();
        m_player->model->updateGame();
        QVERIFY(m_player->waitUntilIdle());
        QVERIFY(!QFileInfo::exists(Paths::gameFolder() + QStringLiteral("/deep")));
        QVERIFY(QFileInfo::exists(treasure));
        plantLinks();
        m_player->model->removeEverything();
        QVERIFY(!QFileInfo::exists(Paths::root()));
        QVERIFY(QFileInfo::exists(treasure));
    }

private:
    static QString archiveName()
    {
        return EngineSpec { .major = 4, .version = QStringLiteral("4.6"), .isMono = false }.fileName();
    }

    void serveEngine(const QByteArray &archive)
    {
        const QByteArray hash = QCryptographicHash::hash(archive, QCryptographicHash::Sha512).toHex();
        m_server->serve(releases + archiveName(), archive);
        m_server->serve(releases + QStringLiteral("SHA512-SUMS.txt"),
                        hash + "  " + archiveName().toUtf8() + '\n');
    }

    void serveGood()
    {
        QFile script(m_player->home.filePath(QStringLiteral("standing-engine")));
        QVERIFY(script.open(QIODevice::ReadOnly));
        const QByteArray program = archiveName().chopped(4).toUtf8();
        serveEngine(ZipBuilder { ZipEntry::program(program, script.readAll()) }.bytes());
        m_server->serve(gamePath, gameArchive().bytes());
    }

    void verifyFailure(const QString &pattern)
    {
        AppModel &model = *m_player->model;
        QVERIFY(m_player->waitUntilIdle());
        const QString message = model.failureMessage->value_or(QString());
        QVERIFY2(QRegularExpression(pattern).match(message).hasMatch(), qPrintable(message));
        QCOMPARE(model.state.get(), AppState::needs(message));
        QCOMPARE(model.failureLines.get(),
                 model.log.lines->mid(std::max<qsizetype>(0, model.log.lines->size() - 30)));
        QCOMPARE(Player::scratch(), QStringList());
    }

    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<Player> m_player;
};

QTEST_GUILESS_MAIN(BadInputTest)
#include "BadInputTest.moc"
