#include "Archive.h"
#include "AppError.h"
#include "CancellationError.h"
#include "Desktop.h"
#include "LogStore.h"
#include "Tasks.h"
#include "ZipBuilder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

class ArchiveTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder.emplace();
        m_log.emplace();
        QVERIFY(QDir().mkpath(destination()));
    }

    void cleanup() { Desktop::use(std::nullopt); }

    void anArchiveIsUnpacked()
    {
        write(
            zipFile(),
            ZipBuilder { ZipEntry::file("Game/project.godot", "x"), ZipEntry::program("run", "y") }.bytes());
        Tasks::finish(Archive::unzip(zipFile(), destination(), &*m_log));
        QVERIFY(QFile::exists(destination() + u"/Game/project.godot"_s));
        QVERIFY(QFileInfo(destination() + u"/run"_s).isExecutable());
    }

    void theToolGetsExactlyItsFourArguments()
    {
        useTool("for argument in \"$@\"; do echo \"[$argument]\"; done");
        Tasks::finish(Archive::unzip(zipFile(), destination(), &*m_log));
        QTRY_COMPARE(
            m_log->lines.get(),
            (QStringList { u"[-x]"_s, u"[-k]"_s, u'[' + zipFile() + u']', u'[' + destination() + u']' }));
    }

    void theToolsLinesGoToTheLog()
    {
        useTool("echo one; echo two >&2");
        Tasks::finish(Archive::unzip(zipFile(), destination(), &*m_log));
        QTRY_COMPARE(m_log->lines.get(), (QStringList { u"one"_s, u"two"_s }));
    }

    void aToolThatFailsIsAnErrorWithItsStatus_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<int>("status");
        QTest::newRow("1") << QByteArray("exit 1") << 1;
        QTest::newRow("77") << QByteArray("exit 77") << 77;
        QTest::newRow("a signal") << QByteArray("kill -KILL $$") << 9;
    }

    void aToolThatFailsIsAnErrorWithItsStatus()
    {
        QFETCH(QByteArray, script);
        QFETCH(int, status);
        useTool(script);
        QCOMPARE(failure(),
                 u"Could not unpack game.zip (ditto exit code "_s + QString::number(status) + u")."_s);
    }

    void aToolThatIsMissingIsAnErrorAndALine()
    {
        Desktop desktop = Desktop::current();
        desktop.unpackTool = m_folder->filePath(u"nowhere"_s);
        Desktop::use(desktop);
        QCOMPARE(failure(), u"Could not unpack game.zip (ditto exit code -1)."_s);
        QTRY_COMPARE(m_log->lines->size(), 1);
        QVERIFY(m_log->lines->first().startsWith("Could not start nowhere: "_L1));
    }

    void aToolThatASignalEndedIsNamedInTheLog_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QStringList>("lines");
        const QString line = u"tool was ended by signal %1 (%2) before it had finished."_s;
        QTest::newRow("crashed") << QByteArray("ulimit -c 0; echo last; kill -SEGV $$")
                                 << QStringList { u"last"_s, line.arg(11).arg(u"Segmentation fault"_s) };
        QTest::newRow("killed") << QByteArray("kill -KILL $$")
                                << QStringList { line.arg(9).arg(u"Killed"_s) };
        QTest::newRow("exited with the same number") << QByteArray("exit 11") << QStringList();
    }

    void aToolThatASignalEndedIsNamedInTheLog()
    {
        QFETCH(QByteArray, script);
        QFETCH(QStringList, lines);
        useTool(script);
        QVERIFY(failure().startsWith(u"Could not unpack game.zip (ditto exit code "_s));
        QCOMPARE(m_log->lines.get(), lines);
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
        auto unpacking = Archive::unzip(zipFile(), destination(), &*m_log, stop.get_token());
        QTRY_COMPARE(m_log->lines.get(), QStringList { u"ready"_s });
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(unpacking), std::chrono::seconds(5)));
        QCOMPARE(m_log->lines.get(), QStringList { u"ready"_s });
    }

    void theToolsLinesComeWhileItRuns()
    {
        useTool("echo early; while [ ! -e \"$4/go\" ]; do sleep 0.01; done");
        auto unpacking = Archive::unzip(zipFile(), destination(), &*m_log);
        QTRY_COMPARE(m_log->lines.get(), QStringList { u"early"_s });
        QVERIFY(!unpacking.isReady());
        write(destination() + u"/go"_s, {});
        Tasks::finish(std::move(unpacking));
    }

    void whatIsNoArchiveIsAnError_data()
    {
        QTest::addColumn<QByteArray>("content");
        const QByteArray whole
            = ZipBuilder { ZipEntry::file("Game/project.godot", QByteArray(10'000, 'x')) }.bytes();
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("a web page") << QByteArray("<!DOCTYPE html><html><body>Sign in</body></html>");
        QTest::newRow("half an archive") << whole.first(whole.size() / 2);
        QTest::newRow("an archive without its beginning") << whole.sliced(40);
    }

    void whatIsNoArchiveIsAnError()
    {
        QFETCH(QByteArray, content);
        write(zipFile(), content);
        QCOMPARE(failure(), u"Could not unpack game.zip (ditto exit code 1)."_s);
        QTRY_VERIFY(!m_log->lines->isEmpty());
    }

    void onMacOSTheCheckRunsBeforeDitto()
    {
        useMacOS();
        write(zipFile(), ZipBuilder { ZipEntry::file("Game/project.godot", "x") }.bytes());
        Tasks::finish(Archive::unzip(zipFile(), destination(), &*m_log));
        QTRY_COMPARE(m_log->lines.get(),
                     (QStringList { u"ditto -x -k "_s + zipFile() + u' ' + destination() }));
    }

    void onMacOSDittoNeverSeesAnArchiveThatCannotBeTrusted_data()
    {
        QTest::addColumn<QByteArray>("archive");
        ZipEntry damaged = ZipEntry::file("a", "content");
        damaged.crc = 1;
        QTest::newRow("a way out") << ZipBuilder { ZipEntry::file("../evil", "x") }.bytes();
        QTest::newRow("a link out") << ZipBuilder { ZipEntry::link("a", "../..") }.bytes();
        QTest::newRow("a wrong checksum") << ZipBuilder { damaged }.bytes();
        QTest::newRow("a web page") << QByteArray("<!DOCTYPE html>");
    }

    void onMacOSDittoNeverSeesAnArchiveThatCannotBeTrusted()
    {
        QFETCH(QByteArray, archive);
        useMacOS();
        write(zipFile(), archive);
        QCOMPARE(failure(), u"Could not unpack game.zip (ditto exit code 1)."_s);
        QTRY_COMPARE(m_log->lines->size(), 1);
        QVERIFY2(!m_log->lines->first().startsWith("ditto"_L1), qPrintable(m_log->lines->first()));
        QVERIFY(QDir(destination()).isEmpty());
    }

    void onMacOSNothingIsUnpackedWithoutTheCheck()
    {
        useMacOS();
        Desktop desktop = Desktop::current();
        desktop.archiveCheckTool = m_folder->filePath(u"nowhere"_s);
        Desktop::use(desktop);
        write(zipFile(), ZipBuilder { ZipEntry::file("Game/project.godot", "x") }.bytes());
        QCOMPARE(failure(), u"Could not unpack game.zip (ditto exit code -1)."_s);
        QTRY_COMPARE(m_log->lines->size(), 1);
        QVERIFY(m_log->lines->first().startsWith("Could not start nowhere: "_L1));
    }

    void onMacOSTheLaunchersEndEndsTheCheckToo()
    {
        useMacOS();
        Desktop desktop = Desktop::current();
        desktop.archiveCheckTool = script(u"check"_s, "exec sleep 60");
        Desktop::use(desktop);
        std::stop_source end;
        QTimer::singleShot(100, this, [&end] { end.request_stop(); });
        QVERIFY(Tasks::failure<CancellationError>(
            Archive::unzip(zipFile(), destination(), &*m_log, end.get_token())));
        QVERIFY(m_log->lines->isEmpty());
    }

private:
    QString failure()
    {
        const auto error = Tasks::failure<AppError>(Archive::unzip(zipFile(), destination(), &*m_log));
        return error ? error->errorDescription() : QString();
    }

    /// Makes the desktop's unpack tool a shell script.
    void useTool(const QByteArray &lines)
    {
        Desktop desktop = Desktop::current();
        desktop.unpackTool = script(u"tool"_s, lines);
        Desktop::use(desktop);
    }

    /// Unpacks as on macOS, with a stand-in for ditto that prints its arguments.
    void useMacOS()
    {
        Desktop desktop = Desktop::describing(Desktop::System::MacOS);
        desktop.unpackTool = script(u"ditto"_s, "echo ditto \"$@\"");
        Desktop::use(desktop);
    }

    QString script(const QString &name, const QByteArray &lines)
    {
        const QString path = m_folder->filePath(name);
        write(path, "#!/bin/sh\n" + lines + "\n");
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }

    static void write(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
    }

    QString zipFile() const { return m_folder->filePath(u"game.zip"_s); }
    QString destination() const { return m_folder->filePath(u"to here"_s); }

    std::optional<QTemporaryDir> m_folder;
    std::optional<LogStore> m_log;
};

QTEST_GUILESS_MAIN(ArchiveTest)
#include "ArchiveTest.moc"
