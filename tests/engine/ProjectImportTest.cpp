#include "EngineManager.h"

#include "FileOperations.h"
#include "LogStore.h"
#include "Paths.h"
#include "ProcessController.h"
#include "Rows.h"
#include "ShellScript.h"
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
        m_scene = std::make_unique<Scene>();
        QDir().mkpath(Paths::gameFolder());
    }
    void cleanup() { m_scene.reset(); }

    void anImportCountsByWhatItLeaves_data()
    {
        const auto row
            = rows([this](const EngineSpec &spec, const QByteArray &script, const QStringList &lines) {
                  FileOperations::writeAtomically(EngineManager::markerURL(spec), "an earlier import");
                  QVERIFY(import(spec, script));
                  QCOMPARE(log(), QStringList(firstPass + argumentsOf(spec)) + lines);
                  QCOMPARE(marker(spec), QByteArray("ok"));
                  QCOMPARE(home().read(EngineManager::markerURL(line4)) == "ok", spec == line4);
              });
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
    void anImportCountsByWhatItLeaves() { runRow(); }

    void aPassThatLeavesNothingIsRepeatedOnce_data()
    {
        const auto row = rows([this](const EngineSpec &spec, const QByteArray &script) {
            QVERIFY(!import(spec, script + "; echo \"$*\" >> \"$HOME/calls\""));
            const QString arguments = argumentsOf(spec);
            QCOMPARE(log(),
                     QStringList({ firstPass + arguments, nothingImported,
                                   u"First-time setup, pass 2: godot "_s + arguments, nothingImported }));
            QCOMPARE(home().read(u"calls"_s), (arguments + u'\n').repeated(2).toUtf8());
            QVERIFY(!QFileInfo::exists(EngineManager::markerURL(spec)));
        });
        row("an engine that ends well", line4, ":");
        row("an empty folder of the older line", line3, "mkdir -p \"$4\"/.import");
        row("a file in place of the older line's folder", line3, "touch \"$4\"/.import");
        row("the newer folder with the older line", line3, "mkdir -p \"$4\"/.godot; touch \"$4\"/.godot/x");
    }
    void aPassThatLeavesNothingIsRepeatedOnce() { runRow(); }

    void theSecondPassMayLeaveThem()
    {
        QVERIFY(import(line4, "[ -e \"$HOME/once\" ] && mkdir \"$4\"/.godot; touch \"$HOME/once\""));
        QCOMPARE(log().filter(u"First-time setup"_s).size(), 2);
        QCOMPARE(log().filter(nothingImported).size(), 1);
        QCOMPARE(marker(line4), QByteArray("ok"));
    }

    void anEngineThatCannotBeStartedImportsNothing()
    {
        QVERIFY(!Tasks::finish(start(line4, home().filePath(u"no-engine"_s))));
        QCOMPARE(log().filter(endedWith(-1)).size(), 2);
        QCOMPARE(log().filter(nothingImported).size(), 2);
        QVERIFY(!QFileInfo::exists(EngineManager::markerURL(line4)));
    }

    void aCancelledControllerRunsAndLogsNothing()
    {
        m_scene->controller->cancel();
        QVERIFY(!import(line4, "touch \"$HOME/ran\"; mkdir \"$4\"/.godot"));
        QCOMPARE(log(), QStringList());
        QVERIFY(!QFileInfo::exists(home().filePath(u"ran"_s)));
    }

    void aCancelEndsThePassAndThereIsNoSecond_data()
    {
        const auto row = rows([this](const QByteArray &script, const QStringList &lines) {
            auto task = start(line4, engine(script + "; touch \"$HOME/ran\"; exec sleep 60"));
            QTRY_VERIFY(QFileInfo::exists(home().filePath(u"ran"_s)));
            m_scene->controller->cancel();
            const bool isImported = !lines.contains(nothingImported);
            QCOMPARE(Tasks::finish(std::move(task)), isImported);
            QCOMPARE(log(), QStringList(firstPass + argumentsOf(line4)) + lines);
            QCOMPARE(marker(line4) == "ok", isImported);
        });
        row("nothing imported", ":", { endedWith(15), nothingImported });
        row("what was imported counts", "mkdir \"$4\"/.godot", { endedWith(15) });
    }
    void aCancelEndsThePassAndThereIsNoSecond() { runRow(); }

    void aMarkerThatCannotBeWrittenIsIgnored()
    {
        QDir().mkpath(EngineManager::markerURL(line4) + u"/in the way"_s);
        QVERIFY(import(line4, "mkdir \"$4\"/.godot"));
        QVERIFY(QFileInfo(EngineManager::markerURL(line4)).isDir());
    }

private:
    struct Scene {
        TestHome home;
        LogStore log;
        EngineManager engines;
        const std::shared_ptr<ProcessController> controller = ProcessController::create();
    };

    static QString argumentsOf(const EngineSpec &spec)
    {
        const QString first = spec.major < 4 ? u"--no-window --editor"_s : u"--headless --import"_s;
        return first + u" --path "_s + Paths::gameFolder() + u" --quit"_s;
    }

    /// Returns the path of a shell script that stands in for the engine. Its "$4" is the project folder.
    QString engine(const QByteArray &commands) const { return shellScript(home(), u"engine"_s, commands); }

    QCoro::Task<bool> start(EngineSpec spec, QString executable) const
    {
        return m_scene->engines.importProject(spec, executable, Paths::gameFolder(), &m_scene->log,
                                              m_scene->controller);
    }

    bool import(const EngineSpec &spec, const QByteArray &commands) const
    {
        return Tasks::finish(start(spec, engine(commands)));
    }

    const TestHome &home() const { return m_scene->home; }
    QStringList log() const { return m_scene->log.lines; }
    QByteArray marker(const EngineSpec &spec) const { return home().read(EngineManager::markerURL(spec)); }

    std::unique_ptr<Scene> m_scene;
};

QTEST_GUILESS_MAIN(ProjectImportTest)
#include "ProjectImportTest.moc"
