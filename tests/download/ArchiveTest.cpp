#include "Archive.h"
#include "AppError.h"
#include "CancellationError.h"
#include "Desktop.h"
#include "FileSizeText.h"
#include "LogStore.h"
#include "ShellScript.h"
#include "Table.h"
#include "Tasks.h"
#include "TestHome.h"
#include "ZipBuilder.h"

#include <QTimer>

#include <limits>

using namespace Qt::StringLiterals;

class ArchiveTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home.emplace();
        m_log.emplace();
        m_home->folder(destination());
    }

    void cleanup() { Desktop::use(std::nullopt); }

    void anArchiveIsUnpacked()
    {
        write(archive.bytes());
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
        const auto row = table<QByteArray, int, QStringList>("script", "status", "lines");
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

    void aSizeBeyondAllNumbersIsNotCalledNothing()
    {
        useTool("echo \"The archive's files take 18446744073709551615 bytes, and 1000 are free.\"; exit 3");
        const QString sentence = failure();
        QVERIFY2(sentence.startsWith(u"There is not enough space for "_s), qPrintable(sentence));
        QVERIFY2(sentence.contains(u"about "_s + fileSizeText(std::numeric_limits<qint64>::max())),
                 qPrintable(sentence));
    }

    void aToolThatIsMissingIsAnErrorAndALine_data()
    {
        const auto row = table<QString Desktop::*>("tool");
        row("to unpack", &Desktop::unpackTool);
        row("to check, on macOS, where nothing is then unpacked", &Desktop::archiveCheckTool);
    }

    void aToolThatIsMissingIsAnErrorAndALine()
    {
        QFETCH(QString Desktop::*, tool);
        useMacOS();
        use(tool, m_home->filePath(u"nowhere"_s));
        write(archive.bytes());
        QCOMPARE(failure(), couldNotUnpack(-1));
        QTRY_COMPARE(m_log->lines->size(), 1);
        QVERIFY(m_log->lines->first().startsWith("Could not start nowhere: "_L1));
    }

    void aToolThatFollowsNoRequestIsEndedSoonAfterCancel_data()
    {
        const auto row = table<QByteArray>("script");
        row("stopped", "echo ready; kill -STOP $$");
        row("deaf", "trap '' TERM; echo ready; while :; do sleep 0.05; done");
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
        const auto row = table<QByteArray>("content");
        const QByteArray whole = archive.bytes();
        row("nothing", {});
        row("a web page", "<!DOCTYPE html><html><body>Sign in</body></html>");
        row("half an archive", whole.first(whole.size() / 2));
        row("an archive without its beginning", whole.sliced(40));
        row("a way out", ZipBuilder { ZipEntry::file("../evil", "x") }.bytes());
        row("a link out", ZipBuilder { ZipEntry::link("a", "../..") }.bytes());
        row("a wrong checksum", ZipBuilder { { .name = "a", .content = "content", .crc = 1 } }.bytes());
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
        QVERIFY(QDir(destination()).removeRecursively());
        m_home->folder(destination());
        useMacOS();
        QCOMPARE(failure(), couldNotUnpack(1));
        QTRY_COMPARE(m_log->lines.get(), lines);
        QVERIFY(QDir(destination()).isEmpty());
    }

    void onMacOSTheCheckRunsBeforeDitto()
    {
        useMacOS();
        write(archive.bytes());
        Tasks::finish(unzip());
        QTRY_COMPARE(m_log->lines.get(),
                     QStringList { u"ditto -x -k "_s + zipFile() + u' ' + destination() });
    }

    void onMacOSTheLaunchersEndEndsTheCheckToo()
    {
        useMacOS();
        use(&Desktop::archiveCheckTool, shellScript(*m_home, u"check"_s, "exec sleep 60"));
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
    void useTool(const QByteArray &lines) const
    {
        use(&Desktop::unpackTool, shellScript(*m_home, u"tool"_s, lines));
    }

    /// Unpacks as on macOS, with a stand-in for ditto that prints its arguments.
    void useMacOS() const
    {
        Desktop::use(Desktop::describing(Desktop::System::MacOS));
        use(&Desktop::unpackTool, shellScript(*m_home, u"ditto"_s, "echo ditto \"$@\""));
    }

    void write(const QByteArray &content) const { m_home->write(u"game.zip"_s, content); }
    QString zipFile() const { return m_home->filePath(u"game.zip"_s); }
    QString destination() const { return m_home->filePath(u"to here"_s); }

    const ZipBuilder archive { ZipEntry::file("Game/project.godot", QByteArray(10'000, 'x')),
                               ZipEntry::program("run", "y") };
    std::optional<TestHome> m_home;
    std::optional<LogStore> m_log;
};

QTEST_GUILESS_MAIN(ArchiveTest)
#include "ArchiveTest.moc"
