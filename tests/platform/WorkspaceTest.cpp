#include "Workspace.h"

#include "FreshForEach.h"
#include "ShellScript.h"
#include "Table.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QStandardPaths>
#include <QThreadPool>
#include <QUrl>

#include <atomic>

using namespace Qt::StringLiterals;

namespace {

enum class Bus { Missing, Ended, WithoutFileManager, WithRefusal };

/// A session bus that only the test uses.
class SessionBus final {
public:
    /// `program` is the path of dbus-daemon, which puts its socket into `folder`.
    SessionBus(const QString &program, const QString &folder)
    {
        const QStringList options { u"--session"_s, u"--nofork"_s, u"--print-address"_s };
        m_daemon.start(program, options + QStringList(u"--address=unix:dir="_s + folder));
        while (m_daemon.state() != QProcess::NotRunning && !m_daemon.canReadLine())
            m_daemon.waitForReadyRead(5000);
        const QByteArray address = m_daemon.readLine().trimmed();
        if (address.isEmpty())
            qFatal("The session bus did not start: %s", m_daemon.readAllStandardError().constData());
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    }

    ~SessionBus()
    {
        m_daemon.kill();
        m_daemon.waitForFinished();
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }

    Q_DISABLE_COPY_MOVE(SessionBus)

private:
    QProcess m_daemon;
};

}

/// A stand-in for the desktop's file manager, on the session bus.
class FileManager final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    FileManager()
        : m_connection(QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"),
                                                     u"file manager"_s))
    {
        const bool isThere = m_connection.registerObject(u"/org/freedesktop/FileManager1"_s, this,
                                                         QDBusConnection::ExportAllSlots)
            && m_connection.registerService(u"org.freedesktop.FileManager1"_s);
        if (!isThere)
            qFatal("The file manager could not register itself on the bus.");
    }

    ~FileManager() override { QDBusConnection::disconnectFromBus(u"file manager"_s); }

    QList<QStringList> shown;
    bool refuses = false;

public Q_SLOTS:
    void ShowItems(const QStringList &addresses, const QString &startupId, const QDBusMessage &message)
    {
        Q_UNUSED(startupId);
        shown.append(addresses);
        if (refuses) {
            message.setDelayedReply(true);
            m_connection.send(message.createErrorReply(u"org.example.No"_s, u"No."_s));
        }
    }

private:
    QDBusConnection m_connection;
};

class WorkspaceTest final : public QObject {
    Q_OBJECT

public:
    WorkspaceTest()
    {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("XDG_RUNTIME_DIR");
        // Only an opener that the test writes can be found, whatever this desktop has.
        qputenv("PATH", m_home.bytes(u"bin"_s));
        shellScript(m_home, openerName, "echo \"$1\" >>\"$HOME/opened\"");
        m_home.write(u"opened"_s, {});
        QDir().mkpath(m_folder);
    }

    ~WorkspaceTest() override
    {
        hangUp();
        qputenv("PATH", m_pathBefore);
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (m_daemon.isEmpty())
            QSKIP("There is no dbus-daemon on this machine.");
    }

    void theFileManagerIsAskedToShowTheFolder()
    {
        const FileManager &fileManager = startFileManager();
        reveal();
        QTRY_COMPARE(fileManager.shown.size(), 1);
        QCOMPARE(fileManager.shown.first(),
                 QStringList(QString::fromUtf8(QUrl::fromLocalFile(m_folder).toEncoded())));
        QVERIFY(fileManager.shown.first().first().endsWith(u"/with%20a%20space"_s));
        QVERIFY(opened().isEmpty());
        QCOMPARE(*m_failures, 0);
    }

    void twoRequestsAtOnceAreBothShownAndSoAreThoseThatFollow()
    {
        const FileManager &fileManager = startFileManager();
        reveal();
        for (int request = 2; request <= 4; ++request) {
            reveal();
            QTRY_COMPARE(fileManager.shown.size(), request);
        }
    }

    void whereNoFileManagerShowsItTheOpenerOpensTheParent_data()
    {
        const auto row = table<Bus>("bus");
        row("no bus", Bus::Missing);
        row("a bus that has ended", Bus::Ended);
        row("a bus without a file manager", Bus::WithoutFileManager);
        row("a file manager that refuses", Bus::WithRefusal);
    }

    void whereNoFileManagerShowsItTheOpenerOpensTheParent()
    {
        QFETCH(Bus, bus);
        if (bus == Bus::Ended)
            useBusAt(m_home.filePath(u"no-bus"_s));
        if (bus == Bus::WithoutFileManager)
            startBus();
        if (bus == Bus::WithRefusal)
            startFileManager().refuses = true;
        reveal();
        QTRY_COMPARE(opened(), m_parent);
        QVERIFY(!m_workspace.isWaitingForBus());
        if (m_fileManager)
            QCOMPARE(m_fileManager->shown.size(), 1);
    }

    void aBusInTheRuntimeFolderIsFound()
    {
        listenInSilence();
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_home.path()));
        reveal();
        QTRY_VERIFY(m_silentBus.hasPendingConnections());
        hangUp();
        QTRY_COMPARE(opened(), m_parent);
    }

    void aBusThatNeverAnswersDoesNotHoldUpTheWindow()
    {
        listenInSilence();
        QElapsedTimer clock;
        clock.start();
        reveal();
        QVERIFY2(clock.elapsed() < 500, "The caller had to wait for the bus.");
        QTRY_VERIFY(m_silentBus.hasPendingConnections());
        QVERIFY(opened().isEmpty());
        QVERIFY(m_workspace.isWaitingForBus());

        hangUp();
        QTRY_COMPARE(opened(), m_parent);
        QVERIFY(!m_workspace.isWaitingForBus());
    }

    void aSilentBusIsAskedOnceAndKeepsNoThreadOfThePool()
    {
        listenInSilence();
        const int presses = QThreadPool::globalInstance()->maxThreadCount() + 2;
        for (int press = 0; press < presses; ++press)
            reveal();
        QTRY_VERIFY(m_silentBus.hasPendingConnections());

        std::atomic<bool> hasRun = false;
        QThreadPool::globalInstance()->start([&hasRun] { hasRun = true; });
        QTRY_VERIFY(hasRun);
        QCOMPARE(QThreadPool::globalInstance()->activeThreadCount(), 0);
        delete m_silentBus.nextPendingConnection(); // ends the first request; the second one follows
        QTRY_VERIFY(m_silentBus.hasPendingConnections());
        hangUp();
        QTRY_COMPARE(opened(), m_parent + m_parent);
        QVERIFY(!m_workspace.isWaitingForBus());
    }

    void aBusThatIsSilentForTooLongCountsAsNone()
    {
        listenInSilence();
        reveal();
        reveal();
        QTRY_COMPARE_WITH_TIMEOUT(opened(), m_parent, 15000);
        // From now on, the bus is not waited for.
        reveal();
        QTRY_COMPARE_WITH_TIMEOUT(opened(), m_parent + m_parent, 3000);
        QVERIFY(m_workspace.isWaitingForBus());

        // Until it answers again.
        hangUp();
        QTRY_VERIFY(!m_workspace.isWaitingForBus());
        QCOMPARE(opened(), m_parent + m_parent);
        const FileManager &fileManager = startFileManager();
        reveal();
        QTRY_COMPARE(fileManager.shown.size(), 1);
        QCOMPARE(*m_failures, 0);
    }

    void aFolderIsOpenedItselfAndAPageByItsAddress()
    {
        m_workspace.open(m_folder, m_noteFailure);
        QTRY_COMPARE(opened(), QStringList(m_folder));
        m_workspace.browse(QUrl(u"https://example.org/a page"_s), m_noteFailure);
        QTRY_COMPARE(opened(), QStringList({ m_folder, u"https://example.org/a%20page"_s }));
        QCOMPARE(*m_failures, 0);
    }

    void aDesktopThatOpensNothingSaysSoOnce_data()
    {
        const auto row = table<QByteArray>("opener");
        row("no opener", {});
        row("one that finds nothing", "#!/bin/sh\nexit 3\n");
        row("one that crashes", "#!/bin/sh\nkill -KILL $$\n");
        row("one that cannot be started", "#!/nowhere/at/all\n");
    }

    void aDesktopThatOpensNothingSaysSoOnce()
    {
        QFETCH(const QByteArray, opener);
        if (opener.isEmpty())
            QFile::remove(m_home.filePath(openerName));
        else
            m_home.write(openerName, opener);
        m_workspace.open(m_folder, m_noteFailure);
        QCOMPARE(*m_failures, 0); // never within the call
        QTRY_COMPARE(*m_failures, 1);
        reveal();
        QTRY_COMPARE(*m_failures, 2);
        m_workspace.browse(QUrl(u"https://example.org"_s), m_noteFailure);
        QTRY_COMPARE(*m_failures, 3);
        QTest::qWait(100);
        QCOMPARE(*m_failures, 3);
    }

private:
    static inline const QString openerName = u"bin/xdg-open"_s;

    void reveal() { m_workspace.reveal(m_folder, m_noteFailure); }

    /// The arguments that the opener was called with, file URLs as paths.
    QStringList opened() const
    {
        QStringList result;
        const QStringList lines
            = QString::fromUtf8(m_home.read(u"opened"_s)).split(u'\n', Qt::SkipEmptyParts);
        for (const QString &line : lines)
            result << (QUrl(line).isLocalFile() ? QUrl(line).toLocalFile() : line);
        return result;
    }

    void startBus() { m_bus = std::make_unique<SessionBus>(m_daemon, m_home.path()); }
    FileManager &startFileManager()
    {
        startBus();
        m_fileManager = std::make_unique<FileManager>();
        return *m_fileManager;
    }

    static void useBusAt(const QString &socket)
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + QFile::encodeName(socket));
    }

    /// Accepts connections as a session bus would, and never answers.
    void listenInSilence()
    {
        if (!m_silentBus.listen(m_home.filePath(u"bus"_s)))
            qFatal("The silent bus cannot listen.");
        useBusAt(m_silentBus.fullServerName());
    }

    void hangUp()
    {
        while (QLocalSocket *caller = m_silentBus.nextPendingConnection())
            delete caller;
        m_silentBus.close();
    }

    const QByteArray m_pathBefore = qgetenv("PATH");
    const QString m_daemon = QStandardPaths::findExecutable(u"dbus-daemon"_s);
    const TestHome m_home;
    const QString m_folder = m_home.filePath(u"data/with a space"_s);
    const QStringList m_parent { m_home.dataHome() };
    const std::shared_ptr<int> m_failures = std::make_shared<int>(0);
    const std::function<void()> m_noteFailure = [failures = m_failures] { ++*failures; };
    DesktopWorkspace m_workspace;
    QLocalServer m_silentBus;
    std::unique_ptr<SessionBus> m_bus;
    std::unique_ptr<FileManager> m_fileManager;
};

QTEST_GUILESS_MAIN(FreshForEach<WorkspaceTest>)
#include "WorkspaceTest.moc"
