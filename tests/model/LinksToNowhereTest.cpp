// Dangling symbolic links, for example to a disk that is not plugged in: they count as missing.

#include "Player.h"

#include <QTest>

class LinksToNowhereTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void savesOnADiskThatIsNotThereAreNoSavesYet_data()
    {
        QTest::addColumn<QString>("place");
        QTest::addColumn<QString>("opened");
        QTest::newRow("the engine's folder") << QString() << QString();
        QTest::newRow("all games' saves") << QStringLiteral("/app_userdata") << QStringLiteral("/.");
        QTest::newRow("the game's saves")
            << QStringLiteral("/app_userdata/Vantor") << QStringLiteral("/app_userdata");
    }

    void savesOnADiskThatIsNotThereAreNoSavesYet()
    {
        QFETCH(QString, place);
        QFETCH(QString, opened);
        Player player;
        AppModel &model = player.startModel();
        const QString data = player.home.filePath(QStringLiteral("data/Godot"));
        linkToNowhere(player, data + place);
        model.showSaves();
        if (!opened.isEmpty()) {
            // The nearest existing parent.
            QCOMPARE(player.workspace.opened, QStringList(QDir::cleanPath(data + opened)));
            return;
        }
        QVERIFY(player.workspace.opened.isEmpty());
        QCOMPARE(model.notice.get(),
                 std::optional(QStringLiteral(
                     "No save files yet. Godot creates them when the game first saves something.")));
    }

    void savesBehindALinkThatLeadsSomewhereAreOpened()
    {
        Player player;
        AppModel &model = player.startModel();
        const QString saves = player.home.filePath(QStringLiteral("data/Godot/app_userdata/Vantor"));
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
        QCOMPARE(model.notice.get(), std::optional(QStringLiteral("Nothing is downloaded yet.")));
    }

    void anImportMarkerThatLeadsNowhereIsNone()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        const QString marker = Paths::gameFolder() + QStringLiteral("/.imported-4.6");
        QVERIFY(QFile::remove(marker));
        linkToNowhere(player, marker);
        model.refreshState();
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        // Play imports again and replaces the link with a marker.
        QVERIFY(player.install());
        QVERIFY(model.log.lines->contains(QStringLiteral("imported")));
        QVERIFY(!QFileInfo(marker).isSymLink());
        QCOMPARE(model.state.get(), AppState::ready());
    }

    void importedFilesThatAreElsewhereAndGoneAreNone()
    {
        Player player;
        player.writeGame(QStringLiteral("import.sh"), "ln -sfn /nonexistent/disk .godot\n");
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.playToRunning());
        QVERIFY(model.log.lines->contains(
            QStringLiteral("Setup did not report imported files; trying to start the game anyway.")));
        QVERIFY(player.stopGame());
    }

private:
    static QString nowhere(const Player &player)
    {
        return player.home.filePath(QStringLiteral("unplugged/folder"));
    }

    static void linkToNowhere(const Player &player, const QString &place)
    {
        QVERIFY(QDir().mkpath(QFileInfo(place).path()));
        QVERIFY(QFile::link(nowhere(player), place));
    }
};

QTEST_GUILESS_MAIN(LinksToNowhereTest)
#include "LinksToNowhereTest.moc"
