// Whatever a game or an import does, the launcher reports it exactly, its main thread stays responsive, its
// memory stays small, and nothing of the child is left.

#include "Children.h"
#include "Player.h"
#include "Rows.h"
#include "Strain.h"
#include "Texts.h"

#include <QElapsedTimer>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QByteArray flood(const char *what, qint64 number)
{
    return QFile::encodeName(Children::program(u"child-flood"_s)) + ' ' + what + ' '
        + QByteArray::number(number);
}

/// An import that ignores the request to end.
const QByteArray stubborn = "trap '' TERM; mkdir -p .godot; echo ready; while :; do sleep 0.05; done";

QStringList numbers(qint64 from, qint64 end)
{
    QStringList lines;
    for (qint64 number = from; number < end; ++number)
        lines << QString::number(number);
    return lines;
}

/// A regular expression for the sentence of a game that ended with `code`, whether early or late.
QString ended(int code)
{
    const QString late = *exitReport({ .status = code, .seconds = 77, .stoppedByUser = false }).failure;
    QString either
        = QRegularExpression::escape(Texts::closedEarly(7, code)) + u'|' + QRegularExpression::escape(late);
    return either.replace(QRegularExpression(u"7+\\\\ seconds"_s), u"[0-9]+ seconds?"_s);
}

/// Verifies after a run: no zombie, no leaked descriptor, a responsive main thread and little memory used.
class Watch final {
public:
    Watch()
    {
        waitForBackground(20s); // where a new model reads the game
        m_files = Children::openFiles();
    }

    Strain strain;

    void verify()
    {
        QVERIFY(Children::noZombie());
        const bool isAsBefore = QTest::qWaitFor([this] { return Children::openFiles() == m_files; });
        QVERIFY2(isAsBefore,
                 qPrintable(m_files.join(u' ') + u" became "_s + Children::openFiles().join(u' ')));
        if (!Strain::isMeasurable())
            return;
        QVERIFY2(strain.keptItsTurns(), qPrintable(u"%1 ms without a turn"_s.arg(strain.longestGap())));
        const auto growth = strain.memoryGrowth();
        QVERIFY2(growth <= Strain::mostMemory, qPrintable(u"%1 bytes more"_s.arg(growth)));
    }

private:
    QStringList m_files;
};

}

class HostileChildrenTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_player.startInstalled(); }

    void init()
    {
        m_player.writeInstalled(u"import.sh"_s, "mkdir -p .godot\n");
        m_player.writeInstalled(u"play.sh"_s, "echo playing; exec sleep 60\n");
        QFile::remove(Paths::gameFolder() + u"/go"_s);
    }

    void cleanup()
    {
        model().cancel();
        QVERIFY(m_player.stopGame());
        QVERIFY(m_player.waitUntilIdle());
    }

    void aGameIsReportedExactlyWhateverItDoes_data()
    {
        addScripts([this](const QByteArray &script, int code, const QStringList &output, int seconds) {
            m_player.writeInstalled(u"play.sh"_s, script);
            Watch watch;
            playToTheEnd(watch);
            m_player.verifyFailure(QRegularExpression::escape(Texts::closedEarly(seconds, code)));
            QCOMPARE(model().log.lines->mid(1), output);
            QVERIFY(model().stepText->isEmpty());
            endGrandchild();
            watch.verify();
        });
    }
    void aGameIsReportedExactlyWhateverItDoes() { runRow(); }

    void aFloodIsReportedAndKeptInOrder_data()
    {
        const auto row = rows([this](const QByteArray &flood, bool fromImport, qint64 lines) {
            if (fromImport)
                importWith("mkdir -p .godot; " + flood + "; exit 4");
            m_player.writeInstalled(u"play.sh"_s, fromImport ? "exit 3" : flood + "; exit 3");
            Watch watch;
            playToTheEnd(watch, 10min);
            m_player.verifyFailure(ended(3));
            QStringList log = model().log.lines;
            if (fromImport) {
                QCOMPARE(log.takeLast(), Texts::starting(spec()));
                QCOMPARE(log.takeLast(), Texts::passEnded(4));
            }
            if (lines > 0)
                QCOMPARE(log, numbers(lines - LogStore::maxLines + (fromImport ? 2 : 0), lines));
            watch.verify();
        });
        const QByteArray lines = flood("lines", Strain::manyLines());
        const QByteArray bytes = flood("bytes", Strain::manyBytes());
        row("lines from a game", lines, false, Strain::manyLines());
        row("a game that never ends its line", bytes, false, 0);
        row("lines from an import", lines, true, Strain::manyLines());
        row("an import that never ends its line", bytes, true, 0);
    }
    void aFloodIsReportedAndKeptInOrder() { runRow(); }

    void fiftyGamesLeaveNoDescriptorAndNoZombie()
    {
        m_player.writeInstalled(u"play.sh"_s, "echo word; exit 1\n");
        Watch watch;
        for (int game = 0; game < 50; ++game)
            playToTheEnd(watch);
        watch.verify();
    }

    void aGameThatIgnoresTheRequestToEndRunsOnUntilItEndsByItself()
    {
        m_player.writeInstalled(
            u"play.sh"_s,
            "trap '' TERM; echo ready; while [ ! -e go ]; do sleep 0.05; done; echo saved; exit 0");
        Watch watch;
        playUntilReady(watch);
        for (int press = 0; press < 3; ++press)
            model().runner.stop();
        QElapsedTimer sinceStop;
        sinceStop.start();
        // Longer than an import is given to end: a game may hold unsaved progress, so it is never killed.
        QVERIFY(watch.strain.runUntil([&] { return sinceStop.hasExpired(6000) || m_player.isIdle(); }));
        QVERIFY(model().runner.isRunning);
        m_player.writeInstalled(u"go"_s, {});
        waitUntilIdle(watch);
        QCOMPARE(model().log.lines->last(2), QStringList({ u"saved"_s, Texts::stopped() }));
        QCOMPARE(model().state.get(), AppState::ready());
        watch.verify();
    }

    void anImportIsLoggedExactlyWhateverItDoes_data()
    {
        addScripts([this](const QByteArray &script, int code, const QStringList &output, int) {
            importWith("mkdir -p .godot; " + script);
            Watch watch;
            playToTheGame(watch);
            QStringList expected = QStringList(Texts::importPass(1)) + output;
            if (code != 0)
                expected << Texts::passEnded(code);
            expected << Texts::starting(spec());
            const QStringList log = model().log.lines;
            QCOMPARE(log.first(std::min(expected.size(), log.size())), expected);
            endGrandchild();
            QVERIFY(m_player.stopGame());
            watch.verify();
        });
    }
    void anImportIsLoggedExactlyWhateverItDoes() { runRow(); }

    void anImportThatIgnoresTheRequestToEndIsEndedSoonAfterCancel()
    {
        importWith(stubborn);
        Watch watch;
        playUntilReady(watch);
        QElapsedTimer sinceCancel;
        sinceCancel.start();
        model().cancel();
        waitUntilIdle(watch);
        QVERIFY(sinceCancel.elapsed() >= 4500); // it gets time to end cleanly
        QVERIFY(sinceCancel.elapsed() < 7000);
        QCOMPARE(model().log.lines->last(2), QStringList({ Texts::passEnded(SIGKILL), Texts::cancelled }));
        QCOMPARE(model().state.get(), AppState::notDownloaded());
        QVERIFY(!model().failureMessage.get());
        watch.verify();
    }

    void anEngineThatCannotBeStartedIsLoggedAndReportedExactly_data()
    {
        const auto row = rows([this](const QByteArray &content, const QString &reason) {
            importWith("mkdir -p .godot\n");
            const QByteArray sound = m_player.home.read(engine());
            m_player.home.write(engine(), content); // it stays a program
            Watch watch;
            playToTheEnd(watch);
            m_player.home.write(engine(), sound);

            const QString line = u"Could not start %1: %2"_s.arg(spec().fileName().chopped(4), reason);
            const QStringList pass { line, Texts::passEnded(-1), Texts::nothingImported };
            QCOMPARE(model().log.lines.get(),
                     QStringList(Texts::importPass(1)) + pass + QStringList(Texts::importPass(2)) + pass
                         + QStringList({ Texts::startsAnyway, Texts::starting(spec()), line }));
            m_player.verifyFailure(QRegularExpression::escape(Texts::closedEarly(0, -1)));
            watch.verify();
        });
        // The ELF header of a program for another kind of machine: 64-bit SPARC.
        QByteArray otherMachine("\x7f"
                                "ELF\x02\x02\x01",
                                7);
        otherMachine.append(9, '\0').append("\x00\x02\x00\x2b\x00\x00\x00\x01", 8).append(40, '\0');
        row("missing interpreter", "#!/no/such/interpreter\n", u"No such file or directory"_s);
        row("wrong architecture", otherMachine, u"Exec format error"_s);
        row("cut off", otherMachine.first(4), u"Exec format error"_s);
        row("empty", {}, u"Exec format error"_s);
    }
    void anEngineThatCannotBeStartedIsLoggedAndReportedExactly() { runRow(); }

    void anEngineThatIsNoProgramAnyMoreIsInstalledAgain()
    {
        m_player.startHost();
        QVERIFY(QFile::setPermissions(engine(), QFileDevice::ReadOwner | QFileDevice::WriteOwner));
        Watch watch;
        playToTheGame(watch);
        QVERIFY(model().log.lines->contains(Texts::checksumMatches));
        QVERIFY(QFileInfo(engine()).isExecutable());
        QVERIFY(m_player.stopGame());
        watch.verify();
    }

    // The last one: no action starts after quitting.
    void anImportThatIgnoresTheRequestToEndIsEndedAtOnceWithTheLauncher()
    {
        importWith(stubborn);
        Watch watch;
        playUntilReady(watch);
        QElapsedTimer sinceEnd;
        sinceEnd.start();
        const auto quitting = model().prepareToQuit();
        waitUntilIdle(watch);
        QVERIFY(sinceEnd.elapsed() < 900); // quitting waits only briefly
        QTRY_VERIFY(quitting.isReady());
        QCOMPARE(model().log.lines->last(), Texts::cancelled);
        watch.verify();
    }

private:
    /// Adds what a game or an import may do, to be checked with its exit status, its lines and how many
    /// seconds it takes.
    template <typename Check> static void addScripts(Check check)
    {
        const auto add = rows(check);
        const auto row = [add](const char *name, const QByteArray &script, int code,
                               const QStringList &output = { u"word"_s },
                               int seconds = 0) { add(name, script, code, output, seconds); };
        row("exits 0", "echo word", 0);
        row("exits 137 after an error message", "echo word >&2; exit 137", 137);
        row("exits 255", "echo word; exit 255", 255);
        for (const int number : { SIGSEGV, SIGABRT, SIGKILL, SIGTERM, SIGPIPE }) {
            const QByteArray text = QByteArray::number(number);
            row(("is ended by signal " + text).constData(), "ulimit -c 0; echo word; kill -" + text + " $$",
                number);
        }
        row("leaves a grandchild that holds its output",
            "sleep 60 & echo $! >grandchild; printf word; exit 5", 5);
        row("leaves a grandchild that floods its output",
            "echo word; sleep 60 & echo $! >grandchild; exec >&- 2>&-; " + flood("forever", 0) + " & exit 6",
            6);
        row("closes its output and runs on", "echo word; exec >&- 2>&-; sleep 1; exit 7", 7, { u"word"_s },
            1);
        row("reads its input", "read line; echo \"$? <$line>\"; cat; exit 8", 8, { u"1 <>"_s });
        row("prints nothing", "exit 9", 9, {});
        row("prints what is no text", "printf 'a\\377b\\n'; exit 10", 10, { u"a\uFFFDb"_s });
        row("prints a last line without an end", "printf 'word\\nlast'; exit 11", 11,
            { u"word"_s, u"last"_s });
    }

    AppModel &model() const { return *m_player.model; }
    EngineSpec spec() const { return EngineManager::spec(*model().info.get()); }
    QString engine() const { return EngineManager::folder(spec()) + u'/' + spec().fileName().chopped(4); }

    /// Makes the next Play import, with the shell script `script`.
    void importWith(const QByteArray &script) const
    {
        QFile::remove(EngineManager::markerURL(spec()));
        QDir(Paths::gameFolder() + u"/.godot"_s).removeRecursively();
        m_player.writeInstalled(u"import.sh"_s, script);
    }

    void playToTheEnd(Watch &watch, std::chrono::milliseconds limit = 30s) const
    {
        model().play();
        waitUntilIdle(watch, limit);
    }
    void waitUntilIdle(Watch &watch, std::chrono::milliseconds limit = 30s) const
    {
        QVERIFY(watch.strain.runUntil([this] { return m_player.isIdle(); }, limit));
    }
    /// Imports the game if necessary, starts it and leaves it running.
    void playToTheGame(Watch &watch) const
    {
        model().play();
        QVERIFY(watch.strain.runUntil([this] { return model().runner.isRunning.get(); }));
    }
    /// Plays until the script has printed "ready".
    void playUntilReady(Watch &watch) const
    {
        model().play();
        QVERIFY(watch.strain.runUntil([this] { return model().log.lines->contains(u"ready"_s); }));
    }

    /// Ends the grandchild that a script left, if it did.
    void endGrandchild() const
    {
        const QString file = Paths::gameFolder() + u"/grandchild"_s;
        if (!QFile::exists(file))
            return;
        const pid_t grandchild = m_player.home.read(file).trimmed().toInt();
        QVERIFY(grandchild > 1);
        QCOMPARE(::kill(grandchild, SIGKILL), 0); // it was alive
        QFile::remove(file);
    }

    Player m_player;
};

QTEST_GUILESS_MAIN(HostileChildrenTest)
#include "HostileChildrenTest.moc"
