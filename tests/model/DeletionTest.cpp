// Remove everything, Reinstall and Update delete only what is in the launcher's own folder, never what a
// symbolic link points to.

#include "AppError.h"
#include "ScriptedHost.h"
#include "SymlinkGuard.h"

#include <QTest>

#include <span>

using namespace Qt::StringLiterals;

namespace {

using Action = void (AppModel::*)();

const std::pair<const char *, Action> actions[] = { { "play", &AppModel::play },
                                                    { "update", &AppModel::updateGame },
                                                    { "reinstall", &AppModel::reinstall },
                                                    { "remove", &AppModel::removeEverything } };

/// All files in `folder`, each with its content.
QStringList contentsOf(const QString &folder)
{
    QStringList found;
    QDirIterator entries(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString file = entries.next();
        found << file + u' ' + QString::fromUtf8(Player::contentOf(file));
    }
    found.sort();
    return found;
}

/// Another folder of the player's, with files that are named like the launcher's own.
QString writePrecious(const Player &player)
{
    for (const char *name : { "diary", "Game/diary", "Engine/diary", "Temp/diary", "Godot v4/diary",
                              "levels/diary", ".imported-4.6", "import.sh" })
        player.home.write(u"precious/"_s + QLatin1StringView(name), "1");
    return player.home.filePath(u"precious"_s);
}

}

class DeletionTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatALinkLeadsToSurvives_data()
    {
        QTest::addColumn<QString>("place");
        QTest::addColumn<Action>("action");
        for (const char *place : { "Temp", "Engine", "Game", "Engine/4.6", "Game/levels",
                                   "Game/levels/deeper", "Temp/LEFT/extract", "beside" }) {
            for (const auto &[name, action] : std::span(actions).subspan(1))
                QTest::addRow("%s, link at %s", name, place) << QString::fromLatin1(place) << action;
        }
    }

    void whatALinkLeadsToSurvives()
    {
        QFETCH(QString, place);
        QFETCH(Action, action);
        Player player;
        const ScriptedHost host(player);
        AppModel &model = player.startInstalled();
        const QString precious = writePrecious(player);
        const QStringList before = contentsOf(precious);
        const QString link = Paths::root() + u'/' + place;
        QDir(link).removeRecursively();
        QVERIFY(QDir().mkpath(QFileInfo(link).path()));
        QVERIFY(QFile::link(precious, link));

        (model.*action)();
        QVERIFY(player.waitFor([&] { return !model.isWorking(); }));
        QVERIFY(player.stopGame());
        QVERIFY(player.waitUntilIdle());
        // Every file is still there, unchanged. An engine that was started through the link may have added
        // files.
        verifyKept(before, precious);

        model.removeEverything();
        QVERIFY(!QFileInfo::exists(Paths::root()));
        QVERIFY(player.playToRunning());
        QVERIFY(player.stopGame());
        verifyKept(before, precious);
    }

    void aLauncherFolderThatIsALinkIsNamedAndItsTargetKept()
    {
        Player player;
        const ScriptedHost host(player);
        const QString precious = writePrecious(player);
        const QStringList before = contentsOf(precious);
        QVERIFY(QDir().mkpath(player.home.dataHome()));
        QVERIFY(QFile::link(precious, Paths::root()));
        QString sentence;
        try {
            SymlinkGuard::requireNoLinks();
        } catch (const AppError &error) {
            sentence = error.errorDescription();
        }
        QVERIFY(!sentence.isEmpty());

        AppModel &model = player.startModel();
        for (const auto &[name, action] : std::span(actions).first(3)) {
            (model.*action)();
            QVERIFY(player.waitUntilIdle());
            QCOMPARE(model.failureMessage.get(), std::optional(sentence));
            QCOMPARE(contentsOf(precious), before);
        }
        model.removeEverything();
        QCOMPARE(contentsOf(precious), before);
        QVERIFY(player.playToRunning());
        QVERIFY(player.stopGame());
        QCOMPARE(contentsOf(precious), before);
    }

    void aLauncherFolderThatIsMissingIsMadeAnew_data()
    {
        QTest::addColumn<Action>("action");
        for (const auto &[name, action] : actions)
            QTest::newRow(name) << action;
    }

    void aLauncherFolderThatIsMissingIsMadeAnew()
    {
        QFETCH(Action, action);
        Player player;
        const ScriptedHost host(player);
        AppModel &model = player.startInstalled();
        QVERIFY(QDir(Paths::root()).removeRecursively()); // by the player, while the launcher runs

        (model.*action)();
        QVERIFY(player.waitFor([&] { return !model.isWorking(); }));
        QVERIFY(!model.failureMessage.get());
        if (!model.runner.isRunning)
            QVERIFY(player.playToRunning());
        QVERIFY(player.stopGame());
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.state.get(), AppState::ready());
    }

private:
    static void verifyKept(const QStringList &files, const QString &folder)
    {
        const QStringList now = contentsOf(folder);
        for (const QString &file : files)
            QVERIFY2(now.contains(file), qPrintable(file));
    }
};

QTEST_GUILESS_MAIN(DeletionTest)
#include "DeletionTest.moc"
