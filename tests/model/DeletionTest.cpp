// Remove everything, Reinstall and Update delete only what is in the launcher's own folder, never what a
// symbolic link points to.

#include "Player.h"

#include <QDirIterator>
#include <QTest>

namespace {

using Action = void (AppModel::*)();

/// Fills another folder of the player's with files that are named like the launcher's own.
void writeHomeFolder(const TestHome &home)
{
    for (const char *name : { "diary", "Game/diary", "Engine/diary", "Temp/diary", "Godot v4/diary",
                              "levels/diary", ".imported-4.6", "import.sh" })
        home.write(QStringLiteral("precious/") + QLatin1StringView(name), "1");
}

/// All files in `folder`, each with its content.
QStringList contentOf(const QString &folder)
{
    QStringList found;
    QDirIterator entries(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        QFile file(entries.next());
        if (!file.open(QIODevice::ReadOnly))
            qFatal("%s cannot be read.", qPrintable(file.fileName()));
        found << file.fileName() + QLatin1Char(' ') + QString::fromUtf8(file.readAll());
    }
    found.sort();
    return found;
}

}

class DeletionTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatALinkLeadsToSurvives_data();
    void whatALinkLeadsToSurvives();
    void aLauncherFolderThatIsALinkIsNamedAndItsTargetKept();
    void aLauncherFolderThatIsMissingIsMadeAnew_data();
    void aLauncherFolderThatIsMissingIsMadeAnew();
};

void DeletionTest::whatALinkLeadsToSurvives_data()
{
    QTest::addColumn<QString>("place");
    QTest::addColumn<QString>("action");
    for (const char *place : { "Temp", "Engine", "Game", "Engine/4.6", "Game/levels", "Game/levels/deeper",
                               "Temp/LEFT/extract", "beside" }) {
        for (const char *action : { "update", "reinstall", "remove" })
            QTest::addRow("%s, link at %s", action, place)
                << QString::fromLatin1(place) << QString::fromLatin1(action);
    }
}

void DeletionTest::whatALinkLeadsToSurvives()
{
    QFETCH(QString, place);
    QFETCH(QString, action);
    Player player;
    player.startHost();
    AppModel &model = player.startModel();
    QVERIFY(player.install());
    const QString precious = player.home.filePath(QStringLiteral("precious"));
    writeHomeFolder(player.home);
    const QStringList before = contentOf(precious);
    const QString link = Paths::root() + u'/' + place;
    QDir(link).removeRecursively();
    QVERIFY(QDir().mkpath(QFileInfo(link).path()));
    QVERIFY(QFile::link(precious, link));

    if (action == QStringLiteral("update"))
        model.updateGame();
    else if (action == QStringLiteral("reinstall"))
        model.reinstall();
    else
        model.removeEverything();
    QVERIFY(QTest::qWaitFor([&model] { return !model.isWorking(); }, 30000));
    QVERIFY(player.stopGame());
    QVERIFY(player.waitUntilIdle());
    // Every file is still there, unchanged. An engine that was started through the link may have added files.
    const QStringList after = contentOf(precious);
    for (const QString &file : before)
        QVERIFY2(after.contains(file), qPrintable(file));

    model.removeEverything();
    QVERIFY(!QFileInfo::exists(Paths::root()));
    QVERIFY(player.playToRunning());
    QVERIFY(player.stopGame());
    for (const QString &file : before)
        QVERIFY2(contentOf(precious).contains(file), qPrintable(file));
}

void DeletionTest::aLauncherFolderThatIsALinkIsNamedAndItsTargetKept()
{
    Player player;
    player.startHost();
    const QString precious = player.home.filePath(QStringLiteral("precious"));
    writeHomeFolder(player.home);
    const QStringList before = contentOf(precious);
    QVERIFY(QDir().mkpath(player.home.dataHome()));
    QVERIFY(QFile::link(precious, Paths::root()));

    AppModel &model = player.startModel();
    for (const Action action :
         { Action(&AppModel::play), Action(&AppModel::updateGame), Action(&AppModel::reinstall) }) {
        (model.*action)();
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(
            model.failureMessage.get(),
            std::optional(QStringLiteral(
                "The folder “Vantor Platformer” is a symbolic link, which the launcher does not download "
                "through: please choose “Remove everything”, which removes only the link, and play again.")));
        QCOMPARE(contentOf(precious), before);
    }
    model.removeEverything();
    QCOMPARE(contentOf(precious), before);
    QVERIFY(player.playToRunning());
    QVERIFY(player.stopGame());
    QCOMPARE(contentOf(precious), before);
}

void DeletionTest::aLauncherFolderThatIsMissingIsMadeAnew_data()
{
    QTest::addColumn<QString>("action");
    for (const char *action : { "play", "update", "reinstall", "remove" })
        QTest::newRow(action) << QString::fromLatin1(action);
}

void DeletionTest::aLauncherFolderThatIsMissingIsMadeAnew()
{
    QFETCH(QString, action);
    Player player;
    player.startHost();
    AppModel &model = player.startModel();
    QVERIFY(player.install());
    QVERIFY(QDir(Paths::root()).removeRecursively()); // by the player, while the launcher runs

    if (action == QStringLiteral("update"))
        model.updateGame();
    else if (action == QStringLiteral("reinstall"))
        model.reinstall();
    else if (action == QStringLiteral("remove"))
        model.removeEverything();
    QVERIFY(QTest::qWaitFor([&model] { return !model.isWorking(); }, 30000));
    QVERIFY(!model.failureMessage.get());
    if (!model.runner.isRunning)
        QVERIFY(player.playToRunning());
    QVERIFY(player.stopGame());
    QVERIFY(player.waitUntilIdle());
    QCOMPARE(model.state.get(), AppState::ready());
}

QTEST_GUILESS_MAIN(DeletionTest)
#include "DeletionTest.moc"
