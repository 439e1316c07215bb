// Two launchers and one folder, with real processes.

#include "FreshForEach.h"
#include "Table.h"
#include "TestHome.h"

#include <QLocalSocket>
#include <QProcess>

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

}

class SingleInstanceTest final : public QObject {
    Q_OBJECT

public:
    SingleInstanceTest()
    {
        QDir().mkpath(m_runtime);
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime));
        for (const char *variable : { "XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID", "FOLDER_LOCK_ERROR" })
            qunsetenv(variable);
    }

private Q_SLOTS:
    void theSecondBringsTheFirstForwardAndHandsOverTheRightToTakeTheFocus_data()
    {
        const auto row = table<QByteArray, QString>("token", "received");
        row("no token", {}, {});
        row("a token", "token-7_TIME123", u"token-7_TIME123"_s);
        row("two lines are no token", "one\ncome forward two", {});
        row("two words are no token", "one two", {});
        row("longer than any token", QByteArray(100000, 'x'), {});
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
        QCOMPARE(m_home.list(u"data"_s), QStringList());
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
        const Holder other(m_home.filePath(u"elsewhere/Vantor Platformer"_s));
    }

    void aKilledHolderLeavesNothingThatBlocks()
    {
        Holder(m_root).kill();
        QVERIFY(!m_home.list(m_runtime).isEmpty()); // the socket that it left
        Holder next(m_root);
        verifyBringsForward(next);
    }

    void theChildOfAKilledHolderDoesNotHoldTheFolder()
    {
        // A game keeps running when its launcher is killed.
        auto killed = std::make_unique<Holder>(m_root, QStringList(u"with-child"_s));
        const pid_t child = killed->child;
        killed->kill();
        killed.reset();
        QCOMPARE(::kill(child, 0), 0);
        const QString line = Candidate(m_root).line();
        ::kill(child, SIGTERM);
        QCOMPARE(line, u"holds"_s);
    }

    void whateverStandsInTheSocketsPlaceDoesNotBlock_data()
    {
        const auto row = table<QString>("command");
        row("empty file", u"touch socket"_s);
        row("garbled file", uR"(printf '\0\377 1\n99999' >socket)"_s);
        row("dangling link", u"ln -s nowhere socket"_s);
        row("folder", u"mkdir socket"_s);
        row("full folder", u"mkdir -p socket/inside"_s);
    }

    void whateverStandsInTheSocketsPlaceDoesNotBlock()
    {
        QFETCH(QString, command);
        auto holder = std::make_unique<Holder>(m_root);
        const QString socket = socketPath();
        holder.reset();
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
        const auto row = table<QByteArray>("runtime");
        row("unset", {});
        row("missing", "/nonexistent/runtime");
        row("relative", "runtime");
    }

    void aRuntimeFolderThatIsMissingOrRelativeIsReplacedByTheTemporaryOne()
    {
        QFETCH(QByteArray, runtime);
        runtime.isNull() ? qunsetenv("XDG_RUNTIME_DIR") : qputenv("XDG_RUNTIME_DIR", runtime);
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
        const auto row = table<QByteArray>("words");
        row("who writes without end", QByteArray(100000, 'x'));
        row("who wants something else", "open the window, please\n");
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
        m_home.write(u"a file"_s, "not a folder");
        Candidate first(m_home.filePath(u"a file/share/Vantor Platformer"_s));
        QCOMPARE(first.line(), u"cannot hold"_s);
    }

    void whereFoldersCannotBeLockedThereIsStillASingleInstance_data()
    {
        const auto row = table<QByteArray>("error");
        row("a network's file system", "EBADF");
        row("no more locks", "ENOLCK");
    }

    void whereFoldersCannotBeLockedThereIsStillASingleInstance()
    {
#if defined(Q_OS_LINUX)
        QFETCH(QByteArray, error);
        qputenv("FOLDER_LOCK_ERROR", error);
        {
            Holder first(m_root);
            verifyBringsForward(first);
            first.kill();
        }
        const Holder next(m_root);
        QCOMPARE(m_home.list(u"data"_s), QStringList());
#else
        QSKIP("There the system's own function cannot be replaced.");
#endif
    }

    void aFolderThatAnotherProgramHasLockedIsNotTakenForAnOpenLauncher()
    {
        QDir().mkpath(m_home.dataHome());
        const int folder = ::open(m_home.bytes(u"data"_s).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        QCOMPARE(::flock(folder, LOCK_EX), 0);
        QCOMPARE(Candidate(m_root, {}, 500).line(), u"held by unknown"_s);
        ::close(folder);
        const Holder next(m_root);
    }

    void ofPairsThatStartTogetherOneWinsAndTheOtherBringsItForward()
    {
        for (int pair = 0; pair < 200; ++pair) {
            const QString root = m_home.filePath(u"pair %1/Vantor Platformer"_s.arg(pair));
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
    QString socketPath() const { return m_runtime + u'/' + m_home.list(m_runtime).first(); }

    const TestHome m_home;
    const QString m_runtime = m_home.filePath(u"runtime"_s);
    const QString m_root = m_home.dataHome() + u"/Vantor Platformer"_s;
};

QTEST_GUILESS_MAIN(FreshForEach<SingleInstanceTest>)
#include "SingleInstanceTest.moc"
