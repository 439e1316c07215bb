#include "Workspace.h"

#include "TestHome.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

namespace {

/// A session bus of the test's own.
class SessionBus final {
public:
    /// Its socket lies in `folder`.
    explicit SessionBus(const QString &folder)
    {
        m_daemon.start(QStringLiteral("dbus-daemon"),
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

/// A file manager of the test's own.
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
        if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty())
            QSKIP("There is no dbus-daemon on this machine.");
    }

    void init()
    {
        m_home = std::make_unique<TestHome>();
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("XDG_RUNTIME_DIR");
        QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "noteOpened");
        QDir().mkpath(folder());
    }

    void cleanup()
    {
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
        m_opened.clear();
        m_home.reset();
    }

    void theFileManagerIsAskedToShowTheFolder()
    {
        const SessionBus bus(m_home->path());
        const FileManager fileManager(bus);
        DesktopWorkspace().reveal(folder());
        QTRY_COMPARE(fileManager.shown.size(), 1);
        QCOMPARE(fileManager.shown.first(),
                 QStringList(QString::fromUtf8(QUrl::fromLocalFile(folder()).toEncoded())));
        QVERIFY(fileManager.shown.first().first().endsWith(QStringLiteral("/with%20a%20space")));
        QVERIFY(m_opened.isEmpty());
    }

    void twoRequestsAreBothShown()
    {
        const SessionBus bus(m_home->path());
        const FileManager fileManager(bus);
        DesktopWorkspace().reveal(folder());
        DesktopWorkspace().reveal(folder());
        QTRY_COMPARE(fileManager.shown.size(), 2);
    }

    void aFileManagerThatRefusesGivesWayToTheOpener()
    {
        const SessionBus bus(m_home->path());
        FileManager fileManager(bus);
        fileManager.refuses = true;
        DesktopWorkspace().reveal(folder());
        QTRY_COMPARE(m_opened, parentOnly());
        QCOMPARE(fileManager.shown.size(), 1);
    }

    void aBusWithoutAFileManagerGivesWayToTheOpener()
    {
        const SessionBus bus(m_home->path());
        DesktopWorkspace().reveal(folder());
        QTRY_COMPARE(m_opened, parentOnly());
    }

    void withoutABusTheOpenerOpensTheParent()
    {
        DesktopWorkspace().reveal(folder());
        QTRY_COMPARE(m_opened, parentOnly());
    }

    void aBusThatIsGoneGivesWayToTheOpener()
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS",
                "unix:path=" + QFile::encodeName(m_home->filePath(QStringLiteral("no-bus"))));
        DesktopWorkspace().reveal(folder());
        QTRY_COMPARE(m_opened, parentOnly());
    }

    void aBusInTheRuntimeFolderIsFound()
    {
        QLocalServer bus;
        QVERIFY(bus.listen(m_home->filePath(QStringLiteral("bus"))));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_home->path()));
        DesktopWorkspace().reveal(folder());
        QTRY_VERIFY(bus.hasPendingConnections());
        hangUp(bus);
        QTRY_COMPARE(m_opened, parentOnly());
    }

    void aBusThatNeverAnswersDoesNotHoldUpTheWindow()
    {
        QLocalServer bus;
        QVERIFY(bus.listen(m_home->filePath(QStringLiteral("stuck-bus"))));
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + QFile::encodeName(bus.fullServerName()));

        QElapsedTimer clock;
        clock.start();
        DesktopWorkspace().reveal(folder());
        QVERIFY2(clock.elapsed() < 500, "The caller had to wait for the bus.");
        QTRY_VERIFY(bus.hasPendingConnections());
        QVERIFY(m_opened.isEmpty());

        hangUp(bus);
        QTRY_COMPARE(m_opened, parentOnly());
    }

    void aFolderIsOpenedItself()
    {
        DesktopWorkspace().open(folder());
        QCOMPARE(m_opened, QStringList(folder()));
    }

    void theDesktopsOwnOpenerIsStarted()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("xvfb-run")).isEmpty())
            QSKIP("There is no xvfb-run on this machine, and without a display Qt starts no opener.");

        const QString opener
            = m_home->write(QStringLiteral("bin/xdg-open"), "#!/bin/sh\necho \"$1\" > \"$HOME/opened\"\n");
        QFile::setPermissions(opener, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PATH"),
                           QFileInfo(opener).path() + QLatin1Char(':')
                               + environment.value(QStringLiteral("PATH")));
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));

        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral("xvfb-run"),
                      { QStringLiteral("-a"), QCoreApplication::applicationFilePath(),
                        QStringLiteral("--open"), folder() });
        QVERIFY2(process.waitForFinished(), qPrintable(process.errorString()));

        QFile record(m_home->filePath(QStringLiteral("opened")));
        QTRY_VERIFY2(record.exists() && record.size() > 0, process.readAllStandardError().constData());
        QVERIFY(record.open(QIODevice::ReadOnly));
        const QString opened = QString::fromUtf8(record.readAll()).trimmed();
        QCOMPARE(opened.startsWith(QLatin1Char('/')) ? opened : QUrl(opened).toLocalFile(), folder());
    }

    void withoutAnOpenerThereIsOnlyAWarning()
    {
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("does not support .*openDocument")));
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("Nothing on this desktop opens")));
        DesktopWorkspace().open(folder());
    }

public Q_SLOTS:
    /// Stands in for the desktop's opener.
    void noteOpened(const QUrl &url) { m_opened.append(url.toLocalFile()); }

private:
    QString folder() const { return m_home->filePath(QStringLiteral("data/with a space")); }
    QStringList parentOnly() const { return { m_home->dataHome() }; }

    static void hangUp(QLocalServer &bus)
    {
        while (QLocalSocket *caller = bus.nextPendingConnection())
            delete caller;
        bus.close();
    }

    std::unique_ptr<TestHome> m_home;
    QStringList m_opened;
};

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--open") == 0) {
        DesktopWorkspace().open(QFile::decodeName(argv[2]));
        return 0;
    }
    WorkspaceTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "WorkspaceTest.moc"
