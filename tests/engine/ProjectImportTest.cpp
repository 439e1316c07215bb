#include "EngineManager.h"

#include "FileOperations.h"
#include "LogStore.h"
#include "Paths.h"
#include "ProcessController.h"
#include "ShellScript.h"
#include "Table.h"
#include "Tasks.h"
#include "TestHome.h"

using namespace Qt::StringLiterals;

namespace {

const EngineSpec line4 { 4, u"4.3"_s, false };
const EngineSpec mono { 4, u"4.3"_s, true };
const EngineSpec line3 { 3, u"3.6.3"_s, false };

const QString firstPass = u"First-time setup, pass 1: godot "_s;
const QString nothingImported = u"No imported files found yet."_s;

QString endedWith(int status) { return u"Setup pass ended with exit code %1"_s.arg(status); }

}

class ProjectImportTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TestHome>();
        m_log = std::make_unique<LogStore>();
        m_project = Paths::gameFolder();
        QDir().mkpath(m_project);
    }
    void cleanup()
    {
        m_log.reset();
        m_home.reset();
    }

    void anImportCountsByWhatItLeaves_data()
    {
        const auto row = table<EngineSpec, QByteArray, QStringList>("spec", "script", "lines");
        row("one pass is enough", line4, "mkdir \"$4\"/.godot", {});
        row("the engine's lines are logged unchanged", line4,
            "echo '  [ 16% ] first  '; echo 'ERROR: x' >&2; mkdir \"$4\"/.godot",
            { u"  [ 16% ] first  "_s, u"ERROR: x"_s });
        row("anything called .godot", line4, "touch \"$4\"/.godot", {});
        row("an engine that ends badly", line4, "mkdir \"$4\"/.godot; exit 1", { endedWith(1) });
        row("an engine that crashes", line4, "mkdir \"$4\"/.godot; kill -SEGV $$", { endedWith(11) });
        row("the .NET build has a marker of its own", mono, "mkdir \"$4\"/.godot", {});
        row("the older line", line3, "mkdir \"$4\"/.import && touch \"$4\"/.import/.hidden", {});
    }

    void anImportCountsByWhatItLeaves()
    {
        QFETCH(EngineSpec, spec);
        QFETCH(QByteArray, script);
        QFETCH(QStringList, lines);
        QVERIFY(import(spec, script));
        QCOMPARE(log(), QStringList(firstPass + argumentsOf(spec)) + lines);
        QCOMPARE(marker(spec), QByteArray("ok"));
        QCOMPARE(m_home->read(EngineManager::markerURL(line4)) == "ok", spec == line4);
    }

    void aPassThatLeavesNothingIsRepeatedOnce_data()
    {
        const auto row = table<EngineSpec, QByteArray>("spec", "script");
        row("an engine that ends well", line4, ":");
        row("an empty folder of the older line", line3, "mkdir -p \"$4\"/.import");
        row("a file in place of the older line's folder", line3, "touch \"$4\"/.import");
        row("the newer folder with the older line", line3, "mkdir -p \"$4\"/.godot; touch \"$4\"/.godot/x");
    }

    void aPassThatLeavesNothingIsRepeatedOnce()
    {
        QFETCH(EngineSpec, spec);
        QFETCH(QByteArray, script);
        QVERIFY(!import(spec, script + "; echo \"$*\" >> \"$HOME/calls\""));
        const QString arguments = argumentsOf(spec);
        QCOMPARE(log(),
                 QStringList({ firstPass + arguments, nothingImported,
                               u"First-time setup, pass 2: godot "_s + arguments, nothingImported }));
        QCOMPARE(m_home->read(u"calls"_s), (arguments + u'\n').repeated(2).toUtf8());
        QVERIFY(!QFileInfo::exists(EngineManager::markerURL(spec)));
    }

    void theSecondPassMayLeaveThem()
    {
        QVERIFY(import(line4, "[ -e \"$HOME/once\" ] && mkdir \"$4\"/.godot; touch \"$HOME/once\""));
        QCOMPARE(log().filter(u"First-time setup"_s).size(), 2);
        QCOMPARE(log().filter(nothingImported).size(), 1);
        QCOMPARE(marker(line4), QByteArray("ok"));
    }

    void anEngineThatCannotBeStartedImportsNothing()
    {
        QVERIFY(!run(line4, m_home->filePath(u"no-engine"_s)));
        QCOMPARE(log().filter(endedWith(-1)).size(), 2);
        QCOMPARE(log().filter(nothingImported).size(), 2);
        QVERIFY(!QFileInfo::exists(EngineManager::markerURL(line4)));
    }

    void aCancelledControllerRunsAndLogsNothing()
    {
        const auto controller = ProcessController::create();
        controller->cancel();
        QVERIFY(!Tasks::finish(start(line4, engine("touch \"$HOME/ran\"; mkdir \"$4\"/.godot"), controller)));
        QCOMPARE(log(), QStringList());
        QVERIFY(!QFileInfo::exists(m_home->filePath(u"ran"_s)));
    }

    void aCancelEndsThePassAndThereIsNoSecond_data()
    {
        const auto row = table<QByteArray, QStringList>("script", "lines");
        row("nothing imported", ":", { endedWith(15), nothingImported });
        row("what was imported counts", "mkdir \"$4\"/.godot", { endedWith(15) });
    }

    void aCancelEndsThePassAndThereIsNoSecond()
    {
        QFETCH(QByteArray, script);
        QFETCH(QStringList, lines);
        const auto controller = ProcessController::create();
        auto task = start(line4, engine(script + "; touch \"$HOME/ran\"; exec sleep 60"), controller);
        QTRY_VERIFY(QFileInfo::exists(m_home->filePath(u"ran"_s)));
        controller->cancel();
        const bool isImported = !lines.contains(nothingImported);
        QCOMPARE(Tasks::finish(std::move(task)), isImported);
        QCOMPARE(log(), QStringList(firstPass + argumentsOf(line4)) + lines);
        QCOMPARE(marker(line4) == "ok", isImported);
    }

    void anEarlierMarkerIsReplaced()
    {
        FileOperations::writeAtomically(EngineManager::markerURL(line4), "something longer");
        QVERIFY(import(line4, "mkdir \"$4\"/.godot"));
        QCOMPARE(marker(line4), QByteArray("ok"));
    }

    void aMarkerThatCannotBeWrittenIsIgnored()
    {
        QDir().mkpath(EngineManager::markerURL(line4) + u"/in the way"_s);
        QVERIFY(import(line4, "mkdir \"$4\"/.godot"));
        QVERIFY(QFileInfo(EngineManager::markerURL(line4)).isDir());
    }

private:
    QString argumentsOf(const EngineSpec &spec) const
    {
        const QString first = spec.major < 4 ? u"--no-window --editor"_s : u"--headless --import"_s;
        return first + u" --path "_s + m_project + u" --quit"_s;
    }

    /// Returns the path of a shell script that stands in for the engine. Its "$4" is the project folder.
    QString engine(const QByteArray &commands) const { return shellScript(*m_home, u"engine"_s, commands); }

    QCoro::Task<bool> start(EngineSpec spec, QString executable,
                            std::shared_ptr<ProcessController> controller)
    {
        return m_engines.importProject(spec, executable, m_project, m_log.get(), controller);
    }

    bool run(const EngineSpec &spec, const QString &executable)
    {
        return Tasks::finish(start(spec, executable, ProcessController::create()));
    }

    bool import(const EngineSpec &spec, const QByteArray &commands) { return run(spec, engine(commands)); }

    QStringList log() const { return m_log->lines; }

    QByteArray marker(const EngineSpec &spec) const { return m_home->read(EngineManager::markerURL(spec)); }

    std::unique_ptr<TestHome> m_home;
    std::unique_ptr<LogStore> m_log;
    EngineManager m_engines;
    QString m_project;
};

QTEST_GUILESS_MAIN(ProjectImportTest)
#include "ProjectImportTest.moc"
