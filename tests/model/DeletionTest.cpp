// Remove everything, Reinstall and Update delete only what is in the launcher's own folder, never what a
// symbolic link points to.

#include "AppError.h"
#include "Rows.h"
#include "ScriptedHost.h"
#include "SymlinkGuard.h"

#include <span>

using namespace Qt::StringLiterals;

namespace {

const std::pair<const char *, Player::Action> actions[] = { { "play", &AppModel::play },
                                                            { "update", &AppModel::updateGame },
                                                            { "reinstall", &AppModel::reinstall },
                                                            { "remove", &AppModel::removeEverything } };

/// Another folder of the player's, and its files, which are named like the launcher's own.
const QString precious = u"precious"_s;
const QStringList preciousFiles
    = { u".imported-4.6"_s, u"Engine/diary"_s, u"Game/diary"_s, u"Godot v4/diary"_s,
        u"Temp/diary"_s,    u"diary"_s,        u"import.sh"_s,  u"levels/diary"_s };

}

class DeletionTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_scene = std::make_unique<Scene>();
        for (const QString &file : preciousFiles)
            home().write(precious + u'/' + file, "1");
    }
    void cleanup() { m_scene.reset(); }

    void whatALinkLeadsToSurvives_data()
    {
        const auto row = rows([this](const QString &place, const Player::Action &action) {
            Player &player = m_scene->player;
            AppModel &model = player.startInstalled();
            const QString link = Paths::root() + u'/' + place;
            QDir(link).removeRecursively();
            home().link(link, home().filePath(precious));

            action(model);
            QVERIFY(player.waitFor([&] { return !model.isWorking(); }));
            QVERIFY(player.stopGame());
            QVERIFY(player.waitUntilIdle());
            verifyKept(); // an engine that was started through the link may have added files

            model.removeEverything();
            QVERIFY(!QFileInfo::exists(Paths::root()));
            QVERIFY(player.playToRunning());
            QVERIFY(player.stopGame());
            verifyKept();
        });
        for (const char *place : { "Temp", "Engine", "Game", "Engine/4.6", "Game/levels",
                                   "Game/levels/deeper", "Temp/LEFT/extract", "beside" }) {
            for (const auto &[name, action] : std::span(actions).subspan(1))
                row((QByteArray(name) + ", link at " + place).constData(), QString::fromLatin1(place),
                    action);
        }
    }
    void whatALinkLeadsToSurvives() { runRow(); }

    void aLauncherFolderThatIsALinkIsNamedAndItsTargetKept()
    {
        const QStringList before = home().tree(precious);
        home().link(Paths::root(), home().filePath(precious));
        QString sentence;
        try {
            SymlinkGuard::requireNoLinks();
        } catch (const AppError &error) {
            sentence = error.errorDescription();
        }
        QVERIFY(!sentence.isEmpty());

        AppModel &model = m_scene->player.startModel();
        for (const auto &[name, action] : std::span(actions).first(3)) {
            QVERIFY(m_scene->player.complete(action));
            QCOMPARE(model.failureMessage.get(), std::optional(sentence));
            QCOMPARE(home().tree(precious), before);
        }
        model.removeEverything();
        QCOMPARE(home().tree(precious), before);
        QVERIFY(m_scene->player.playToRunning());
        QVERIFY(m_scene->player.stopGame());
        QCOMPARE(home().tree(precious), before);
        verifyKept();
    }

    void aLauncherFolderThatIsMissingIsMadeAnew_data()
    {
        const auto row = rows([this](const Player::Action &action) {
            Player &player = m_scene->player;
            AppModel &model = player.startInstalled();
            Player::deleteOwn({}); // by the player, while the launcher runs

            action(model);
            QVERIFY(player.waitFor([&] { return !model.isWorking(); }));
            QVERIFY(!model.failureMessage.get());
            QVERIFY(model.runner.isRunning || player.playToRunning());
            QVERIFY(player.stopGame());
            QVERIFY(player.waitUntilIdle());
            QCOMPARE(model.state.get(), AppState::ready());
        });
        for (const auto &[name, action] : actions)
            row(name, action);
    }
    void aLauncherFolderThatIsMissingIsMadeAnew() { runRow(); }

private:
    const TestHome &home() const { return m_scene->player.home; }

    void verifyKept() const
    {
        for (const QString &file : preciousFiles)
            QCOMPARE(home().read(precious + u'/' + file), QByteArray("1"));
    }

    std::unique_ptr<Scene> m_scene;
};

QTEST_GUILESS_MAIN(DeletionTest)
#include "DeletionTest.moc"
