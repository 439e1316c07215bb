// Whatever goes wrong with the network, an archive or the disk during an installation: the player reads one
// full sentence, "Temp" is left empty, what was installed stays, and the next Play works.

#include "Readme.h"
#include "Rows.h"
#include "ScriptedHost.h"
#include "SmallDisk.h"
#include "Texts.h"

#include <QRandomGenerator>

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

}

class BadInputTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_scene = std::make_unique<Scene>();
        m_player = &m_scene->player;
        m_host = &m_scene->host;
        m_player->startModel();
    }
    void cleanup() { m_scene.reset(); }

    // What else a server may do is in MisbehavingServerTest; what follows a failure is here.
    void aBadAnswerForTheGame_data()
    {
        const auto row = rows([this](const HttpReply &reply, const QString &sentence) {
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
        });
        const QByteArray whole = ScriptedHost::gameArchive();
        const ZipEntry project = ZipEntry::file("Vantor-master/project.godot", ScriptedHost::project());
        const QString badArchive = exactly(Texts::notUnpacked);
        const QString noProject = exactly(Texts::noProject);
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
    void aBadAnswerForTheGame() { runRow(); }

    void aBadAnswerForTheEngine_data()
    {
        const auto row = rows([this](const QString &path, const HttpReply &reply, const QString &sentence) {
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
        });
        const QString list = ScriptedHost::listPath();
        const QString archive = ScriptedHost::enginePath();
        const QString name = ScriptedHost::engine().fileName();
        const QByteArray hash(128, 'a');
        row("no list", list, HttpReply::status(404), exactly(Texts::noList(404)));
        row("another build's list", list, HttpReply::ok(hash + "  Godot_v4.6-stable_win64.exe.zip\n"),
            exactly(Texts::notListed(name)));
        row("another hash", list, HttpReply::ok(hash + "  " + name.toUtf8() + '\n'), exactly(Texts::noMatch));
        row("another archive", archive, HttpReply::ok("evil"), exactly(Texts::noMatch));
        row("an archive cut short", archive, HttpReply::head(200, { "Content-Length: 100000" }).send("PK"),
            anyDownloadFailure);
    }
    void aBadAnswerForTheEngine() { runRow(); }

    void aProjectFileOfRandomBytesIsReadAsOneWithoutFacts()
    {
        m_host->serveGame(ScriptedHost::gameArchive({}, {}, noise(100'000)));
        m_player->model->play();
        // A project without a format version counts as a 3.x game, and this host has no engine for it.
        m_player->verifyFailure(exactly(Texts::noList(404)));
        QCOMPARE(m_player->model->info.get()->name, u"Vantor"_s);
    }

    void aProjectFileOf50MegabytesAndAReadmeOf10OnOneLineAreReadAndCut()
    {
        const QByteArray comment = "; a comment that goes on and on, line after line, for no reason at all\n";
        const QByteArray project = ScriptedHost::project() + comment.repeated(50'000'000 / comment.size());
        const QByteArray readme = QByteArray("word ").repeated(2'000'000);
        m_host->serveGame(ScriptedHost::gameArchive({ ZipEntry::file("Vantor-master/README.md", readme) },
                                                    "mkdir .godot", project));
        QVERIFY(m_player->playToRunning());
        QCOMPARE(m_player->model->info.get()->name, u"Hill Run"_s);
        QCOMPARE(m_player->model->info.get()->blurb.size(), longestParagraph);
    }

    void aFullDiskIsOneSentenceAndWhatWasThereStaysPlayable()
    {
        const SmallDisk disk(m_player->home.dataHome());
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
        const TestHome &home = m_player->home;
        const QString treasure = home.write(u"treasure/letter.txt"_s, "dear");
        const auto plantLinks = [&home, &treasure] {
            const QString game = Paths::gameFolder();
            for (const QString &place : { u"/home"_s, u"/deep/home"_s, u"/deep/er/home"_s })
                home.link(game + place, QFileInfo(treasure).path());
            home.link(game + u"/deep/itself"_s, game);
            home.link(game + u"/letter"_s, treasure);
        };
        QVERIFY(m_player->install());
        plantLinks();
        QVERIFY(m_player->complete(&AppModel::updateGame));
        QVERIFY(!Player::hasInstalled(u"deep"_s));
        QVERIFY(QFileInfo::exists(treasure));
        plantLinks();
        m_player->model->removeEverything();
        QVERIFY(!QFileInfo::exists(Paths::root()));
        QVERIFY(QFileInfo::exists(treasure));
    }

private:
    std::unique_ptr<Scene> m_scene;
    Player *m_player = nullptr;
    ScriptedHost *m_host = nullptr;
};

QTEST_GUILESS_MAIN(BadInputTest)
#include "BadInputTest.moc"
