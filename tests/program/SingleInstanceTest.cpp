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

namespace {

constexpr int timeLimit = 20000; // milliseconds

/// A process that tries to be the single instance for a folder.
class Candidate final {
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

    QProcess &process() { return m_process; }

private:
    QProcess m_process;
};

}

class SingleInstanceTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TestHome>();
        m_runtime = m_home->filePath(QStringLiteral("runtime"));
        QVERIFY(QDir().mkpath(m_runtime));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime));
        qunsetenv("XDG_ACTIVATION_TOKEN");
        qunsetenv("DESKTOP_STARTUP_ID");
        m_root = m_home->dataHome() + QStringLiteral("/Vantor Platformer");
    }

    void theFirstHoldsTheFolderAndTheSecondBringsItForward()
    {
        Candidate first(m_root);
        QCOMPARE(first.line(), QStringLiteral("holds"));
        Candidate second(m_root);
        QCOMPARE(second.line(), QStringLiteral("other came forward"));
        QCOMPARE(first.line(), QStringLiteral("came forward []"));
    }

    void theSecondHandsOverTheRightToTakeTheFocus()
    {
        Candidate first(m_root);
        QCOMPARE(first.line(), QStringLiteral("holds"));
        qputenv("XDG_ACTIVATION_TOKEN", "token-7_TIME123");
        Candidate second(m_root);
        QCOMPARE(second.line(), QStringLiteral("other came forward"));
        QCOMPARE(first.line(), QStringLiteral("came forward [token-7_TIME123]"));
    }

    void aTokenThatIsNoneIsLeftBehind_data()
    {
        QTest::addColumn<QByteArray>("token");
        QTest::newRow("two lines") << QByteArray("one\ncome forward two");
        QTest::newRow("two words") << QByteArray("one two");
        QTest::newRow("longer than any") << QByteArray(100000, 'x');
    }

    void aTokenThatIsNoneIsLeftBehind()
    {
        QFETCH(QByteArray, token);
        Candidate first(m_root);
        QCOMPARE(first.line(), QStringLiteral("holds"));
        qputenv("XDG_ACTIVATION_TOKEN", token);
        Candidate second(m_root);
        QCOMPARE(second.line(), QStringLiteral("other came forward"));
        QCOMPARE(first.line(), QStringLiteral("came forward []"));
    }

    void nothingIsWrittenIntoTheFolderOrBesideIt()
    {
        Candidate first(m_root);
        QCOMPARE(first.line(), QStringLiteral("holds"));
        QVERIFY(QDir(m_home->dataHome()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }

    void theHoldOutlivesTheRemovalOfTheWholeFolder()
    {
        QVERIFY(QDir().mkpath(m_root));
        Candidate first(m_root);
        QCOMPARE(first.line(), QStringLiteral("holds"));
        QVERIFY(QDir(m_root).removeRecursively());
        Candidate second(m_root);
        QCOMPARE(second.line(), QStringLiteral("other came forward"));
    }

    void twoFoldersHaveALauncherEach()
    {
        Candidate first(m_root);
        QCOMPARE(first.line(), QStringLiteral("holds"));
        Candidate other(m_home->filePath(QStringLiteral("elsewhere/Vantor Platformer")));
        QCOMPARE(other.line(), QStringLiteral("holds"));
    }

    void aKilledHolderLeavesNothingThatBlocks()
    {
        {
            Candidate killed(m_root);
            QCOMPARE(killed.line(), QStringLiteral("holds"));
            killed.process().kill();
        }
        QVERIFY(!QDir(m_runtime).isEmpty(QDir::AllEntries | QDir::System)); // the socket that it left
        Candidate next(m_root);
        QCOMPARE(next.line(), QStringLiteral("holds"));
        Candidate second(m_root);
        QCOMPARE(second.line(), QStringLiteral("other came forward"));
    }

    void theChildOfAKilledHolderDoesNotHoldTheFolder()
    {
        // A game keeps running when its launcher is killed.
        pid_t child = 0;
        {
            Candidate killed(m_root, { QStringLiteral("with-child") });
            child = killed.line().toInt();
            QCOMPARE(killed.line(), QStringLiteral("holds"));
            killed.process().kill();
        }
        QCOMPARE(::kill(child, 0), 0);
        Candidate next(m_root);
        const QString line = next.line();
        ::kill(child, SIGTERM);
        QCOMPARE(line, QStringLiteral("holds"));
    }

    void whateverStandsInTheSocketsPlaceDoesNotBlock_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char *kind : { "empty file", "garbled file", "folder", "full folder", "dangling link" })
            QTest::newRow(kind) << QString::fromLatin1(kind);
    }

    void whateverStandsInTheSocketsPlaceDoesNotBlock()
    {
        QFETCH(QString, kind);
        const QString place = socketPlace();
        if (kind == QStringLiteral("empty file"))
            writeFile(place, {});
        else if (kind == QStringLiteral("garbled file"))
            writeFile(place, QByteArray("\0\xff 1\n99999", 10));
        else if (kind == QStringLiteral("dangling link"))
            QVERIFY(QFile::link(m_home->filePath(QStringLiteral("nowhere")), place));
        else
            QVERIFY(
                QDir().mkpath(kind == QStringLiteral("folder") ? place : place + QStringLiteral("/inside")));

        Candidate first(m_root);
        QCOMPARE(first.line(), QStringLiteral("holds"));
        // Only a folder is never cleared away: the second launcher then cannot reach the first.
        Candidate second(m_root, {}, 500);
        QCOMPARE(second.line(),
                 kind.contains(QStringLiteral("folder")) ? QStringLiteral("held by unknown")
                                                         : QStringLiteral("other came forward"));
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
        Candidate first(m_root);
        QCOMPARE(first.line(), QStringLiteral("holds"));
        Candidate second(m_root);
        QCOMPARE(second.line(), QStringLiteral("other came forward"));
    }

    void aHolderThatHangsIsNamedWithinThePatience()
    {
        Candidate first(m_root, { QStringLiteral("silent") });
        QCOMPARE(first.line(), QStringLiteral("holds"));
        QElapsedTimer timer;
        timer.start();
        Candidate second(m_root, {}, 500);
        QCOMPARE(second.line(), QStringLiteral("other is silent"));
        QVERIFY(timer.elapsed() < 5000);
    }

    void aStrangerIsGotRidOf_data()
    {
        QTest::addColumn<QByteArray>("words");
        QTest::newRow("who writes without end") << QByteArray(100000, 'x');
        QTest::newRow("who wants something else") << QByteArray("open the window, please\n");
    }

    void aStrangerIsGotRidOf()
    {
        QFETCH(QByteArray, words);
        Candidate first(m_root);
        QCOMPARE(first.line(), QStringLiteral("holds"));
        QDirIterator entries(m_runtime, QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
        QLocalSocket stranger;
        stranger.connectToServer(entries.next());
        QVERIFY(stranger.waitForConnected(timeLimit));
        stranger.write(words);
        QTRY_COMPARE_WITH_TIMEOUT(stranger.state(), QLocalSocket::UnconnectedState, timeLimit);

        Candidate second(m_root);
        QCOMPARE(second.line(), QStringLiteral("other came forward"));
        QCOMPARE(first.line(), QStringLiteral("came forward []"));
    }

    void theNextLauncherTakesOverFromOneThatIsEnding()
    {
        auto first = std::make_unique<Candidate>(m_root, QStringList { QStringLiteral("silent") });
        QCOMPARE(first->line(), QStringLiteral("holds"));
        Candidate second(m_root);
        first.reset();
        QCOMPARE(second.line(), QStringLiteral("holds"));
    }

    void aFolderThatCannotBeMadeIsNoReasonToBlock()
    {
        m_home->write(QStringLiteral("a file"), "not a folder");
        Candidate first(m_home->filePath(QStringLiteral("a file/share/Vantor Platformer")));
        QCOMPARE(first.line(), QStringLiteral("cannot hold"));
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
            Candidate first(m_root);
            QCOMPARE(first.line(), QStringLiteral("holds"));
            Candidate second(m_root);
            QCOMPARE(second.line(), QStringLiteral("other came forward"));
            QCOMPARE(first.line(), QStringLiteral("came forward []"));
            first.process().kill();
        }
        Candidate next(m_root);
        QCOMPARE(next.line(), QStringLiteral("holds"));
        QVERIFY(QDir(m_home->dataHome()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
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
        Candidate launcher(m_root, {}, 500);
        QCOMPARE(launcher.line(), QStringLiteral("held by unknown"));
        ::close(folder);
        Candidate next(m_root);
        QCOMPARE(next.line(), QStringLiteral("holds"));
    }

    void ofPairsThatStartTogetherOneWinsAndTheOtherBringsItForward()
    {
        for (int pair = 0; pair < 200; ++pair) {
            const QString root = m_home->filePath(QStringLiteral("pair %1/Vantor Platformer").arg(pair));
            Candidate one(root);
            Candidate other(root);
            QStringList lines { one.line(), other.line() };
            const bool oneWon = lines.first() == QStringLiteral("holds");
            lines.sort();
            QCOMPARE(lines, QStringList({ QStringLiteral("holds"), QStringLiteral("other came forward") }));
            QCOMPARE((oneWon ? one : other).line(), QStringLiteral("came forward []"));
        }
    }

private:
    /// The path of a holder's socket, found by starting one.
    QString socketPlace()
    {
        Candidate holder(m_root);
        if (holder.line() != QStringLiteral("holds"))
            qFatal("The folder could not be held.");
        QDirIterator entries(m_runtime, QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
        return entries.next();
    }

    static void writeFile(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
    }

    std::unique_ptr<TestHome> m_home;
    QString m_runtime;
    QString m_root;
};

QTEST_GUILESS_MAIN(SingleInstanceTest)
#include "SingleInstanceTest.moc"
