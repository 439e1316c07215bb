// Whatever a game or an import does, the launcher reports it exactly, its main thread stays responsive, its
// memory stays small, and nothing of the child is left.

#include "Background.h"
#include "Children.h"
#include "EngineManager.h"
#include "Player.h"
#include "Strain.h"

#include <QElapsedTimer>
#include <QTest>

#include <csignal>

namespace {

constexpr const char *early = "The game closed after only %1 (exit code %2), so it did not start properly. "
                              "These are the last lines of "
                              "its log:";
constexpr const char *late
    = "The game stopped with an error (exit code %2) after %1. These are the last lines of its log:";

QByteArray flood(const char *what, qint64 number)
{
    return QFile::encodeName(Children::program(QStringLiteral("child-flood"))) + ' ' + what + ' '
        + QByteArray::number(number);
}

QStringList numbers(qint64 from, qint64 end)
{
    QStringList lines;
    for (qint64 number = from; number < end; ++number)
        lines << QString::number(number);
    return lines;
}

/// Verifies after a run: no zombie, no leaked descriptor, a responsive main thread and little memory used.
class Watch final {
public:
    Watch()
    {
        waitForBackground(std::chrono::seconds(20)); // where a new model reads the game
        m_files = Children::openFiles();
    }

    Strain strain;

    void verify()
    {
        QVERIFY(Children::noZombie());
        const bool isAsBefore = QTest::qWaitFor([this] { return Children::openFiles() == m_files; });
        QVERIFY2(
            isAsBefore,
            qPrintable(m_files.join(u' ') + QStringLiteral(" became ") + Children::openFiles().join(u' ')));
        if (!Strain::isMeasurable())
            return;
        QVERIFY2(strain.keptItsTurns(),
                 qPrintable(QStringLiteral("%1 ms without a turn").arg(strain.longestGap())));
        const auto growth = strain.memoryGrowth();
        QVERIFY2(growth <= Strain::mostMemory, qPrintable(QStringLiteral("%1 bytes more").arg(growth)));
    }

private:
    QStringList m_files;
};

}

class HostileChildrenTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void aGameIsReportedExactlyWhateverItDoes_data();
    void aGameIsReportedExactlyWhateverItDoes();
    void aFloodOfLinesFromAGameIsReportedAndKeptInOrder();
    void aFloodWithoutALineEndFromAGameIsReported();
    void fiftyGamesLeaveNoDescriptorAndNoZombie();
    void aGameThatIgnoresTheRequestToEndRunsOnUntilItEndsByItself();

    void anImportIsLoggedExactlyWhateverItDoes_data();
    void anImportIsLoggedExactlyWhateverItDoes();
    void aFloodOfLinesFromAnImportIsKeptInOrder();
    void aFloodWithoutALineEndFromAnImportDoesNoHarm();
    void anImportThatIgnoresTheRequestToEndIsEndedSoonAfterCancel();
    void anImportThatIgnoresTheRequestToEndIsEndedAtOnceWithTheLauncher();

    void anEngineThatCannotBeStartedIsLoggedAndReportedExactly_data();
    void anEngineThatCannotBeStartedIsLoggedAndReportedExactly();
    void anEngineThatIsNoProgramAnyMoreIsInstalledAgain();

private:
    void write(const QString &name, const QByteArray &script) const
    {
        QFile file(Paths::gameFolder() + u'/' + name);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(script) != script.size())
            qFatal("A script could not be written.");
    }
    QString engine() const { return *EngineManager::executable(EngineManager::spec(*model().info.get())); }
    AppModel &model() const { return *m_player->model; }
    bool isOver() const { return !model().isWorking() && !model().runner.isRunning; }

    void playToTheEnd(Watch &watch, std::chrono::milliseconds limit = std::chrono::seconds(30))
    {
        model().play();
        QVERIFY(watch.strain.runUntil([this] { return isOver(); }, limit));
    }
    /// Imports the game if necessary, starts it and leaves it running.
    void playToTheGame(Watch &watch, std::chrono::milliseconds limit = std::chrono::seconds(30))
    {
        write(QStringLiteral("play.sh"), "echo playing; exec sleep 60");
        model().play();
        QVERIFY(watch.strain.runUntil([this] { return model().runner.isRunning.get(); }, limit));
    }
    /// The log from the first pass of the import on, up to the start of the game.
    QStringList importLog() const
    {
        QStringList lines = model().log.lines;
        const qsizetype end = lines.indexOf(QRegularExpression(QStringLiteral("^Starting the game: .*")));
        lines = lines.mid(0, end);
        return lines.mid(lines.indexOf(passLine(1)));
    }
    static QString passLine(int pass)
    {
        return QStringLiteral("First-time setup, pass %1: godot --headless --import --path %2 --quit")
            .arg(pass)
            .arg(Paths::gameFolder());
    }
    void forgetTheImport() const
    {
        QFile::remove(EngineManager::markerURL(EngineManager::spec(*model().info.get())));
        QDir(Paths::gameFolder() + QStringLiteral("/.godot")).removeRecursively();
    }
    void verifyReport(int code) const;
    void endGrandchild() const;

    std::unique_ptr<Player> m_player;
};

void HostileChildrenTest::initTestCase()
{
    m_player = std::make_unique<Player>();
    m_player->startHost();
    m_player->startModel();
    QVERIFY(m_player->install());
}

void HostileChildrenTest::init()
{
    write(QStringLiteral("import.sh"), "mkdir -p .godot\n");
    write(QStringLiteral("play.sh"), "exec sleep 60\n");
}

void HostileChildrenTest::cleanup()
{
    QFile::remove(Paths::gameFolder() + QStringLiteral("/go"));
    model().cancel();
    QVERIFY(m_player->stopGame());
    QVERIFY(m_player->waitUntilIdle());
}

void HostileChildrenTest::cleanupTestCase() { m_player.reset(); }

/// Verifies the sentence for a game that ended with `code`, whether early or late.
void HostileChildrenTest::verifyReport(int code) const
{
    const QString message = model().failureMessage.get().value_or(QString());
    const QString wording = QStringLiteral("^%1$|^%2$")
                                .arg(QRegularExpression::escape(QLatin1StringView(early)),
                                     QRegularExpression::escape(QLatin1StringView(late)))
                                .replace(QStringLiteral("\\%1"), QStringLiteral("[0-9]+ seconds?"))
                                .replace(QStringLiteral("\\%2"), QString::number(code));
    QVERIFY2(QRegularExpression(wording).match(message).hasMatch(), qPrintable(message));
    QCOMPARE(model().state.get(), AppState::needs(message));
    QCOMPARE(model().failureLines.get(),
             model().log.lines->mid(std::max<qsizetype>(0, model().log.lines->size() - 30)));
}

void HostileChildrenTest::endGrandchild() const
{
    QFile number(Paths::gameFolder() + QStringLiteral("/grandchild"));
    QVERIFY(number.open(QIODevice::ReadOnly));
    const pid_t grandchild = number.readAll().trimmed().toInt();
    QVERIFY(grandchild > 1);
    QCOMPARE(::kill(grandchild, SIGKILL), 0); // it was alive
    number.remove();
}

void HostileChildrenTest::aGameIsReportedExactlyWhateverItDoes_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("time");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("output");

    const QString atOnce = QStringLiteral("0 seconds");
    const QString aSecond = QStringLiteral("1 second");
    const QStringList word(QStringLiteral("word"));
    QTest::newRow("exits 0") << QByteArray("echo word") << atOnce << 0 << word;
    QTest::newRow("exits 137") << QByteArray("echo word; exit 137") << atOnce << 137 << word;
    QTest::newRow("exits 255") << QByteArray("echo word; exit 255") << atOnce << 255 << word;
    for (const int number : { SIGSEGV, SIGABRT, SIGKILL, SIGTERM, SIGPIPE }) {
        QTest::addRow("dies of signal %d", number)
            << "ulimit -c 0; echo word; kill -" + QByteArray::number(number) + " $$" << atOnce << number
            << word;
    }
    QTest::newRow("leaves a grandchild that holds its output")
        << QByteArray("sleep 60 & echo $! >grandchild; printf word; exit 5") << atOnce << 5 << word;
    QTest::newRow("leaves a grandchild that floods its output")
        << "echo word; sleep 60 & echo $! >grandchild; exec >&- 2>&-; " + flood("forever", 0) + " & exit 6"
        << atOnce << 6 << word;
    QTest::newRow("closes its output and runs on")
        << QByteArray("echo word; exec >&- 2>&-; sleep 1; exit 7") << aSecond << 7 << word;
    QTest::newRow("reads its input") << QByteArray("read line; echo \"$? <$line>\"; cat; exit 8") << atOnce
                                     << 8 << QStringList(QStringLiteral("1 <>"));
    QTest::newRow("prints nothing") << QByteArray("exit 9") << atOnce << 9 << QStringList();
    QTest::newRow("prints what is no text") << QByteArray("printf 'a\\377b\\n'; exit 10") << atOnce << 10
                                            << QStringList(QStringLiteral("a\uFFFDb"));
    QTest::newRow("prints a last line without an end")
        << QByteArray("printf 'word\\nlast'; exit 11") << atOnce << 11
        << word + QStringList(QStringLiteral("last"));
}

void HostileChildrenTest::aGameIsReportedExactlyWhateverItDoes()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, time);
    QFETCH(int, code);
    QFETCH(QStringList, output);
    write(QStringLiteral("play.sh"), script);
    Watch watch;
    playToTheEnd(watch);
    const QString message = QString(QLatin1StringView(early)).arg(time).arg(code);
    QCOMPARE(model().failureMessage.get().value_or(QString()), message);
    QCOMPARE(model().state.get(), AppState::needs(message));
    QCOMPARE(model().log.lines->mid(1), output);
    QCOMPARE(model().failureLines.get(), model().log.lines.get());
    if (QFile::exists(Paths::gameFolder() + QStringLiteral("/grandchild")))
        endGrandchild();
    watch.verify();
}

void HostileChildrenTest::aFloodOfLinesFromAGameIsReportedAndKeptInOrder()
{
    write(QStringLiteral("play.sh"), flood("lines", Strain::manyLines()) + "; exit 3");
    Watch watch;
    playToTheEnd(watch, std::chrono::minutes(10));
    verifyReport(3);
    QCOMPARE(model().log.lines.get(), numbers(Strain::manyLines() - LogStore::maxLines, Strain::manyLines()));
    qInfo("%lld ms, %lld kB", static_cast<long long>(watch.strain.longestGap()),
          static_cast<long long>(watch.strain.memoryGrowth() / 1024));
    watch.verify();
}

void HostileChildrenTest::aFloodWithoutALineEndFromAGameIsReported()
{
    write(QStringLiteral("play.sh"), flood("bytes", Strain::manyBytes()) + "; exit 3");
    Watch watch;
    playToTheEnd(watch, std::chrono::minutes(10));
    verifyReport(3);
    qInfo("%lld ms, %lld kB", static_cast<long long>(watch.strain.longestGap()),
          static_cast<long long>(watch.strain.memoryGrowth() / 1024));
    watch.verify();
}

void HostileChildrenTest::fiftyGamesLeaveNoDescriptorAndNoZombie()
{
    write(QStringLiteral("play.sh"), "echo word; exit 1\n");
    Watch watch;
    for (int game = 0; game < 50; ++game)
        playToTheEnd(watch);
    watch.verify();
}

void HostileChildrenTest::aGameThatIgnoresTheRequestToEndRunsOnUntilItEndsByItself()
{
    write(QStringLiteral("play.sh"),
          "trap '' TERM; echo ready; while [ ! -e go ]; do sleep 0.05; done; echo saved; exit 0");
    Watch watch;
    model().play();
    QVERIFY(watch.strain.runUntil([this] { return model().log.lines->contains(QStringLiteral("ready")); }));
    for (int press = 0; press < 3; ++press)
        model().runner.stop();
    QElapsedTimer sinceStop;
    sinceStop.start();
    // Longer than an import is given to end: a game may hold unsaved progress, so it is never killed.
    QVERIFY(watch.strain.runUntil([&] { return sinceStop.hasExpired(6000) || isOver(); }));
    QVERIFY(model().runner.isRunning);
    write(QStringLiteral("go"), {});
    QVERIFY(watch.strain.runUntil([this] { return isOver(); }));
    QCOMPARE(model().log.lines->last(2),
             QStringList({ QStringLiteral("saved"), QStringLiteral("Game stopped.") }));
    QCOMPARE(model().state.get(), AppState::ready());
    watch.verify();
}

void HostileChildrenTest::anImportIsLoggedExactlyWhateverItDoes_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("output");

    const QStringList word(QStringLiteral("word"));
    QTest::newRow("exits 0") << QByteArray("echo word") << 0 << word;
    QTest::newRow("exits 137") << QByteArray("echo word; exit 137") << 137 << word;
    for (const int number : { SIGSEGV, SIGABRT, SIGKILL, SIGTERM, SIGPIPE }) {
        QTest::addRow("dies of signal %d", number)
            << "ulimit -c 0; echo word; kill -" + QByteArray::number(number) + " $$" << number << word;
    }
    QTest::newRow("leaves a grandchild that holds its output")
        << QByteArray("sleep 60 & echo $! >grandchild; printf word; exit 5") << 5 << word;
    QTest::newRow("closes its output and runs on")
        << QByteArray("echo word; exec >&- 2>&-; sleep 1; exit 7") << 7 << word;
    QTest::newRow("reads its input") << QByteArray("read line; echo \"$? <$line>\"; cat; exit 8") << 8
                                     << QStringList(QStringLiteral("1 <>"));
    QTest::newRow("prints what is no text")
        << QByteArray("printf 'a\\377b\\n'; exit 10") << 10 << QStringList(QStringLiteral("a\uFFFDb"));
}

void HostileChildrenTest::anImportIsLoggedExactlyWhateverItDoes()
{
    QFETCH(QByteArray, script);
    QFETCH(int, code);
    QFETCH(QStringList, output);
    forgetTheImport();
    write(QStringLiteral("import.sh"), "mkdir -p .godot; " + script);
    Watch watch;
    playToTheGame(watch);
    QStringList expected { passLine(1) };
    expected << output;
    if (code != 0)
        expected << QStringLiteral("Setup pass ended with exit code %1").arg(code);
    QCOMPARE(importLog(), expected);
    if (QFile::exists(Paths::gameFolder() + QStringLiteral("/grandchild")))
        endGrandchild();
    QVERIFY(m_player->stopGame());
    watch.verify();
}

void HostileChildrenTest::aFloodOfLinesFromAnImportIsKeptInOrder()
{
    forgetTheImport();
    write(QStringLiteral("import.sh"),
          "mkdir -p .godot; " + flood("lines", Strain::manyLines()) + "; exit 3");
    write(QStringLiteral("play.sh"), "exit 4");
    Watch watch;
    playToTheEnd(watch, std::chrono::minutes(10));
    QStringList lines = model().log.lines;
    QVERIFY(lines.takeLast().startsWith(QStringLiteral("Starting the game: ")));
    QCOMPARE(lines.takeLast(), QStringLiteral("Setup pass ended with exit code 3"));
    QCOMPARE(lines, numbers(Strain::manyLines() - lines.size(), Strain::manyLines()));
    QCOMPARE(lines.size(), LogStore::maxLines - 2);
    watch.verify();
}

void HostileChildrenTest::aFloodWithoutALineEndFromAnImportDoesNoHarm()
{
    forgetTheImport();
    write(QStringLiteral("import.sh"), "mkdir -p .godot; " + flood("bytes", Strain::manyBytes()));
    Watch watch;
    playToTheGame(watch, std::chrono::minutes(10));
    QVERIFY(m_player->stopGame());
    watch.verify();
}

void HostileChildrenTest::anImportThatIgnoresTheRequestToEndIsEndedSoonAfterCancel()
{
    forgetTheImport();
    write(QStringLiteral("import.sh"),
          "trap '' TERM; mkdir -p .godot; echo ready; while :; do sleep 0.05; done");
    Watch watch;
    model().play();
    QVERIFY(watch.strain.runUntil([this] { return model().log.lines->contains(QStringLiteral("ready")); }));
    QElapsedTimer sinceCancel;
    sinceCancel.start();
    model().cancel();
    QVERIFY(watch.strain.runUntil([this] { return isOver(); }));
    QVERIFY(sinceCancel.elapsed() >= 4500); // it gets time to end cleanly
    QVERIFY(sinceCancel.elapsed() < 7000);
    QCOMPARE(
        model().log.lines->last(2),
        QStringList({ QStringLiteral("Setup pass ended with exit code 9"), QStringLiteral("Cancelled.") }));
    QCOMPARE(model().state.get(), AppState::notDownloaded());
    QVERIFY(!model().failureMessage.get());
    watch.verify();
}

void HostileChildrenTest::anImportThatIgnoresTheRequestToEndIsEndedAtOnceWithTheLauncher()
{
    AppModel ending(m_player->preferences, m_player->workspace, m_player->pasteboard);
    forgetTheImport();
    write(QStringLiteral("import.sh"),
          "trap '' TERM; mkdir -p .godot; echo ready; while :; do sleep 0.05; done");
    Watch watch;
    ending.play();
    QVERIFY(watch.strain.runUntil([&ending] { return ending.log.lines->contains(QStringLiteral("ready")); }));
    QElapsedTimer sinceEnd;
    sinceEnd.start();
    auto preparing = ending.prepareToQuit();
    QVERIFY(watch.strain.runUntil([&ending] { return !ending.isWorking(); }));
    QVERIFY(sinceEnd.elapsed() < 900); // quitting waits only briefly
    QCOMPARE(ending.log.lines->last(), QStringLiteral("Cancelled."));
    watch.verify();
}

void HostileChildrenTest::anEngineThatCannotBeStartedIsLoggedAndReportedExactly_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("reason");
    // The ELF header of a program for another kind of machine: 64-bit SPARC.
    QByteArray otherMachine("\x7f"
                            "ELF\x02\x02\x01",
                            7);
    otherMachine.append(9, '\0').append("\x00\x02\x00\x2b\x00\x00\x00\x01", 8).append(40, '\0');
    QTest::newRow("missing interpreter")
        << QByteArray("#!/no/such/interpreter\n") << QStringLiteral("No such file or directory");
    QTest::newRow("wrong architecture") << otherMachine << QStringLiteral("Exec format error");
    QTest::newRow("cut off") << QByteArray("\x7f"
                                           "ELF")
                             << QStringLiteral("Exec format error");
    QTest::newRow("empty") << QByteArray() << QStringLiteral("Exec format error");
}

void HostileChildrenTest::anEngineThatCannotBeStartedIsLoggedAndReportedExactly()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, reason);
    forgetTheImport();
    const QString name = QFileInfo(engine()).fileName();
    QFile file(engine());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray sound = file.readAll();
    file.close();
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(content), content.size());
    file.close();

    Watch watch;
    playToTheEnd(watch);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(sound), sound.size());
    file.close();

    const QString line = QStringLiteral("Could not start %1: %2").arg(name, reason);
    const QStringList pass { line, QStringLiteral("Setup pass ended with exit code -1"),
                             QStringLiteral("No imported files found yet.") };
    QCOMPARE(
        model().log.lines.get(),
        QStringList(passLine(1)) + pass + QStringList(passLine(2)) + pass
            + QStringList(
                { QStringLiteral("Setup did not report imported files; trying to start the game "
                                 "anyway."),
                  QStringLiteral("Starting the game: %1 --path %2 --windowed").arg(name, Paths::gameFolder()),
                  line }));
    const QString message
        = QString(QLatin1StringView(early)).arg(QStringLiteral("0 seconds"), QStringLiteral("-1"));
    QCOMPARE(model().failureMessage.get().value_or(QString()), message);
    watch.verify();
}

void HostileChildrenTest::anEngineThatIsNoProgramAnyMoreIsInstalledAgain()
{
    QVERIFY(QFile::setPermissions(engine(), QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    Watch watch;
    playToTheGame(watch);
    QVERIFY(model().log.lines->contains(QStringLiteral("Checksum matches")));
    QVERIFY(QFileInfo(engine()).isExecutable());
    QVERIFY(m_player->stopGame());
    watch.verify();
}

QTEST_GUILESS_MAIN(HostileChildrenTest)
#include "HostileChildrenTest.moc"
