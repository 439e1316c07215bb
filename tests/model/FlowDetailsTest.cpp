// Details of the model's actions: each is one line of code whose loss no other test would notice.

#include "Rows.h"
#include "ScriptedHost.h"
#include "Texts.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <functional>

using namespace Qt::StringLiterals;

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
    void theNextActionClearsWhatWasShown_data()
    {
        const auto row = rows([](const Player::Action &action, const std::optional<QString> &notice) {
            Player player;
            AppModel &model = player.startInstalled();
            model.notice = u"Something happened."_s;
            model.log.append(u"a line"_s);
            player.showFailure();
            action(model);
            QCOMPARE(model.notice.get(), notice);
            QVERIFY(!model.failureMessage.get());
            QVERIFY(model.failureLines->isEmpty());
            QVERIFY(model.log.lines->isEmpty());
            QCOMPARE(model.state.get(), AppState::notDownloaded());
        });
        row("play", &AppModel::play, {});
        row("update", &AppModel::updateGame, {});
        row("reinstall", &AppModel::reinstall, {});
        row("remove", &AppModel::removeEverything, Texts::removed);
    }
    void theNextActionClearsWhatWasShown() { runRow(); }

    void aFailureClearsTheProgress()
    {
        Player player;
        player.writeGame(u"play.sh"_s, "while [ ! -e go ]; do sleep 0.01; done; exit 3\n");
        AppModel &model = player.startInstalled();
        QVERIFY(player.playToRunning());
        model.progress = 0.5;
        player.writeInstalled(u"go"_s, {});
        QTRY_VERIFY(player.hasFailed());
        QVERIFY(!model.progress.get());
    }

    void theDetailOfADownloadSaysWhatHasComeOfHowMuch()
    {
        Player player;
        ScriptedHost host(player);
        host.server.serve(ScriptedHost::listPath(), HttpReply::status(404));
        const qint64 size = ScriptedHost::gameArchive().size();
        AppModel &model = player.startModel();
        QStringList details;
        const QObject watcher; // destroyed before what it captures
        connect(&model, &Observable::willChange, &watcher, [&] {
            if (!model.progressDetail->isEmpty())
                details << model.progressDetail;
        });
        QVERIFY(player.playToFailure()); // before the engine's archive
        QVERIFY(!details.isEmpty());
        const DownloadProgress whole { .received = size, .total = size, .bytesPerSecond = 0 };
        QVERIFY2(details.last().startsWith(whole.text()), qPrintable(details.last()));
    }

    void anImportThatIsCancelledAndLeftNothingLogsNoWarning()
    {
        Player player;
        player.writeGame(u"import.sh"_s, "echo waiting; exec sleep 60\n");
        AppModel &model = player.start();
        model.play();
        QTRY_VERIFY(model.log.lines->contains(u"waiting"_s));
        model.cancel();
        player.verifyCancelled();
        QCOMPARE(model.log.lines->last(2), QStringList({ Texts::nothingImported, Texts::cancelled }));
    }

    void theWindowLivesWhileAnEngineIsHashed()
    {
        Player player;
        AppModel &model = player.start();
        const QStringList log = Texts::firstLog(ScriptedHost::engine());
        bool hasTurned = false;
        std::optional<bool> hadTurned;
        // willChange comes before a line is stored, so the last stored line is the one before it.
        const QObject watcher; // destroyed before what it captures
        connect(&model.log, &Observable::willChange, &watcher, [&] {
            const QString before = model.log.lines->value(model.log.lines->size() - 1);
            if (before == log.at(4))
                QMetaObject::invokeMethod(
                    this, [&hasTurned] { hasTurned = true; }, Qt::QueuedConnection);
            if (before == log.at(5))
                hadTurned = hasTurned;
        });
        QVERIFY(player.playToRunning());
        QCOMPARE(hadTurned, std::optional(true));
    }

    void theStateIsWorkedOutFromTheFactsThatAreKnownAndADeletedGameHasNone()
    {
        Player player;
        AppModel &model = player.startInstalled();
        ProjectInfo wantsAnotherEngine = *model.info.get();
        wantsAnotherEngine.features = { u"4.2"_s };
        model.info = wantsAnotherEngine;
        model.refreshState();
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        Player::deleteOwn(u"Game"_s);
        model.loadInfo();
        QVERIFY(!model.info.get());
    }

    void anImportMarkerThatLeadsNowhereIsNone()
    {
        Player player;
        AppModel &model = player.startInstalled();
        const QString marker = EngineManager::markerURL(ScriptedHost::engine());
        QVERIFY(QFile::remove(marker));
        player.home.link(marker, u"unplugged"_s);
        model.refreshState();
        QCOMPARE(model.state.get(), AppState::notDownloaded());
        QVERIFY(player.install()); // imports again
        QVERIFY(model.log.lines->contains(u"imported"_s));
        QVERIFY(!QFileInfo(marker).isSymLink());
    }

    void theFolderExistsWhenTheLogSaysThatTheGameIsUnpacked()
    {
        Player player;
        AppModel &model = player.start();
        std::optional<bool> existed;
        const QObject watcher; // destroyed before what it captures
        connect(&model.log, &Observable::willChange, &watcher, [&] {
            // The second line is about to be stored.
            if (model.log.lines->size() == 1)
                existed = QDir(Paths::tempFolder()).exists(Player::scratch().value(0) + u"/extract"_s);
        });
        model.play();
        QTRY_VERIFY(model.log.lines->size() >= 2);
        QCOMPARE(model.log.lines->at(1), Texts::unpackingGame);
        QCOMPARE(existed, std::optional(true));
    }

#ifdef Q_OS_LINUX
    void aGameThatIsDeletedAsSoonAsItIsInPlaceIsAFailure()
    {
        Player player;
        AppModel &model = player.start();
        onRenamed = [](const QString &place) {
            if (place == Paths::gameFolder())
                QFile::remove(place + u"/project.godot"_s);
        };
        const bool isIdle = player.complete(&AppModel::play);
        onRenamed = nullptr;
        QVERIFY(isIdle);
        QCOMPARE(model.failureMessage.get(),
                 std::optional(u"The game was unpacked but project.godot was not found."_s));
    }
#endif

    void anUpdateThatARemovalOvertookIsNotReported()
    {
        Player player;
        player.startHost();
        AppModel &model = player.startInstalled();
        const QObject watcher; // destroyed before what it captures
        connect(&model.log, &Observable::willChange, &watcher, [&] {
            // The update's last line is about to be stored; only its scratch folder is still to be removed.
            if (model.isWorking()
                && model.log.lines->value(model.log.lines->size() - 1) == Texts::unpackingGame)
                QMetaObject::invokeMethod(&model, &AppModel::removeEverything, Qt::QueuedConnection);
        });
        QVERIFY(player.complete(&AppModel::updateGame));
        QCOMPARE(model.log.lines.get(), QStringList({ Texts::cancelled }));
        player.verifyRemoved();
    }
};

QTEST_GUILESS_MAIN(FlowDetailsTest)
#include "FlowDetailsTest.moc"
