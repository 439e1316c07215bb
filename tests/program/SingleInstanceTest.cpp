// Two launchers and one folder, with real processes.

#include "TestHome.h"

#include <QDirIterator>
#include <QLocalSocket>
#include <QProcess>
#include <QTest>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr int timeLimit = 20000; // milliseconds

/// A process that tries to be the single instance for a folder.
class Candidate {
public:
    explicit Candidate(const QString &root, const QStringList &options = {}, int patience = 10000)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(SINGLE_INSTANCE_PROCESS),
                        QStringList { root, QString::number(patience) } + options);
    }

    ~Candidate()
    {
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(timeLimit))
            m_process.kill();
        m_process.waitForFinished();
    }

    Candidate(const Candidate &) = delete;
    Candidate &operator=(const Candidate &) = delete;

    /// The next line that it prints; empty when none comes.
    QString line()
    {
        while (!m_process.canReadLine() && m_process.waitForReadyRead(timeLimit)) { }
        return QString::fromUtf8(m_process.readLine()).trimmed();
    }

    void kill() { m_process.kill(); }

private:
    QProcess m_process;
};

/// One that has to succeed.
class Holder final : public Candidate {
public:
    explicit Holder(const QString &root, const QStringList &options = {})
        : Candidate(root, options)
    {
        if (options.contains(u"with-child"_s))
            child = line().toInt();
        QCOMPARE(line(), u"holds"_s);
    }

    /// The process that it started and that outlives it.
    pid_t child = 0;
};

bool isEmpty(const QString &folder)
{
    return QDir(folder).isEmpty(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
}

}

class SingleInstanceTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TestHome>();
        m_runtime = m_home->filePath(u"runtime"_s);
        QVERIFY(QDir().mkpath(m_runtime));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime));
        qunsetenv("XDG_ACTIVATION_TOKEN");
        qunsetenv("DESKTOP_STARTUP_ID");
        m_root = m_home->dataHome() + u"/Vantor Platformer"_s;
    }

    void theSecondBringsTheFirstForwardAndHandsOverTheRightToTakeTheFocus_data()
    {
        QTest::addColumn<QByteArray>("token");
        QTest::addColumn<QString>("received");
        QTest::newRow("no token") << QByteArray() << QString();
        QTest::newRow("a token") << QByteArray("token-7_TIME123") << u"token-7_TIME123"_s;
        QTest::newRow("two lines are no token") << QByteArray("one\ncome forward two") << QString();
        QTest::newRow("two words are no token") << QByteArray("one two") << QString();
        QTest::newRow("longer than any token") << QByteArray(100000, 'x') << QString();
    }

    void theSecondBringsTheFirstForwardAndHandsOverTheRightToTakeTheFocus()
    {
        QFETCH(QByteArray, token);
        QFETCH(QString, received);
        Holder first(m_root);
        if (!token.isNull())
            qputenv("XDG_ACTIVATION_TOKEN", token);
        verifyBringsForward(first, received);
    }

    void nothingIsWrittenIntoTheFolderOrBesideIt()
    {
        const Holder first(m_root);
        QVERIFY(isEmpty(m_home->dataHome()));
    }

    void theHoldOutlivesTheRemovalOfTheWholeFolder()
    {
        QVERIFY(QDir().mkpath(m_root));
        Holder first(m_root);
        QVERIFY(QDir(m_root).removeRecursively());
        verifyBringsForward(first);
    }

    void twoFoldersHaveALauncherEach()
    {
        const Holder first(m_root);
        const Holder other(m_home->filePath(u"elsewhere/Vantor Platformer"_s));
    }

    void aKilledHolderLeavesNothingThatBlocks()
    {
        Holder(m_root).kill();
        QVERIFY(!isEmpty(m_runtime)); // the socket that it left
        Holder next(m_root);
        verifyBringsForward(next);
    }

    void theChildOfAKilledHolderDoesNotHoldTheFolder()
    {
        // A game keeps running when its launcher is killed.
        pid_t child = 0;
        {
            Holder killed(m_root, { u"with-child"_s });
            child = killed.child;
            killed.kill();
        }
        QCOMPARE(::kill(child, 0), 0);
        Candidate next(m_root);
        const QString line = next.line();
        ::kill(child, SIGTERM);
        QCOMPARE(line, u"holds"_s);
    }

    void whateverStandsInTheSocketsPlaceDoesNotBlock_data()
    {
        QTest::addColumn<QString>("command");
        QTest::newRow("empty file") << u"touch socket"_s;
        QTest::newRow("garbled file") << uR"(printf '\0\377 1\n99999' >socket)"_s;
        QTest::newRow("dangling link") << u"ln -s nowhere socket"_s;
        QTest::newRow("folder") << u"mkdir socket"_s;
        QTest::newRow("full folder") << u"mkdir -p socket/inside"_s;
    }

    void whateverStandsInTheSocketsPlaceDoesNotBlock()
    {
        QFETCH(QString, command);
        QString socket;
        {
            const Holder holder(m_root);
            socket = socketPath();
        }
        const QString quoted = u"'%1'"_s.arg(socket);
        QCOMPARE(QProcess::execute(u"sh"_s, { u"-c"_s, QString(command).replace(u"socket"_s, quoted) }), 0);
        const bool isFolder = QFileInfo(socket).isDir();
        Holder first(m_root);
        // Only a folder is never cleared away: the second launcher then cannot reach the first.
        if (isFolder)
            QCOMPARE(Candidate(m_root, {}, 500).line(), u"held by unknown"_s);
        else
            verifyBringsForward(first);
    }

    void aRuntimeFolderThatIsMissingOrRelativeIsReplacedByTheTemporaryOne_data()
    {
        QTest::addColumn<QByteArray>("runtime");
        QTest::newRow("unset") << QByteArray();
        QTest::newRow("missing") << QByteArray("/nonexistent/runtime");
        QTest::newRow("relative") << QByteArray("runtime");
    }

    void aRuntimeFolderThatIsMissingOrRelativeIsReplacedByTheTemporaryOne()
    {
        QFETCH(QByteArray, runtime);
        if (runtime.isNull())
            qunsetenv("XDG_RUNTIME_DIR");
        else
            qputenv("XDG_RUNTIME_DIR", runtime);
        Holder first(m_root);
        verifyBringsForward(first);
    }

    void aHolderThatHangsIsNamedWithinThePatience()
    {
        const Holder first(m_root, { u"silent"_s });
        QElapsedTimer timer;
        timer.start();
        Candidate second(m_root, {}, 500);
        QCOMPARE(second.line(), u"other is silent"_s);
        QVERIFY(timer.elapsed() < 5000);
    }

    void aStrangerIsDisconnected_data()
    {
        QTest::addColumn<QByteArray>("words");
        QTest::newRow("who writes without end") << QByteArray(100000, 'x');
        QTest::newRow("who wants something else") << QByteArray("open the window, please\n");
    }

    void aStrangerIsDisconnected()
    {
        QFETCH(QByteArray, words);
        Holder first(m_root);
        QLocalSocket stranger;
        stranger.connectToServer(socketPath());
        QVERIFY(stranger.waitForConnected(timeLimit));
        stranger.write(words);
        QTRY_COMPARE_WITH_TIMEOUT(stranger.state(), QLocalSocket::UnconnectedState, timeLimit);
        verifyBringsForward(first);
    }

    void theNextLauncherTakesOverFromOneThatIsEnding()
    {
        auto first = std::make_unique<Holder>(m_root, QStringList { u"silent"_s });
        Candidate second(m_root);
        first.reset();
        QCOMPARE(second.line(), u"holds"_s);
    }

    void aFolderThatCannotBeMadeIsNoReasonToBlock()
    {
        m_home->write(u"a file"_s, "not a folder");
        Candidate first(m_home->filePath(u"a file/share/Vantor Platformer"_s));
        QCOMPARE(first.line(), u"cannot hold"_s);
    }

    void whereFoldersCannotBeLockedThereIsStillASingleInstance_data()
    {
        QTest::addColumn<QByteArray>("error");
        QTest::newRow("a network's file system") << QByteArray("EBADF");
        QTest::newRow("no more locks") << QByteArray("ENOLCK");
    }

    void whereFoldersCannotBeLockedThereIsStillASingleInstance()
    {
#if defined(Q_OS_LINUX)
        QFETCH(QByteArray, error);
        qputenv("FOLDER_LOCK_ERROR", error);
        const auto locksAgain = qScopeGuard([] { qunsetenv("FOLDER_LOCK_ERROR"); });
        {
            Holder first(m_root);
            verifyBringsForward(first);
            first.kill();
        }
        const Holder next(m_root);
        QVERIFY(isEmpty(m_home->dataHome()));
#else
        QSKIP("There the system's own function cannot be replaced.");
#endif
    }

    void aFolderThatAnotherProgramHasLockedIsNotTakenForAnOpenLauncher()
    {
        QVERIFY(QDir().mkpath(m_home->dataHome()));
        const int folder
            = ::open(QFile::encodeName(m_home->dataHome()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        QCOMPARE(::flock(folder, LOCK_EX), 0);
        QCOMPARE(Candidate(m_root, {}, 500).line(), u"held by unknown"_s);
        ::close(folder);
        const Holder next(m_root);
    }

    void ofPairsThatStartTogetherOneWinsAndTheOtherBringsItForward()
    {
        for (int pair = 0; pair < 200; ++pair) {
            const QString root = m_home->filePath(u"pair %1/Vantor Platformer"_s.arg(pair));
            Candidate one(root);
            Candidate other(root);
            QStringList lines { one.line(), other.line() };
            const bool oneWon = lines.first() == u"holds"_s;
            lines.sort();
            QCOMPARE(lines, QStringList({ u"holds"_s, u"other came forward"_s }));
            QCOMPARE((oneWon ? one : other).line(), u"came forward []"_s);
        }
    }

private:
    void verifyBringsForward(Candidate &first, const QString &token = {})
    {
        QCOMPARE(Candidate(m_root).line(), u"other came forward"_s);
        QCOMPARE(first.line(), u"came forward [%1]"_s.arg(token));
    }

    /// The holder's socket, the only thing in the runtime folder.
    QString socketPath() const
    {
        return QDirIterator(m_runtime, QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).next();
    }

    std::unique_ptr<TestHome> m_home;
    QString m_runtime;
    QString m_root;
};

QTEST_GUILESS_MAIN(SingleInstanceTest)
#include "SingleInstanceTest.moc"
