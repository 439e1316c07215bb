// Cancel at random moments of a complete installation: it ends in "Cancelled." within half a second and
// leaves nothing behind. CANCEL_SEED repeats a run.

#include "FileOperations.h"
#include "ScriptedHost.h"
#include "Strain.h"
#include "Texts.h"

#include <QElapsedTimer>

#include <map>
#include <random>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class RandomCancelTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fiftyCancelsOfAnInstallLeaveNothing()
    {
        bool isGiven = false;
        unsigned seed = qEnvironmentVariable("CANCEL_SEED").toUInt(&isGiven);
        if (!isGiven)
            seed = std::random_device()();
        qInfo("CANCEL_SEED=%u", seed);
        std::mt19937 random(seed);

        Player player;
        ScriptedHost host(player);
        serveSlowly(host);
        AppModel &model = player.startModel();
        QElapsedTimer time;
        time.start();
        QVERIFY(player.playToRunning());
        std::uniform_int_distribution<qint64> moments(0, time.elapsed());
        removeAll(player);

        std::map<QString, int> cancelledIn;
        qint64 slowest = 0;
        for (int cancels = 0; cancels < 50;) {
            const qint64 moment = moments(random);
            time.start();
            model.play();
            QVERIFY(QTest::qWaitFor([&] { return time.elapsed() >= moment || !model.isWorking(); }));
            QVERIFY(!player.hasFailed());
            if (!model.isWorking()) { // too late: the installation is over and the game runs
                removeAll(player);
                continue;
            }
            ++cancels;
            ++cancelledIn[model.log.lines->isEmpty() ? QString()
                                                     : model.log.lines->last().section(u' ', 0, 1)];
            time.start();
            model.cancel();
            QVERIFY(player.waitFor([&] { return !model.isWorking(); }));
            const qint64 took = time.elapsed();
            slowest = std::max(slowest, took);
            const QString how = u"cancelled after %1 ms, took %2 ms, log: %3"_s.arg(moment).arg(took).arg(
                model.log.lines->join(u'\n'));
            QVERIFY2(took <= mostTime, qPrintable(how));
            QVERIFY2(model.log.lines->last() == Texts::cancelled, qPrintable(how));
            QVERIFY2(!model.failureMessage.get() && model.stepText->isEmpty(), qPrintable(how));
            QVERIFY2(Player::scratch().isEmpty(), qPrintable(how));
            QVERIFY2(isWholeOrAbsent(), qPrintable(how));
            QVERIFY2(model.state.get() == AppState::notDownloaded() || isComplete(), qPrintable(how));
            removeAll(player);
        }
        for (const auto &[line, count] : cancelledIn)
            qInfo("%2d after \"%s...\"", count, qPrintable(line));
        qInfo("The slowest took %lld ms.", slowest);

        // After all that, Play still works.
        QVERIFY(player.playToRunning());
    }

private:
    static constexpr int levels = 40;
    static constexpr qint64 bigFile = 4'000'000;
    /// Milliseconds that a cancellation may take; sanitizers slow everything down.
    static constexpr qint64 mostTime = Strain::isMeasurable() ? 500 : 2000;

    /// Makes every phase take a while: header, body, hashing, unpacking, importing.
    static void serveSlowly(ScriptedHost &host)
    {
        const auto slow = [](const QByteArray &body) {
            const qsizetype tail = std::min<qsizetype>(body.size(), 20'000);
            return HttpReply()
                .pause(20ms)
                .send("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n")
                .pause(20ms)
                .send(body.chopped(tail))
                .sendSlowly(body.right(tail), 5000, 10ms);
        };
        QList<ZipEntry> files;
        for (int i = 0; i < levels; ++i)
            files.append(ZipEntry::file("Vantor-master/level" + QByteArray::number(i), QByteArray(500, 'x')));
        const QByteArray game = ScriptedHost::gameArchive(files, "sleep 0.05; mkdir -p .godot\n");
        const QByteArray engine = host.engineArchive({ ZipEntry::file("big", QByteArray(bigFile, 'x')) });
        host.server.serve(ScriptedHost::gamePath(), slow(game));
        host.server.serve(ScriptedHost::listPath(), slow(ScriptedHost::listFor(engine)));
        host.server.serve(ScriptedHost::enginePath(), slow(engine));
    }

    /// Restores the state of a fresh machine. Stops a running game first.
    static void removeAll(Player &player)
    {
        QVERIFY(player.stopGame() && player.waitUntilIdle());
        FileOperations::removeTree(Paths::root());
        player.model->loadInfo();
        player.model->refreshState();
    }

    /// Whether the game and the engine are each complete or absent.
    static bool isWholeOrAbsent()
    {
        const QString game = Paths::gameFolder();
        const QString engine = EngineManager::folder(ScriptedHost::engine());
        const bool gameIsFine = !QFileInfo::exists(game)
            || (Player::hasInstalled(u"project.godot"_s)
                && QDir(game).entryList({ u"level*"_s }).size() == levels);
        const bool engineIsFine = !QFileInfo::exists(engine)
            || (EngineManager::executable(ScriptedHost::engine())
                && QFileInfo(engine + u"/big"_s).size() == bigFile);
        return gameIsFine && engineIsFine;
    }

    static bool isComplete()
    {
        return EngineManager::executable(ScriptedHost::engine())
            && QFileInfo::exists(EngineManager::markerURL(ScriptedHost::engine()));
    }
};

QTEST_GUILESS_MAIN(RandomCancelTest)
#include "RandomCancelTest.moc"
