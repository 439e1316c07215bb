#include "EngineManager.h"

#include "FileOperations.h"
#include "LogStore.h"
#include "Paths.h"
#include "ProcessController.h"
#include "Tasks.h"
#include "TestHome.h"

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

    void onePassIsEnoughWhenItLeavesImportedFiles()
    {
        QVERIFY(import(line4(), "echo importing; mkdir \"$4\"/.godot"));
        QCOMPARE(log(),
                 QStringList({ QStringLiteral("First-time setup, pass 1: godot --headless --import --path ")
                                   + m_project + QStringLiteral(" --quit"),
                               QStringLiteral("importing") }));
        QCOMPARE(marker(line4()), QByteArray("ok"));
    }

    void aPassThatLeavesNoImportedFilesIsRepeatedOnce()
    {
        QVERIFY(!import(line4(), "echo \"$*\" >> \"$HOME/calls\""));
        const QString arguments
            = QStringLiteral("--headless --import --path ") + m_project + QStringLiteral(" --quit");
        QCOMPARE(log(),
                 QStringList({ QStringLiteral("First-time setup, pass 1: godot ") + arguments,
                               QStringLiteral("No imported files found yet."),
                               QStringLiteral("First-time setup, pass 2: godot ") + arguments,
                               QStringLiteral("No imported files found yet.") }));
        QCOMPARE(content(m_home->filePath(QStringLiteral("calls"))),
                 (arguments + u'\n').repeated(2).toUtf8());
        QVERIFY(!QFileInfo::exists(EngineManager::markerURL(line4())));
    }

    void theSecondPassMayLeaveThem()
    {
        QVERIFY(import(line4(), "[ -e \"$HOME/once\" ] && mkdir \"$4\"/.godot; touch \"$HOME/once\""));
        QCOMPARE(log().filter(QStringLiteral("First-time setup")).size(), 2);
        QCOMPARE(log().filter(QStringLiteral("No imported files found yet.")).size(), 1);
        QCOMPARE(marker(line4()), QByteArray("ok"));
    }

    void anEngineThatEndsBadlyButImportedIsFine()
    {
        QVERIFY(import(line4(), "mkdir \"$4\"/.godot; exit 1"));
        QCOMPARE(log().last(), QStringLiteral("Setup pass ended with exit code 1"));
        QCOMPARE(marker(line4()), QByteArray("ok"));
    }

    void anEngineThatEndsWellButImportedNothingIsNot()
    {
        QVERIFY(!import(line4(), "exit 0"));
        QVERIFY(log().filter(QStringLiteral("exit code")).isEmpty());
    }

    void anEngineThatCrashesIsTestedLikeAnyOther()
    {
        QVERIFY(import(line4(), "mkdir \"$4\"/.godot; kill -SEGV $$"));
        QCOMPARE(log().last(), QStringLiteral("Setup pass ended with exit code 11"));
    }

    void anEngineThatCannotBeStartedImportsNothing()
    {
        QVERIFY(!run(line4(), m_home->filePath(QStringLiteral("no-engine"))));
        QCOMPARE(log().filter(QStringLiteral("Setup pass ended with exit code -1")).size(), 2);
        QCOMPARE(log().filter(QStringLiteral("No imported files found yet.")).size(), 2);
        QVERIFY(!QFileInfo::exists(EngineManager::markerURL(line4())));
    }

    void anythingCalledGodotCountsOnThe4Line() { QVERIFY(import(line4(), "touch \"$4\"/.godot")); }

    void theOlderLineIsAskedInItsOwnWay()
    {
        QVERIFY(import(line3(), "mkdir \"$4\"/.import && touch \"$4\"/.import/.hidden"));
        QCOMPARE(log(),
                 QStringList(QStringLiteral("First-time setup, pass 1: godot --no-window --editor --path ")
                             + m_project + QStringLiteral(" --quit")));
        QCOMPARE(marker(line3()), QByteArray("ok"));
    }

    void onTheOlderLineAnEmptyFolderIsNoImport()
    {
        QVERIFY(!import(line3(), "mkdir -p \"$4\"/.import"));
        QCOMPARE(log().filter(QStringLiteral("No imported files found yet.")).size(), 2);
    }

    void onTheOlderLineAFileInPlaceOfTheFolderIsNoImport()
    {
        QVERIFY(!import(line3(), "touch \"$4\"/.import"));
    }

    void onTheOlderLineTheNewerFolderDoesNotCount()
    {
        QVERIFY(!import(line3(), "mkdir -p \"$4\"/.godot; touch \"$4\"/.godot/x"));
    }

    void aCancelledControllerRunsAndLogsNothing()
    {
        const auto controller = ProcessController::create();
        controller->cancel();
        QVERIFY(!run(line4(), engine("touch \"$HOME/ran\"; mkdir \"$4\"/.godot"), controller));
        QCOMPARE(log(), QStringList());
        QVERIFY(!QFileInfo::exists(m_home->filePath(QStringLiteral("ran"))));
    }

    void aCancelEndsThePassAndThereIsNoSecond()
    {
        const auto controller = ProcessController::create();
        EngineManager manager;
        auto task = manager.importProject(line4(), engine("touch \"$HOME/ran\"; exec sleep 60"), m_project,
                                          m_log.get(), controller);
        QTRY_VERIFY(QFileInfo::exists(m_home->filePath(QStringLiteral("ran"))));
        controller->cancel();
        QVERIFY(!Tasks::finish(std::move(task)));
        QCOMPARE(log().filter(QStringLiteral("First-time setup")).size(), 1);
        QCOMPARE(log().at(1), QStringLiteral("Setup pass ended with exit code 15"));
        QCOMPARE(log().last(), QStringLiteral("No imported files found yet."));
    }

    void aCancelledPassThatImportedCounts()
    {
        const auto controller = ProcessController::create();
        EngineManager manager;
        auto task = manager.importProject(line4(), engine("mkdir \"$4\"/.godot; exec sleep 60"), m_project,
                                          m_log.get(), controller);
        QTRY_VERIFY(QFileInfo::exists(m_project + QStringLiteral("/.godot")));
        controller->cancel();
        QVERIFY(Tasks::finish(std::move(task)));
        QCOMPARE(marker(line4()), QByteArray("ok"));
    }

    void theEnginesLinesAreLoggedUnchanged()
    {
        QVERIFY(import(line4(), "echo '  [ 16% ] first  '; echo 'ERROR: x' >&2; mkdir \"$4\"/.godot"));
        QCOMPARE(log().mid(1),
                 QStringList({ QStringLiteral("  [ 16% ] first  "), QStringLiteral("ERROR: x") }));
    }

    void anEarlierMarkerIsReplaced()
    {
        m_home->write(QStringLiteral("data/Vantor Platformer/Game/.imported-4.3"), "something longer");
        QCOMPARE(content(EngineManager::markerURL(line4())), QByteArray("something longer"));
        QVERIFY(import(line4(), "mkdir \"$4\"/.godot"));
        QCOMPARE(marker(line4()), QByteArray("ok"));
    }

    void aMarkerThatCannotBeWrittenIsIgnored()
    {
        QDir().mkpath(EngineManager::markerURL(line4()) + QStringLiteral("/in the way"));
        QVERIFY(import(line4(), "mkdir \"$4\"/.godot"));
        QVERIFY(QFileInfo(EngineManager::markerURL(line4())).isDir());
    }

    void theDotNetBuildHasAMarkerOfItsOwn()
    {
        const EngineSpec mono { 4, QStringLiteral("4.3"), true };
        QVERIFY(import(mono, "mkdir \"$4\"/.godot"));
        QCOMPARE(marker(mono), QByteArray("ok"));
        QVERIFY(!QFileInfo::exists(EngineManager::markerURL(line4())));
    }

private:
    static EngineSpec line4() { return { 4, QStringLiteral("4.3"), false }; }
    static EngineSpec line3() { return { 3, QStringLiteral("3.6.3"), false }; }

    /// Returns the path of a shell script that stands in for the engine. Its "$4" is the project folder.
    QString engine(const QByteArray &script) const
    {
        const QString file = m_home->write(QStringLiteral("engine"), "#!/bin/sh\n" + script + "\n");
        QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return file;
    }

    bool run(const EngineSpec &spec, const QString &executable,
             const std::shared_ptr<ProcessController> &controller = ProcessController::create()) const
    {
        EngineManager manager;
        return Tasks::finish(manager.importProject(spec, executable, m_project, m_log.get(), controller));
    }

    bool import(const EngineSpec &spec, const QByteArray &script) const { return run(spec, engine(script)); }

    QStringList log() const { return m_log->lines; }

    static QByteArray content(const QString &file)
    {
        QFile in(file);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
    }

    static QByteArray marker(const EngineSpec &spec) { return content(EngineManager::markerURL(spec)); }

    std::unique_ptr<TestHome> m_home;
    std::unique_ptr<LogStore> m_log;
    QString m_project;
};

QTEST_GUILESS_MAIN(ProjectImportTest)
#include "ProjectImportTest.moc"
