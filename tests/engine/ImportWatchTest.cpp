#include "Background.h"
#include "EngineManager.h"
#include "LogStore.h"
#include "Paths.h"
#include "ProcessController.h"
#include "ShellScript.h"
#include "Table.h"
#include "Tasks.h"
#include "TestHome.h"

#include <chrono>
#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const EngineSpec line3 { 3, u"3.6.3"_s, false };
const EngineSpec line4 { 4, u"4.3"_s, false };

const QString ended = u"The engine finished importing but did not end; it was ended."_s;
const QString nothingImported = u"No imported files found yet."_s;

QString endedWith(int status) { return u"Setup pass ended with exit code %1"_s.arg(status); }

/// Imports the project's picture in the way of each line.
const QByteArray import4 = "mkdir -p .godot/imported; echo x > .godot/imported/a; "
                           "printf '[remap]\\npath=\"res://.godot/imported/a\"\\n' > a.png.import; ";
const QByteArray import3 = "mkdir -p .import; echo x > .import/a; "
                           "printf '[deps]\\ndest_files=[ \"res://.import/a\" ]\\n' > a.png.import; ";
/// Imports what leaves the folder empty that the test for imported files looks into.
const QByteArray importTable = "mkdir -p .import; rm -f a.png; echo x > text.csv; echo x > text.en; "
                               "printf '[deps]\\ndest_files=[ \"res://text.en\" ]\\n' > text.csv.import; ";
const QByteArray hang = "exec sleep 60";

}

/// An engine that has imported everything and does not end is ended, and no other. A shell script in the
/// project's folder stands in for the engine.
class ImportWatchTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TestHome>();
        m_log = std::make_unique<LogStore>();
        m_project = Paths::gameFolder();
        write(u"a.png"_s, "x");
    }
    void cleanup()
    {
        QVERIFY(waitForBackground(10s));
        // Deliver the result of a look that nobody waits for.
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        m_log.reset();
        m_home.reset();
    }

    void anEngineThatHasImportedAllAndDoesNotEndIsEnded_data()
    {
        const auto row = table<EngineSpec, QByteArray, int>("spec", "script", "status");
        row("the newer line", line4, import4 + hang, SIGTERM);
        row("the older line", line3, import3 + hang, SIGTERM);
        row("one that ends well when asked", line4,
            import4 + "trap 'exit 0' TERM; while :; do sleep 0.01; done", 0);
        row("one that ends badly when asked", line4,
            import4 + "trap 'exit 7' TERM; while :; do sleep 0.01; done", 7);
        row("one that is stopped", line4, import4 + "kill -STOP $$", SIGKILL);
        row("one that ignores the request", line4, import4 + "trap '' TERM; while :; do sleep 0.01; done",
            SIGKILL);
    }

    void anEngineThatHasImportedAllAndDoesNotEndIsEnded()
    {
        QFETCH(EngineSpec, spec);
        QFETCH(QByteArray, script);
        QFETCH(int, status);
        const auto controller = ProcessController::create();
        QVERIFY(import(spec, script, controller));
        QStringList expected { ended };
        if (status != 0)
            expected << endedWith(status);
        QCOMPARE(log().mid(1), expected);
        QCOMPARE(m_home->read(EngineManager::markerURL(spec)), QByteArray("ok"));
        QVERIFY(!controller->isCancelled());
    }

    void anEngineThatMayStillBeAtWorkIsLeftToIt_data()
    {
        const auto row = table<QByteArray, std::chrono::milliseconds>("script", "quiet");
        const QByteArray quietly = "exec sleep 2"; // long enough to be ended several times
        row("a file is missing", import4 + "rm .godot/imported/a; " + quietly, 200ms);
        row("another picture has not been imported", import4 + "echo x > b.png; " + quietly, 200ms);
        row("nothing says what is to be imported", "rm a.png; mkdir .godot; " + quietly, 200ms);
        const auto active = [](const QByteArray &step) {
            return import4 + "for i in $(seq 60); do " + step + "; sleep 0.05; done";
        };
        row("it prints", active("echo $i"), 1s);
        row("it creates files", active(": > .godot/$i"), 1s);
        row("it changes a file", active("echo $i > .godot/x"), 1s);
        row("it makes and removes a file", active("mkdir x; rmdir x; [ -e y ] && rm y || : > y"), 1s);
        row("it is done at once", import4, 1s);
    }

    void anEngineThatMayStillBeAtWorkIsLeftToIt()
    {
        QFETCH(QByteArray, script);
        QFETCH(std::chrono::milliseconds, quiet);
        QVERIFY(Tasks::finish(start(line4, script, ProcessController::create(), { .quiet = quiet })));
        QVERIFY2(!log().contains(ended), qPrintable(log().join(u'\n')));
        QVERIFY(log().filter(u"Setup pass ended"_s).isEmpty());
    }

    void aFileThatComesLateIsWaitedFor()
    {
        // Missing for several times as long as an engine must be quiet; then the engine hangs.
        const QByteArray late = "mv .godot/imported/a b; sleep 1.5; mv b .godot/imported/a; echo done; ";
        QVERIFY(import(line4, import4 + late + hang));
        QCOMPARE(log().mid(1), QStringList({ u"done"_s, ended, endedWith(SIGTERM) }));
    }

    void theTestForImportedFilesDecidesAsAfterAnyPass()
    {
        // The first pass ends when asked. The second takes longer than one that was asked to end may take.
        const QByteArray script = importTable
            + "if mkdir \"$HOME/once\"; then exec sleep 60; else rm text.en; exec sleep 2; fi 2>/dev/null";
        QVERIFY(!import(line3, script));
        QStringList lines = log();
        const auto isPass = [](const QString &line) { return line.startsWith(u"First-time setup, pass "_s); };
        QCOMPARE(lines.removeIf(isPass), 2);
        QCOMPARE(lines, QStringList({ ended, endedWith(SIGTERM), nothingImported, nothingImported }));
        QVERIFY(!QFileInfo::exists(EngineManager::markerURL(line3)));
    }

    void aCancelIsACancelThoughAllIsImported()
    {
        const auto controller = ProcessController::create();
        auto task
            = start(line4, import4 + "trap '' TERM; " + "touch \"$HOME/ready\"; while :; do sleep 0.01; done",
                    controller, { .quiet = 300ms, .beforeKill = 60s });
        QTRY_VERIFY(QFileInfo::exists(m_home->filePath(u"ready"_s)));
        controller->cancel();
        // Quiet for long enough; but it was asked to end already, by the player.
        QTest::qWait(1500);
        QVERIFY(!task.isReady());
        controller->kill();
        QVERIFY(Tasks::finish(std::move(task)));
        QCOMPARE(log().mid(1), QStringList { endedWith(SIGKILL) });
    }

    void thePlayersPatienceIsHalfAMinute()
    {
        QVERIFY(ImportPatience().quiet == 30s);
        QVERIFY(ImportPatience().beforeKill == 5s);
    }

private:
    void write(const QString &name, const QByteArray &content) const
    {
        m_home->write(QDir(m_home->path()).relativeFilePath(m_project + u'/' + name), content);
    }

    QCoro::Task<bool> start(EngineSpec spec, QByteArray commands,
                            std::shared_ptr<ProcessController> controller, ImportPatience patience)
    {
        const QString engine = shellScript(*m_home, u"engine"_s, "cd \"$4\"; " + commands);
        return m_engines.importProject(spec, engine, m_project, m_log.get(), controller, patience);
    }

    bool import(const EngineSpec &spec, const QByteArray &commands,
                const std::shared_ptr<ProcessController> &controller = ProcessController::create())
    {
        return Tasks::finish(start(spec, commands, controller, { .quiet = 300ms, .beforeKill = 300ms }));
    }

    QStringList log() const { return m_log->lines; }

    std::unique_ptr<TestHome> m_home;
    std::unique_ptr<LogStore> m_log;
    EngineManager m_engines;
    QString m_project;
};

QTEST_GUILESS_MAIN(ImportWatchTest)
#include "ImportWatchTest.moc"
