// Whatever a server does during one of the three transfers: the player reads one sentence within bounded
// time, "Temp" is left empty, and what was installed stays unchanged.

#include "EngineManager.h"
#include "Misbehaviours.h"
#include "Player.h"
#include "ScriptedHost.h"

#include <QElapsedTimer>

using namespace std::chrono_literals;

Q_DECLARE_METATYPE(Misbehaviour)

class MisbehavingServerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        for (const char *name : { "http_proxy", "https_proxy", "all_proxy", "no_proxy" })
            qunsetenv(name);
    }

    void aFirstGameThatDoesNotArriveIsOneSentence_data() { addAll(); }
    void aFirstGameThatDoesNotArriveIsOneSentence()
    {
        QFETCH(Misbehaviour, misbehaviour);
        Scene scene(*this, misbehaviour);
        scene.misbehaveAt(ScriptedHost::gamePath());
        scene.player.model->play();
        verifyFailure(scene, misbehaviour.forGame);
        QVERIFY(!QFileInfo::exists(Paths::gameFolder()));
        QVERIFY(!QFileInfo::exists(Paths::engineFolder()));
        if (misbehaviour.forGame != notUnpacked)
            QVERIFY(!logOf(scene).contains(QStringLiteral("Unpacking the game")));
    }

    void anUpdateThatDoesNotArriveIsOneSentenceAndLeavesTheGame_data() { addAll(); }
    void anUpdateThatDoesNotArriveIsOneSentenceAndLeavesTheGame()
    {
        QFETCH(Misbehaviour, misbehaviour);
        Scene scene(*this, misbehaviour);
        scene.installGame();
        scene.misbehaveAt(ScriptedHost::gamePath());
        scene.player.model->updateGame();
        verifyFailure(scene, misbehaviour.forGame);
        scene.verifyGame();
    }

    void aChecksumListThatDoesNotArriveIsOneSentence_data() { addAll(); }
    void aChecksumListThatDoesNotArriveIsOneSentence()
    {
        QFETCH(Misbehaviour, misbehaviour);
        Scene scene(*this, misbehaviour);
        scene.installGame();
        scene.misbehaveAt(ScriptedHost::listPath());
        scene.player.model->play();
        verifyFailure(scene, misbehaviour.forList);
        scene.verifyGame();
        QVERIFY(!QFileInfo::exists(Paths::engineFolder()));
        QCOMPARE(scene.host.server->requestCount(ScriptedHost::enginePath()), 0);
    }

    void anEngineThatDoesNotArriveIsOneSentence_data() { addAll(); }
    void anEngineThatDoesNotArriveIsOneSentence()
    {
        QFETCH(Misbehaviour, misbehaviour);
        Scene scene(*this, misbehaviour);
        scene.installGame();
        scene.misbehaveAt(ScriptedHost::enginePath());
        scene.player.model->play();
        verifyFailure(scene, misbehaviour.forEngine);
        scene.verifyGame();
        QVERIFY(!QFileInfo::exists(Paths::engineFolder()));
        QVERIFY(!logOf(scene).contains(QStringLiteral("Unpacking the engine")));
    }

private:
    const QString notUnpacked = QStringLiteral("Could not unpack game.zip (ditto exit code 1).");

    /// A player and a host that serves everything correctly, until `misbehaveAt` is called.
    struct Scene {
        Scene(const MisbehavingServerTest &test, const Misbehaviour &which)
            : misbehaviour(which)
            , stranger(test.serverFor(misbehaviour.connection))
        {
            host.serveGood("#!/bin/sh\n");
            TransferRules rules;
            rules.largestBody = misbehaviourCeiling;
            rules.trustedAuthorities = test.m_authority.certificate();
            if (misbehaviour.sound == Misbehaviour::Sound::Silent)
                rules.silence = 150ms;
            player.startModel(rules);
        }

        /// Misbehaves at `path`. A server with TLS is reached by a redirect, like the files of the real host.
        void misbehaveAt(const QString &path) const
        {
            const bool isPlain = misbehaviour.connection == Misbehaviour::Connection::Plain;
            const HttpReply redirect = HttpReply::redirect(stranger->url(path).toEncoded());
            stranger->serve(path, misbehaviour.reply);
            host.server->serve(path, isPlain ? misbehaviour.reply : redirect);
        }

        /// Installs a game with content that none of the archives has.
        void installGame() const
        {
            for (const auto &[name, content] : game) {
                QDir().mkpath(Paths::gameFolder());
                QFile file(Paths::gameFolder() + u'/' + name);
                if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
                    qFatal("The game could not be put in place.");
            }
        }

        void verifyGame() const
        {
            const QDir folder(Paths::gameFolder());
            const auto entries = folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
            QCOMPARE(static_cast<size_t>(entries.size()), game.size());
            for (const auto &[name, content] : game) {
                QFile file(Paths::gameFolder() + u'/' + name);
                QVERIFY(file.open(QIODevice::ReadOnly));
                QCOMPARE(file.readAll(), content);
            }
        }

        static inline const std::map<QString, QByteArray> game {
            { QStringLiteral("level.tscn"), "the player's level" },
            { QStringLiteral("project.godot"), ScriptedHost::project() },
        };

        const Misbehaviour misbehaviour;
        Player player;
        ScriptedHost host;
        std::unique_ptr<HttpServer> stranger;
    };

    static void addAll()
    {
        QTest::addColumn<Misbehaviour>("misbehaviour");
        for (const Misbehaviour &each : allMisbehaviours(ScriptedHost::engine().fileName()))
            QTest::newRow(each.name) << each;
    }

    std::unique_ptr<HttpServer> serverFor(Misbehaviour::Connection connection) const
    {
        using Connection = Misbehaviour::Connection;
        switch (connection) {
        case Connection::Plain:
            break;
        case Connection::Secure:
            return std::make_unique<HttpServer>(m_authority.issue());
        case Connection::SelfSigned:
            return std::make_unique<HttpServer>(TestAuthority::selfSigned());
        case Connection::Expired:
            return std::make_unique<HttpServer>(
                m_authority.issue("localhost", TestAuthority::Validity::Expired));
        case Connection::OfAnotherHost:
            return std::make_unique<HttpServer>(m_authority.issue("elsewhere.invalid"));
        }
        return std::make_unique<HttpServer>();
    }

    static QStringList logOf(const Scene &scene) { return scene.player.model->log.lines; }

    void verifyFailure(const Scene &scene, const QString &sentence) const
    {
        QElapsedTimer time;
        time.start();
        QVERIFY(scene.player.waitUntilIdle());
        QVERIFY2(time.elapsed() < longest, QByteArray::number(time.elapsed()).constData());
        const AppModel &model = *scene.player.model;
        const QString message = model.failureMessage->value_or(QString());
        QString pattern = QRegularExpression::escape(sentence);
        pattern.replace(QRegularExpression::escape(QStringLiteral("…")), QStringLiteral("[^()\\n]+"));
        if (scene.misbehaviour.mayCountAsLost)
            pattern = QStringLiteral("(?:%1|(?:Download failed: )?The connection was lost\\.)").arg(pattern);
        QVERIFY2(QRegularExpression(u'^' + pattern + u'$').match(message).hasMatch(), qPrintable(message));
        QCOMPARE(model.state.get(), AppState::needs(message));
        QCOMPARE(Player::scratch(), QStringList());
        QVERIFY(QTest::qWaitFor([&scene] {
            return scene.host.server->openConnections() + scene.stranger->openConnections() == 0;
        }));
    }

    static constexpr qint64 longest = 10'000; // milliseconds; generous, for busy machines
    const TestAuthority m_authority;
};

QTEST_GUILESS_MAIN(MisbehavingServerTest)
#include "MisbehavingServerTest.moc"
