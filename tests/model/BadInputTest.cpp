// Whatever goes wrong with the network, an archive or the disk during an installation: the player reads one
// full sentence, "Temp" is left empty, what was installed stays, and the next Play works.

#include "Readme.h"
#include "ScriptedHost.h"
#include "Texts.h"

#include <QRandomGenerator>
#include <QTest>

#if defined(Q_OS_LINUX)
#include <sys/mount.h>
#endif

using namespace Qt::StringLiterals;

namespace {

const QString anyDownloadFailure = u"Download failed: [A-Z][^\\n]*[a-z]\\."_s;

QString exactly(const QString &sentence) { return QRegularExpression::escape(sentence); }

/// `count` random bytes, always the same.
QByteArray noise(qsizetype count)
{
    QByteArray bytes(count, Qt::Uninitialized);
    QRandomGenerator(7).generate(bytes.begin(), bytes.end());
    return bytes;
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
        m_host = std::make_unique<ScriptedHost>(*m_player);
        m_player->startModel();
    }

    void cleanup()
    {
        m_player.reset();
        m_host.reset();
    }

    // What else a server may do is in MisbehavingServerTest; what follows a failure is here.
    void aBadAnswerForTheGame_data()
    {
        QTest::addColumn<HttpReply>("reply");
        QTest::addColumn<QString>("sentence");
        const QByteArray whole = ScriptedHost::gameArchive();
        const ZipEntry project = ZipEntry::file("Vantor-master/project.godot", ScriptedHost::project());
        const QString badArchive = exactly(Texts::notUnpacked);
        const QString noProject = exactly(Texts::noProject);
        const auto row = [](const char *name, const HttpReply &reply, const QString &sentence) {
            QTest::newRow(name) << reply << sentence;
        };
        const auto archive = [&row](const char *name, const ZipBuilder &content, const QString &sentence) {
            row(name, HttpReply::ok(content.bytes()), sentence);
        };
        row("no such archive", HttpReply::status(404, "<html>Not Found</html>"),
            exactly(Texts::refused(404)));
        row("a body cut short", HttpReply::head(200, { "Content-Length: 5000" }).send(whole.left(200)),
            anyDownloadFailure);
        row("an archive cut short, sent without a length",
            HttpReply::head(200).send(whole.left(whole.size() / 2)), badArchive);
        archive("an archive without entries", {}, badArchive + u'|' + noProject);
        archive("an archive that leads out of its folder",
                { project, ZipEntry::file("../../../evil", "evil") }, badArchive);
        archive("an archive with a link that leads out",
                { project, ZipEntry::link("Vantor-master/home", "/") }, badArchive);
        archive("an archive without a project", { ZipEntry::file("README.md", "# Hi\n") }, noProject);
        ZipEntry wrongChecksum = project;
        wrongChecksum.crc = wrongChecksum.localCrc = 1;
        archive("an archive with a damaged entry", { wrongChecksum }, badArchive);
    }

    void aBadAnswerForTheGame()
    {
        QFETCH(HttpReply, reply);
        QFETCH(QString, sentence);
        AppModel &model = *m_player->model;
        m_host->server.serve(ScriptedHost::gamePath(), reply);
        model.play();
        m_player->verifyFailure(sentence);
        QVERIFY(!QFileInfo::exists(Paths::gameFolder()));
        QCOMPARE(model.stepText.get(), Texts::steps().first());

        m_host->serveGame(ScriptedHost::gameArchive());
        QVERIFY(m_player->install());

        // The same reply to an update: the installed game stays and can be played.
        m_host->server.serve(ScriptedHost::gamePath(), reply);
        model.updateGame();
        m_player->verifyFailure(sentence);
        Diary diary(model);
        QVERIFY(m_player->playToRunning());
        QCOMPARE(diary.steps(), Texts::steps().last(1));
    }

    void aBadAnswerForTheEngine_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<HttpReply>("reply");
        QTest::addColumn<QString>("sentence");
        const QByteArray name = ScriptedHost::engine().fileName().toUtf8();
        const auto list = [](const char *row, const HttpReply &reply, const QString &sentence) {
            QTest::newRow(row) << ScriptedHost::listPath() << reply << sentence;
        };
        const auto engine = [](const char *row, const HttpReply &reply, const QString &sentence) {
            QTest::newRow(row) << ScriptedHost::enginePath() << reply << sentence;
        };
        const QByteArray hash(128, 'a');
        list("no list", HttpReply::status(404), exactly(Texts::noList(404)));
        list("another build's list", HttpReply::ok(hash + "  Godot_v4.6-stable_win64.exe.zip\n"),
             exactly(Texts::notListed(ScriptedHost::engine().fileName())));
        list("another hash", HttpReply::ok(hash + "  " + name + '\n'), exactly(Texts::noMatch));
        engine("another archive", HttpReply::ok(ZipBuilder { ZipEntry::program(name, "evil") }.bytes()),
               exactly(Texts::noMatch));
        engine("an archive cut short", HttpReply::head(200, { "Content-Length: 100000" }).send("PK"),
               anyDownloadFailure);
    }

    void aBadAnswerForTheEngine()
    {
        QFETCH(QString, path);
        QFETCH(HttpReply, reply);
        QFETCH(QString, sentence);
        m_host->server.serve(path, reply);
        m_player->model->play();
        m_player->verifyFailure(sentence);
        QCOMPARE(m_player->model->stepText.get(), Texts::steps().at(1));
        QVERIFY(!QFileInfo::exists(EngineManager::folder(ScriptedHost::engine())));
        QVERIFY(Player::hasInstalled(u"project.godot"_s));

        m_host->serveEngine(m_host->engineArchive());
        Diary diary(*m_player->model);
        QVERIFY(m_player->playToRunning());
        QCOMPARE(diary.steps(), Texts::steps().last(3));
    }

    void anEngineArchiveWithoutAnEngineSaysSo()
    {
        m_host->serveEngine(ZipBuilder { ZipEntry::file("README.txt", "no engine here") }.bytes());
        m_player->model->play();
        m_player->verifyFailure(
            exactly(u"The engine was unpacked but no Godot program was found inside it."_s));
        m_host->serveEngine(m_host->engineArchive());
        QVERIFY(m_player->playToRunning());
    }

    void aProjectFileOfRandomBytesIsReadAsOneWithoutFacts()
    {
        m_host->serveGame(ScriptedHost::gameArchive({}, {}, noise(100'000)));
        m_player->model->play();
        // A project without a format version counts as a 3.x game, and this host has no engine for it.
        m_player->verifyFailure(exactly(Texts::noList(404)));
        QCOMPARE(m_player->model->info.get()->name, u"Vantor"_s);
    }

    void aProjectFileOf50MegabytesPlays()
    {
        const QByteArray comment = "; a comment that goes on and on, line after line, for no reason at all\n";
        m_host->serveGame(ScriptedHost::gameArchive(
            {}, "mkdir .godot", ScriptedHost::project() + comment.repeated(50'000'000 / comment.size())));
        QVERIFY(m_player->playToRunning());
        QCOMPARE(m_player->model->info.get()->name, u"Hill Run"_s);
    }

    void aReadmeOf10MegabytesOnOneLinePlaysAndIsCut()
    {
        m_host->serveGame(ScriptedHost::gameArchive(
            { ZipEntry::file("Vantor-master/README.md", QByteArray("word ").repeated(2'000'000)) }));
        QVERIFY(m_player->playToRunning());
        QCOMPARE(m_player->model->info.get()->blurb.size(), longestParagraph);
    }

    void aFullDiskIsOneSentenceAndWhatWasThereStaysPlayable()
    {
        const SmallDisk disk(m_player->home.dataHome(), "size=1m");
        if (!disk.isMounted())
            QSKIP("Only root may mount the small disk that this needs.");
        QVERIFY(m_player->install());
        m_host->serveGame(
            ScriptedHost::gameArchive({ ZipEntry::file("Vantor-master/big.bin", noise(3'000'000)) }));
        m_player->model->updateGame();
        m_player->verifyFailure(
            u"There is not enough space for the game: about 6 MB are needed and [0-9.]+ [kM]B are free\\."_s);
        QVERIFY(m_player->playToRunning());
    }

    void aFolderThatCannotBeWrittenIsOneSentence()
    {
        // A file in the way, because permissions do not stop root.
        const QString inTheWay = m_player->home.write(u"data"_s, "a file where the folder should be");
        m_player->model->play();
        m_player->verifyFailure(u"[^\\n]*(Not a directory|File exists)\\."_s);
        QVERIFY(QFile::remove(inTheWay));
        QVERIFY(m_player->playToRunning());
    }

    void aGameFolderFullOfLinksIsReplacedAndRemovedWithoutTouchingWhatTheyLeadTo()
    {
        const QString treasure = m_player->home.write(u"treasure/letter.txt"_s, "dear");
        const QString treasury = QFileInfo(treasure).path();
        const auto plantLinks = [&] {
            const QString game = Paths::gameFolder();
            QVERIFY(QDir().mkpath(game + u"/deep/er"_s));
            for (const QString &place : { u"/home"_s, u"/deep/home"_s, u"/deep/er/home"_s })
                QVERIFY(QFile::link(treasury, game + place));
            QVERIFY(QFile::link(game, game + u"/deep/itself"_s));
            QVERIFY(QFile::link(treasure, game + u"/letter"_s));
        };
        QVERIFY(m_player->install());
        plantLinks();
        m_player->model->updateGame();
        QVERIFY(m_player->waitUntilIdle());
        QVERIFY(!Player::hasInstalled(u"deep"_s));
        QVERIFY(QFileInfo::exists(treasure));
        plantLinks();
        m_player->model->removeEverything();
        QVERIFY(!QFileInfo::exists(Paths::root()));
        QVERIFY(QFileInfo::exists(treasure));
    }

private:
    std::unique_ptr<Player> m_player;
    std::unique_ptr<ScriptedHost> m_host;
};

QTEST_GUILESS_MAIN(BadInputTest)
#include "BadInputTest.moc"
