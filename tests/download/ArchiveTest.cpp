#include "Archive.h"
#include "AppError.h"
#include "CancellationError.h"
#include "Desktop.h"
#include "LogStore.h"
#include "Tasks.h"
#include "TestHome.h"
#include "ZipBuilder.h"

#include <QTimer>

using namespace Qt::StringLiterals;

class ArchiveTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home.emplace();
        m_log.emplace();
        QVERIFY(QDir().mkpath(destination()));
    }

    void cleanup()
    {
        Desktop::use(std::nullopt);
        m_home.reset();
    }

    void anArchiveIsUnpacked()
    {
        write(
            ZipBuilder { ZipEntry::file("Game/project.godot", "x"), ZipEntry::program("run", "y") }.bytes());
        Tasks::finish(unzip());
        QVERIFY(QFile::exists(destination() + u"/Game/project.godot"_s));
        QVERIFY(QFileInfo(destination() + u"/run"_s).isExecutable());
    }

    void theToolGetsExactlyItsFourArguments()
    {
        useTool("for argument in \"$@\"; do echo \"[$argument]\"; done");
        Tasks::finish(unzip());
        QTRY_COMPARE(
            m_log->lines.get(),
            QStringList({ u"[-x]"_s, u"[-k]"_s, u'[' + zipFile() + u']', u'[' + destination() + u']' }));
    }

    void theToolsLinesGoToTheLogWhileItRuns()
    {
        useTool("echo one; echo two >&2; while [ ! -e \"$4/go\" ]; do sleep 0.01; done");
        auto unpacking = unzip();
        QTRY_COMPARE(m_log->lines.get(), QStringList({ u"one"_s, u"two"_s }));
        QVERIFY(!unpacking.isReady());
        m_home->write(u"to here/go"_s, {});
        Tasks::finish(std::move(unpacking));
    }

    void aToolThatFailsIsAnErrorWithItsStatusAndASignalALine_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("lines");
        const auto row = [](const char *name, const QByteArray &script, int status,
                            const QStringList &lines) { QTest::newRow(name) << script << status << lines; };
        const QString line = u"tool was ended by signal %1 (%2) before it had finished."_s;
        row("1", "exit 1", 1, {});
        row("77", "exit 77", 77, {});
        row("killed", "kill -KILL $$", 9, { line.arg(9).arg(u"Killed"_s) });
        row("crashed", "ulimit -c 0; echo last; kill -SEGV $$", 11,
            { u"last"_s, line.arg(11).arg(u"Segmentation fault"_s) });
        row("exited with the number of a signal", "exit 11", 11, {});
    }

    void aToolThatFailsIsAnErrorWithItsStatusAndASignalALine()
    {
        QFETCH(QByteArray, script);
        QFETCH(int, status);
        useTool(script);
        QCOMPARE(failure(), couldNotUnpack(status));
        QTEST(m_log->lines.get(), "lines");
    }

    void aToolThatIsMissingIsAnErrorAndALine_data()
    {
        QTest::addColumn<QString Desktop::*>("tool");
        QTest::newRow("to unpack") << &Desktop::unpackTool;
        QTest::newRow("to check, on macOS, where nothing is then unpacked") << &Desktop::archiveCheckTool;
    }

    void aToolThatIsMissingIsAnErrorAndALine()
    {
        QFETCH(QString Desktop::*, tool);
        useMacOS();
        use(tool, m_home->filePath(u"nowhere"_s));
        write(ZipBuilder { ZipEntry::file("Game/project.godot", "x") }.bytes());
        QCOMPARE(failure(), couldNotUnpack(-1));
        QTRY_COMPARE(m_log->lines->size(), 1);
        QVERIFY(m_log->lines->first().startsWith("Could not start nowhere: "_L1));
    }

    void aToolThatFollowsNoRequestIsEndedSoonAfterCancel_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::newRow("stopped") << QByteArray("echo ready; kill -STOP $$");
        QTest::newRow("deaf") << QByteArray("trap '' TERM; echo ready; while :; do sleep 0.05; done");
    }

    void aToolThatFollowsNoRequestIsEndedSoonAfterCancel()
    {
        QFETCH(QByteArray, script);
        useTool(script);
        std::stop_source stop;
        auto unpacking = unzip(stop.get_token());
        QTRY_COMPARE(m_log->lines.get(), QStringList { u"ready"_s });
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(unpacking), std::chrono::seconds(5)));
        QCOMPARE(m_log->lines.get(), QStringList { u"ready"_s });
    }

    void whatCannotBeTrustedIsAnErrorAndALine_data()
    {
        QTest::addColumn<QByteArray>("content");
        ZipEntry damaged = ZipEntry::file("a", "content");
        damaged.crc = 1;
        const QByteArray whole
            = ZipBuilder { ZipEntry::file("Game/project.godot", QByteArray(10'000, 'x')) }.bytes();
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("a web page") << QByteArray("<!DOCTYPE html><html><body>Sign in</body></html>");
        QTest::newRow("half an archive") << whole.first(whole.size() / 2);
        QTest::newRow("an archive without its beginning") << whole.sliced(40);
        QTest::newRow("a way out") << ZipBuilder { ZipEntry::file("../evil", "x") }.bytes();
        QTest::newRow("a link out") << ZipBuilder { ZipEntry::link("a", "../..") }.bytes();
        QTest::newRow("a wrong checksum") << ZipBuilder { damaged }.bytes();
    }

    void whatCannotBeTrustedIsAnErrorAndALine()
    {
        QFETCH(QByteArray, content);
        write(content);
        QCOMPARE(failure(), couldNotUnpack(1));
        QTRY_VERIFY(!m_log->lines->isEmpty());
        const QStringList lines = m_log->lines;
        // On macOS ditto never sees it: the check says the same and the folder stays empty.
        m_log.emplace();
        QVERIFY(QDir(destination()).removeRecursively() && QDir().mkpath(destination()));
        useMacOS();
        QCOMPARE(failure(), couldNotUnpack(1));
        QTRY_COMPARE(m_log->lines.get(), lines);
        QVERIFY(QDir(destination()).isEmpty());
    }

    void onMacOSTheCheckRunsBeforeDitto()
    {
        useMacOS();
        write(ZipBuilder { ZipEntry::file("Game/project.godot", "x") }.bytes());
        Tasks::finish(unzip());
        QTRY_COMPARE(m_log->lines.get(),
                     QStringList { u"ditto -x -k "_s + zipFile() + u' ' + destination() });
    }

    void onMacOSTheLaunchersEndEndsTheCheckToo()
    {
        useMacOS();
        use(&Desktop::archiveCheckTool, script(u"check"_s, "exec sleep 60"));
        std::stop_source end;
        QTimer::singleShot(100, this, [&end] { end.request_stop(); });
        QVERIFY(Tasks::failure<CancellationError>(unzip(end.get_token())));
        QVERIFY(m_log->lines->isEmpty());
    }

private:
    static QString couldNotUnpack(int status)
    {
        return u"Could not unpack game.zip (ditto exit code %1)."_s.arg(status);
    }

    QCoro::Task<> unzip(std::stop_token stop = {})
    {
        return Archive::unzip(zipFile(), destination(), &*m_log, stop);
    }

    QString failure()
    {
        const auto error = Tasks::failure<AppError>(unzip());
        return error ? error->errorDescription() : QString();
    }

    static void use(QString Desktop::*tool, const QString &path)
    {
        Desktop desktop = Desktop::current();
        desktop.*tool = path;
        Desktop::use(desktop);
    }

    /// Makes the desktop's unpack tool a shell script.
    void useTool(const QByteArray &lines) { use(&Desktop::unpackTool, script(u"tool"_s, lines)); }

    /// Unpacks as on macOS, with a stand-in for ditto that prints its arguments.
    void useMacOS()
    {
        Desktop::use(Desktop::describing(Desktop::System::MacOS));
        use(&Desktop::unpackTool, script(u"ditto"_s, "echo ditto \"$@\""));
    }

    QString script(const QString &name, const QByteArray &lines) const
    {
        const QString path = m_home->write(name, "#!/bin/sh\n" + lines + "\n");
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }

    void write(const QByteArray &archive) const { m_home->write(u"game.zip"_s, archive); }
    QString zipFile() const { return m_home->filePath(u"game.zip"_s); }
    QString destination() const { return m_home->filePath(u"to here"_s); }

    std::optional<TestHome> m_home;
    std::optional<LogStore> m_log;
};

QTEST_GUILESS_MAIN(ArchiveTest)
#include "ArchiveTest.moc"
