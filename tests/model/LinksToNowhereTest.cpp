// Dangling symbolic links, for example to a disk that is not plugged in: they count as missing.

#include "Player.h"
#include "Texts.h"

#include <QTest>

using namespace Qt::StringLiterals;

class LinksToNowhereTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void savesOnADiskThatIsNotThereAreNoSavesYet_data()
    {
        QTest::addColumn<QString>("place");
        QTest::addColumn<QStringList>("opened"); // the nearest parent that exists
        QTest::newRow("the engine's folder") << u"data/Godot"_s << QStringList();
        QTest::newRow("all games' saves") << u"data/Godot/app_userdata"_s << QStringList(u"data/Godot"_s);
        QTest::newRow("the game's saves")
            << u"data/Godot/app_userdata/Vantor"_s << QStringList(u"data/Godot/app_userdata"_s);
    }

    void savesOnADiskThatIsNotThereAreNoSavesYet()
    {
        QFETCH(QString, place);
        QFETCH(QStringList, opened);
        Player player;
        AppModel &model = player.startModel();
        linkToNowhere(player, player.home.filePath(place));
        model.showSaves();
        QCOMPARE(model.notice.get(), opened.isEmpty() ? std::optional(Texts::noSaves) : std::nullopt);
        for (QString &folder : opened)
            folder = player.home.filePath(folder);
        QCOMPARE(player.workspace.opened, opened);
    }

    void savesBehindALinkThatLeadsSomewhereAreOpened()
    {
        Player player;
        AppModel &model = player.startModel();
        const QString saves = player.home.filePath(u"data/Godot/app_userdata/Vantor"_s);
        linkToNowhere(player, saves);
        QVERIFY(QDir().mkpath(nowhere(player)));
        model.showSaves();
        QCOMPARE(player.workspace.opened, QStringList(saves));
    }

    void aLauncherFolderOnADiskThatIsNotThereIsNothingDownloaded()
    {
        Player player;
        linkToNowhere(player, Paths::root());
        AppModel &model = player.startModel();
        model.revealInFinder();
        QVERIFY(player.workspace.revealed.isEmpty());
        QCOMPARE(model.notice.get(), std::optional(Texts::nothingDownloaded));
    }

    void anImportMarkerThatLeadsNowhereIsNone()
    {
        Player player;
        AppModel &model = player.startInstalled();
        const QString marker = EngineManager::markerURL(EngineManager::spec(*model.info.get()));
        QVERIFY(QFile::remove(marker));
        linkToNowhere(player, marker);
        model.refreshState();
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        // Play imports again and replaces the link with a marker.
        QVERIFY(player.install());
        QVERIFY(model.log.lines->contains(u"imported"_s));
        QVERIFY(!QFileInfo(marker).isSymLink());
        QCOMPARE(model.state.get(), AppState::ready());
    }

    void importedFilesThatAreElsewhereAndGoneAreNone()
    {
        Player player;
        player.writeGame(u"import.sh"_s, "ln -sfn /nonexistent/disk .godot\n");
        AppModel &model = player.start();
        QVERIFY(player.playToRunning());
        QVERIFY(model.log.lines->contains(Texts::startsAnyway));
    }

private:
    static QString nowhere(const Player &player) { return player.home.filePath(u"unplugged/folder"_s); }

    static void linkToNowhere(const Player &player, const QString &place)
    {
        QVERIFY(QDir().mkpath(QFileInfo(place).path()));
        QVERIFY(QFile::link(nowhere(player), place));
    }
};

QTEST_GUILESS_MAIN(LinksToNowhereTest)
#include "LinksToNowhereTest.moc"
