// Details of the model's actions: each is one line of code whose loss no other test would notice.

#include "EngineManager.h"
#include "Player.h"
#include "ScriptedHost.h"

#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <sys/syscall.h>
#include <unistd.h>

#include <functional>

namespace {

using Verb = void (AppModel::*)();

QByteArray contentOf(const QString &file)
{
    QFile opened(file);
    if (!opened.open(QIODevice::ReadOnly))
        qFatal("%s cannot be read.", qPrintable(file));
    return opened.readAll();
}

QString marker(const AppModel &model)
{
    return EngineManager::markerURL(EngineManager::spec(*model.info.get()));
}

}

#ifdef Q_OS_LINUX
namespace {

/// Called with the new path after every successful rename.
std::function<void(const QString &)> onRenamed;

}

// Replaces the system's function, so that a test can interfere right after a rename.
extern "C" int renameat2(int fromFolder, const char *from, int toFolder, const char *to,
                         unsigned flags) noexcept
{
    const long result = ::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags);
    if (result == 0 && onRenamed)
        onRenamed(QFile::decodeName(to));
    return static_cast<int>(result);
}
#endif

class FlowDetailsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aPlayThatIsCancelledWithAllInPlaceStartsNothing()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        model.play();
        model.cancel();
        QTRY_VERIFY(!model.isWorking());
        QVERIFY(!model.runner.isRunning);
        QCOMPARE(model.log.lines.get(), QStringList({ QStringLiteral("Cancelled.") }));
        QCOMPARE(model.state.get(), AppState::ready());
    }

    void theNextActionClearsTheNotice_data()
    {
        QTest::addColumn<Verb>("verb");
        QTest::newRow("play") << Verb(&AppModel::play);
        QTest::newRow("update") << Verb(&AppModel::updateGame);
        QTest::newRow("reinstall") << Verb(&AppModel::reinstall);
    }

    void theNextActionClearsTheNotice()
    {
        QFETCH(Verb, verb);
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        model.notice = QStringLiteral("Everything was removed.");
        (model.*verb)();
        QVERIFY(!model.notice.get());
    }

    void reinstallShowsAtOnceThatNothingIsDownloaded()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        model.reinstall();
        QCOMPARE(model.state.get(), AppState::notDownloaded());
    }

    void aFailureClearsTheProgress()
    {
        Player player;
        player.writeGame(QStringLiteral("play.sh"), "while [ ! -e go ]; do sleep 0.01; done; exit 3\n");
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.playToRunning());
        model.progress = 0.5;
        player.home.write(QStringLiteral("data/Vantor Platformer/Game/go"), {});
        QTRY_VERIFY(player.hasFailed());
        QVERIFY(!model.progress.get());
    }

    void theDetailOfADownloadSaysWhatHasComeOfHowMuch()
    {
        Player player;
        const ScriptedHost host;
        const QByteArray archive = ScriptedHost::gameArchive();
        host.server->serve(ScriptedHost::gamePath(), archive);
        AppModel &model = player.startModel();
        QStringList details;
        connect(&model, &Observable::willChange, this, [&] {
            if (!model.progressDetail->isEmpty())
                details << model.progressDetail;
        });
        model.play();
        QTRY_VERIFY(player.hasFailed()); // the host serves no engine
        QVERIFY(!details.isEmpty());
        const DownloadProgress whole { .received = archive.size(),
                                       .total = archive.size(),
                                       .bytesPerSecond = 0 };
        QVERIFY2(details.last().startsWith(whole.text()), qPrintable(details.last()));
    }

    void theNetLineStandsBeforeTheImport()
    {
        Player player("\"4.6\", \"C#\"");
        player.startHost();
        const AppModel &model = player.startModel();
        QVERIFY(player.playToRunning());
        const auto position = [&model](const QString &beginning) {
            return model.log.lines->indexOf(QRegularExpression(u'^' + beginning + QStringLiteral(".*")));
        };
        const auto netLine = position(QStringLiteral("This game uses C#"));
        QVERIFY(netLine > position(QStringLiteral("Clearing the macOS download flag")));
        QVERIFY(netLine < position(QStringLiteral("First-time setup, pass 1")));
    }

    void anImportThatIsCancelledAndLeftNothingGivesNoWarning()
    {
        Player player;
        player.writeGame(QStringLiteral("import.sh"), "echo waiting; exec sleep 60\n");
        player.startHost();
        AppModel &model = player.startModel();
        model.play();
        QTRY_VERIFY(model.log.lines->contains(QStringLiteral("waiting")));
        model.cancel();
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(
            model.log.lines->last(2),
            QStringList({ QStringLiteral("No imported files found yet."), QStringLiteral("Cancelled.") }));
    }

    void theWindowLivesWhileAnEngineIsHashed()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        bool hasTurned = false;
        std::optional<bool> hadTurned;
        // willChange comes before a line is stored, so the last stored line is the one before it.
        connect(&model.log, &Observable::willChange, this, [&] {
            const QString before = model.log.lines->value(model.log.lines->size() - 1);
            if (before.startsWith(QStringLiteral("Downloading Godot ")))
                QMetaObject::invokeMethod(
                    this, [&hasTurned] { hasTurned = true; }, Qt::QueuedConnection);
            if (before.startsWith(QStringLiteral("Checking the download against")))
                hadTurned = hasTurned;
        });
        QVERIFY(player.playToRunning());
        QCOMPARE(hadTurned, std::optional(true));
    }

    void aGameIsPlayingFourSecondsAfterItsStart()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        // Due later than the model's own timer: however busy the machine is, it fires after that one.
        std::optional<AppState> stateThen;
        const QObject context;
        const auto look = [&] { stateThen = model.state.get(); };
        const auto begin = [&] { QTimer::singleShot(4400, Qt::PreciseTimer, &context, look); };
        connect(&model.runner, &Observable::willChange, &context, begin, Qt::SingleShotConnection);
        QVERIFY(player.playToRunning());
        QTRY_VERIFY_WITH_TIMEOUT(stateThen, 10'000);
        QCOMPARE(*stateThen, AppState::playing());
    }

    void theStateIsWorkedOutFromTheFactsThatAreKnown()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        ProjectInfo wantsAnotherEngine = *model.info.get();
        wantsAnotherEngine.features = { QStringLiteral("4.2") };
        model.info = wantsAnotherEngine;
        model.refreshState();
        QCOMPARE(model.state.get(), AppState::notDownloaded());
    }

    void theStateIsWorkedOutAgainOnceTheFactsAreRead()
    {
        Player player;
        player.startHost();
        player.startModel();
        QVERIFY(player.install());
        const QString file = marker(*player.model);
        QVERIFY(QFile::remove(file));
        AppModel &model = player.startModel();
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QFile mark(file);
        QVERIFY(mark.open(QIODevice::WriteOnly));
        QTRY_VERIFY(model.info.get());
        QCOMPARE(model.state.get(), AppState::ready());
    }

    void theFactsOfAGameThatIsGoneAreForgotten()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        QVERIFY(model.info.get());
        QVERIFY(QDir(Paths::gameFolder()).removeRecursively());
        model.loadInfo();
        QVERIFY(!model.info.get());
    }

    void aListOfChecksumsWithAnotherStatusIsNotRead_data()
    {
        QTest::addColumn<int>("status");
        for (const int status : { 300, 301, 302, 303, 304, 404, 500 })
            QTest::addRow("%d", status) << status;
    }

    void aListOfChecksumsWithAnotherStatusIsNotRead()
    {
        QFETCH(int, status);
        Player player;
        ScriptedHost host;
        const QByteArray engine = contentOf(player.home.filePath(QStringLiteral("standing-engine")));
        host.serveGood(engine);
        const QByteArray list = ScriptedHost::listFor(ScriptedHost::engineArchive(engine));
        host.server->serve(ScriptedHost::listPath(), HttpReply::status(status, list));
        AppModel &model = player.startModel();
        model.play();
        QTRY_VERIFY(player.hasFailed());
        QCOMPARE(*model.failureMessage.get(),
                 QStringLiteral("Could not get the checksum list (server error %1).").arg(status));
    }

    void theFolderExistsWhenTheLogSaysThatTheGameIsUnpacked()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        std::optional<bool> existed;
        connect(&model.log, &Observable::willChange, this, [&] {
            // The second line is about to be stored.
            if (model.log.lines->size() == 1)
                existed = QFileInfo(Player::scratch().value(0) + QStringLiteral("/extract")).isDir();
        });
        model.play();
        QTRY_VERIFY(model.log.lines->size() >= 2);
        QCOMPARE(model.log.lines->at(1), QStringLiteral("Unpacking the game"));
        QCOMPARE(existed, std::optional(true));
    }

#ifdef Q_OS_LINUX
    void aGameThatIsGoneAgainOnceItIsInPlaceIsAFailure()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        onRenamed = [](const QString &place) {
            if (place == Paths::gameFolder())
                QFile::remove(place + QStringLiteral("/project.godot"));
        };
        model.play();
        const bool isIdle = player.waitUntilIdle();
        onRenamed = nullptr;
        QVERIFY(isIdle);
        QCOMPARE(model.failureMessage.get(),
                 std::optional(QStringLiteral("The game was unpacked but project.godot was not found.")));
    }
#endif

    void anUpdateThatARemovalOvertookIsNotReported()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startModel();
        QVERIFY(player.install());
        connect(&model.log, &Observable::willChange, this, [&] {
            // The update's last line is about to be stored; only its scratch folder is still to be removed.
            if (model.isWorking()
                && model.log.lines->value(model.log.lines->size() - 1)
                    == QStringLiteral("Unpacking the game"))
                QMetaObject::invokeMethod(&model, &AppModel::removeEverything, Qt::QueuedConnection);
        });
        model.updateGame();
        QVERIFY(player.waitUntilIdle());
        QCOMPARE(model.notice.get(), std::optional(QStringLiteral("Everything was removed.")));
        QCOMPARE(model.log.lines.get(), QStringList({ QStringLiteral("Cancelled.") }));
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QVERIFY(!QFileInfo::exists(Paths::root()));
    }
};

QTEST_GUILESS_MAIN(FlowDetailsTest)
#include "FlowDetailsTest.moc"
