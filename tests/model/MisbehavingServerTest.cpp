// Whatever a server does during one of the three transfers: the player reads one sentence within bounded
// time, "Temp" is left empty, and what was installed stays unchanged.

#include "Misbehaviours.h"
#include "ScriptedHost.h"
#include "Texts.h"
#include "TransferTesting.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(Misbehaviour)

class MisbehavingServerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TransferTesting::withoutProxies(); }

    void aFirstGameThatDoesNotArriveIsOneSentence_data() { addAll(); }
    void aFirstGameThatDoesNotArriveIsOneSentence()
    {
        QFETCH(Misbehaviour, misbehaviour);
        Scene scene(*this, misbehaviour);
        scene.misbehaveAt(ScriptedHost::gamePath());
        scene.player.model->play();
        scene.verifyFailure(misbehaviour.forGame);
        QVERIFY(!QFileInfo::exists(Paths::gameFolder()));
        QVERIFY(!QFileInfo::exists(Paths::engineFolder()));
        if (misbehaviour.forGame != Texts::notUnpacked)
            QVERIFY(!scene.player.model->log.lines->contains(Texts::unpackingGame));
    }

    void anUpdateThatDoesNotArriveIsOneSentenceAndLeavesTheGame_data() { addAll(); }
    void anUpdateThatDoesNotArriveIsOneSentenceAndLeavesTheGame()
    {
        QFETCH(Misbehaviour, misbehaviour);
        Scene scene(*this, misbehaviour);
        scene.installGame();
        scene.misbehaveAt(ScriptedHost::gamePath());
        scene.player.model->updateGame();
        scene.verifyFailure(misbehaviour.forGame);
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
        scene.verifyFailure(misbehaviour.forList);
        scene.verifyGame();
        QVERIFY(!QFileInfo::exists(Paths::engineFolder()));
        QCOMPARE(scene.host.server.requestCount(ScriptedHost::enginePath()), 0);
    }

    void anEngineThatDoesNotArriveIsOneSentence_data() { addAll(); }
    void anEngineThatDoesNotArriveIsOneSentence()
    {
        QFETCH(Misbehaviour, misbehaviour);
        Scene scene(*this, misbehaviour);
        scene.installGame();
        scene.misbehaveAt(ScriptedHost::enginePath());
        scene.player.model->play();
        scene.verifyFailure(misbehaviour.forEngine);
        scene.verifyGame();
        QVERIFY(!QFileInfo::exists(Paths::engineFolder()));
        QVERIFY(!scene.player.model->log.lines->contains(Texts::unpackingEngine));
    }

private:
    /// A player and a host that serves everything correctly, until `misbehaveAt` is called.
    struct Scene {
        Scene(const MisbehavingServerTest &test, const Misbehaviour &which)
            : misbehaviour(which)
            , stranger(test.serverFor(misbehaviour.connection))
        {
            TransferRules rules;
            rules.largestBody = misbehaviourCeiling;
            rules.trustedAuthorities = test.m_authority.certificate();
            if (misbehaviour.sound == Misbehaviour::Sound::Silent)
                rules.silence = 150ms;
            player.startModel(rules);
        }

        /// Misbehaves at `path`. A server with TLS is reached by a redirect, like the files of the real host.
        void misbehaveAt(const QString &path)
        {
            const bool isPlain = misbehaviour.connection == Misbehaviour::Connection::Plain;
            const HttpReply redirect = HttpReply::redirect(stranger->url(path).toEncoded());
            stranger->serve(path, misbehaviour.reply);
            host.server.serve(path, isPlain ? misbehaviour.reply : redirect);
        }

        /// Installs a game with content that none of the archives has.
        void installGame() const
        {
            for (const auto &[name, content] : game)
                player.writeInstalled(name, content);
        }

        void verifyGame() const
        {
            const QDir folder(Paths::gameFolder());
            const auto entries = folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
            QCOMPARE(static_cast<size_t>(entries.size()), game.size());
            for (const auto &[name, content] : game)
                QCOMPARE(Player::contentOf(folder.filePath(name)), content);
        }

        void verifyFailure(const QString &sentence) const
        {
            constexpr qint64 longest = 10'000; // milliseconds; generous, for busy machines
            QElapsedTimer time;
            time.start();
            QVERIFY(player.waitUntilIdle());
            QVERIFY2(time.elapsed() < longest, QByteArray::number(time.elapsed()).constData());
            QString pattern = QRegularExpression::escape(sentence);
            pattern.replace(QRegularExpression::escape(u"…"_s), u"[^()\\n]+"_s);
            if (misbehaviour.mayCountAsLost)
                pattern += u"|(?:Download failed: )?The connection was lost\\."_s;
            player.verifyFailure(pattern);
            QVERIFY(QTest::qWaitFor(
                [this] { return host.server.openConnections() + stranger->openConnections() == 0; }));
        }

        static inline const std::map<QString, QByteArray> game {
            { u"level.tscn"_s, "the player's level" },
            { u"project.godot"_s, ScriptedHost::project() },
        };

        const Misbehaviour misbehaviour;
        Player player;
        ScriptedHost host { player };
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

    const TestAuthority m_authority;
};

QTEST_GUILESS_MAIN(MisbehavingServerTest)
#include "MisbehavingServerTest.moc"
