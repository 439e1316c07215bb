#include "Workspace.h"

#include "TestHome.h"

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

namespace {

/// A session bus that only the test uses.
class SessionBus final {
public:
    /// `program` is the path of dbus-daemon, which puts its socket into `folder`.
    SessionBus(const QString &program, const QString &folder)
    {
        m_daemon.start(program,
                       { QStringLiteral("--session"), QStringLiteral("--nofork"),
                         QStringLiteral("--print-address"), QStringLiteral("--address=unix:dir=") + folder });
        while (m_daemon.state() != QProcess::NotRunning && !m_daemon.canReadLine())
            m_daemon.waitForReadyRead(5000);
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        if (m_address.isEmpty())
            qFatal("The session bus did not start: %s", m_daemon.readAllStandardError().constData());
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_address.toUtf8());
    }

    ~SessionBus()
    {
        m_daemon.kill();
        m_daemon.waitForFinished();
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }

    SessionBus(const SessionBus &) = delete;
    SessionBus &operator=(const SessionBus &) = delete;

    const QString &address() const { return m_address; }

private:
    QProcess m_daemon;
    QString m_address;
};

}

/// A stand-in for the desktop's file manager.
class FileManager final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    explicit FileManager(const SessionBus &bus)
        : m_connection(QDBusConnection::connectToBus(bus.address(), QStringLiteral("file manager")))
    {
        const bool isThere = m_connection.registerObject(QStringLiteral("/org/freedesktop/FileManager1"),
                                                         this, QDBusConnection::ExportAllSlots)
            && m_connection.registerService(QStringLiteral("org.freedesktop.FileManager1"));
        if (!isThere)
            qFatal("The file manager could not register itself on the bus.");
    }

    ~FileManager() override { QDBusConnection::disconnectFromBus(QStringLiteral("file manager")); }

    QList<QStringList> shown;
    bool refuses = false;

public Q_SLOTS:
    void ShowItems(const QStringList &addresses, const QString &startupId, const QDBusMessage &message)
    {
        Q_UNUSED(startupId);
        shown.append(addresses);
        if (refuses) {
            message.setDelayedReply(true);
            m_connection.send(
                message.createErrorReply(QStringLiteral("org.example.No"), QStringLiteral("No.")));
        }
    }

private:
    QDBusConnection m_connection;
};

class WorkspaceTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        if (m_daemon.isEmpty())
            QSKIP("There is no dbus-daemon on this machine.");
    }

    void init()
    {
        m_home = std::make_unique<TestHome>();
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("XDG_RUNTIME_DIR");
        // Only an opener that the test writes can be found, whatever this desktop has.
        m_pathBefore = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(m_home->filePath(QStringLiteral("bin"))));
        writeOpener("echo \"$1\" >>\"$HOME/opened\"\n");
        QDir().mkpath(folder());
        m_failures = 0;
    }

    void cleanup()
    {
        qputenv("PATH", m_pathBefore);
        m_home.reset();
    }

    void theFileManagerIsAskedToShowTheFolder()
    {
        const SessionBus bus(m_daemon, m_home->path());
        const FileManager fileManager(bus);
        reveal();
        QTRY_COMPARE(fileManager.shown.size(), 1);
        QCOMPARE(fileManager.shown.first(),
                 QStringList(QString::fromUtf8(QUrl::fromLocalFile(folder()).toEncoded())));
        QVERIFY(fileManager.shown.first().first().endsWith(QStringLiteral("/with%20a%20space")));
        QVERIFY(opened().isEmpty());
        QCOMPARE(m_failures, 0);
    }

    void twoRequestsAreBothShown()
    {
        const SessionBus bus(m_daemon, m_home->path());
        const FileManager fileManager(bus);
        reveal();
        reveal();
        QTRY_COMPARE(fileManager.shown.size(), 2);
    }

    void requestsThatFollowAreShownToo()
    {
        const SessionBus bus(m_daemon, m_home->path());
        const FileManager fileManager(bus);
        for (int request = 1; request <= 3; ++request) {
            reveal();
            QTRY_COMPARE(fileManager.shown.size(), request);
        }
    }

    void aFileManagerThatRefusesGivesWayToTheOpener()
    {
        const SessionBus bus(m_daemon, m_home->path());
        FileManager fileManager(bus);
        fileManager.refuses = true;
        reveal();
        QTRY_COMPARE(opened(), parentOnly());
        QCOMPARE(fileManager.shown.size(), 1);
    }

    void aBusWithoutAFileManagerGivesWayToTheOpener()
    {
        const SessionBus bus(m_daemon, m_home->path());
        reveal();
        QTRY_COMPARE(opened(), parentOnly());
    }

    void withoutABusTheOpenerOpensTheParent()
    {
        reveal();
        QTRY_COMPARE(opened(), parentOnly());
    }

    void aBusThatIsGoneGivesWayToTheOpener()
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS",
                "unix:path=" + QFile::encodeName(m_home->filePath(QStringLiteral("no-bus"))));
        reveal();
        QTRY_COMPARE(opened(), parentOnly());
        QVERIFY(!m_workspace.isWaitingForBus());
    }

    void aBusInTheRuntimeFolderIsFound()
    {
        QLocalServer bus;
        QVERIFY(bus.listen(m_home->filePath(QStringLiteral("bus"))));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_home->path()));
        reveal();
        QTRY_VERIFY(bus.hasPendingConnections());
        hangUp(bus);
        QTRY_COMPARE(opened(), parentOnly());
    }

    void aBusThatNeverAnswersDoesNotHoldUpTheWindow()
    {
        QLocalServer bus;
        listenInSilence(bus);

        QElapsedTimer clock;
        clock.start();
        reveal();
        QVERIFY2(clock.elapsed() < 500, "The caller had to wait for the bus.");
        QTRY_VERIFY(bus.hasPendingConnections());
        QVERIFY(opened().isEmpty());
        QVERIFY(m_workspace.isWaitingForBus());

        hangUp(bus);
        QTRY_COMPARE(opened(), parentOnly());
        QVERIFY(!m_workspace.isWaitingForBus());
    }

    void aSilentBusIsAskedOnceAndKeepsNoThreadOfThePool()
    {
        QLocalServer bus;
        listenInSilence(bus);
        const int presses = QThreadPool::globalInstance()->maxThreadCount() + 2;
        for (int press = 0; press < presses; ++press)
            reveal();
        QTRY_VERIFY(bus.hasPendingConnections());

        std::atomic<bool> hasRun = false;
        QThreadPool::globalInstance()->start([&hasRun] { hasRun = true; });
        QTRY_VERIFY(hasRun);
        QCOMPARE(QThreadPool::globalInstance()->activeThreadCount(), 0);
        delete bus.nextPendingConnection(); // ends the first request; the second one follows
        QTRY_VERIFY(bus.hasPendingConnections());
        hangUp(bus);
        QTRY_COMPARE(opened(), parentOnly() + parentOnly());
        QVERIFY(!m_workspace.isWaitingForBus());
    }

    void aBusThatIsSilentForTooLongCountsAsNone()
    {
        QLocalServer bus;
        listenInSilence(bus);
        reveal();
        reveal();
        QTRY_COMPARE_WITH_TIMEOUT(opened(), parentOnly(), 15000);
        // From now on, the bus is not waited for.
        reveal();
        QTRY_COMPARE_WITH_TIMEOUT(opened(), parentOnly() + parentOnly(), 3000);
        QVERIFY(m_workspace.isWaitingForBus());

        // Until it answers again.
        hangUp(bus);
        QTRY_VERIFY(!m_workspace.isWaitingForBus());
        QCOMPARE(opened(), parentOnly() + parentOnly());
        const SessionBus working(m_daemon, m_home->path());
        const FileManager fileManager(working);
        reveal();
        QTRY_COMPARE(fileManager.shown.size(), 1);
        QCOMPARE(m_failures, 0);
    }

    void aFolderIsOpenedItself()
    {
        m_workspace.open(folder(), [this] { ++m_failures; });
        QTRY_COMPARE(opened(), QStringList(folder()));
        QCOMPARE(m_failures, 0);
    }

    void aPageIsOpenedByItsAddress()
    {
        m_workspace.browse(QUrl(QStringLiteral("https://example.org/a page")), [this] { ++m_failures; });
        QTRY_COMPARE(opened(), QStringList(QStringLiteral("https://example.org/a%20page")));
        QCOMPARE(m_failures, 0);
    }

    void aDesktopThatOpensNothingSaysSoOnce_data()
    {
        QTest::addColumn<QByteArray>("opener");
        QTest::newRow("no opener") << QByteArray();
        QTest::newRow("one that finds nothing") << QByteArray("#!/bin/sh\nexit 3\n");
        QTest::newRow("one that crashes") << QByteArray("#!/bin/sh\nkill -KILL $$\n");
        QTest::newRow("one that cannot be started") << QByteArray("#!/nowhere/at/all\n");
    }

    void aDesktopThatOpensNothingSaysSoOnce()
    {
        QFETCH(const QByteArray, opener);
        QFile::remove(openerPath());
        if (!opener.isEmpty())
            writeProgram(opener);
        const auto noteFailure = [this] { ++m_failures; };
        m_workspace.open(folder(), noteFailure);
        QCOMPARE(m_failures, 0); // never within the call
        QTRY_COMPARE(m_failures, 1);
        reveal();
        QTRY_COMPARE(m_failures, 2);
        m_workspace.browse(QUrl(QStringLiteral("https://example.org")), noteFailure);
        QTRY_COMPARE(m_failures, 3);
        QTest::qWait(100);
        QCOMPARE(m_failures, 3);
    }

private:
    QString folder() const { return m_home->filePath(QStringLiteral("data/with a space")); }
    QStringList parentOnly() const { return { m_home->dataHome() }; }
    QString openerPath() const { return m_home->filePath(QStringLiteral("bin/xdg-open")); }

    void reveal()
    {
        m_workspace.reveal(folder(), [this] { ++m_failures; });
    }

    void writeOpener(const QByteArray &script) const { writeProgram("#!/bin/sh\n" + script); }
    void writeProgram(const QByteArray &content) const
    {
        m_home->write(QStringLiteral("bin/xdg-open"), content);
        QFile::setPermissions(openerPath(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    /// The arguments that the opener was called with, file URLs as paths.
    QStringList opened() const
    {
        QStringList result;
        QFile record(m_home->filePath(QStringLiteral("opened")));
        if (!record.open(QIODevice::ReadOnly))
            return result;
        const QStringList lines = QString::fromUtf8(record.readAll()).split(u'\n', Qt::SkipEmptyParts);
        for (const QString &line : lines)
            result << (QUrl(line).isLocalFile() ? QUrl(line).toLocalFile() : line);
        return result;
    }

    /// Accepts connections as a session bus would, and never answers.
    void listenInSilence(QLocalServer &bus) const
    {
        if (!bus.listen(m_home->filePath(QStringLiteral("stuck-bus"))))
            qFatal("The silent bus cannot listen.");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + QFile::encodeName(bus.fullServerName()));
    }

    static void hangUp(QLocalServer &bus)
    {
        while (QLocalSocket *caller = bus.nextPendingConnection())
            delete caller;
        bus.close();
    }

    DesktopWorkspace m_workspace;
    std::unique_ptr<TestHome> m_home;
    QString m_daemon;
    QByteArray m_pathBefore;
    int m_failures = 0;
};

QTEST_GUILESS_MAIN(WorkspaceTest)
#include "WorkspaceTest.moc"
