#include "Paths.h"
#include "FileError.h"
#include "ScratchFolder.h"

#include "Desktop.h"
#include "OrdinaryUser.h"
#include "TestHome.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

#include <sys/stat.h>

#include <cerrno>

class PathsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theRootIsVantorPlatformerInApplicationSupport_data();
    void theRootIsVantorPlatformerInApplicationSupport();
    void theEnginesDataLiesBesideTheRoot_data() { theRootIsVantorPlatformerInApplicationSupport_data(); }
    void theEnginesDataLiesBesideTheRoot();
    void askingForAPathCreatesNothing();
    void gameEngineAndTempLieUnderTheRoot();
    void theFirstReportedFolderIsTheBase();
    void withoutAReportedFolderTheBaseLiesInTheHome();
    void pathsAreComputedAnewOnEachCall();
    void aTempDirIsNamedByAnUpperCaseUuid();
    void twoTempDirsAreDifferentEmptyFoldersUnderTemp();
    void aTempDirThatCannotBeMadeIsTheFileSystemsOwnError();
    void theFolderThatMayNotBeWrittenIsNamed_data();
    void theFolderThatMayNotBeWrittenIsNamed();
    void theLaunchersFolderIsItsUsersAlone();
    void withoutAHomeAndAnAccountTheBaseIsStillAnAbsolutePath();
    void aScratchFolderGoesWithItsOwner();
    void aScratchFolderGoesWhenItsOwnerThrows();
    void aScratchFolderThatIsGoneAlreadyIsNoError();

private:
    std::unique_ptr<TestHome> m_home;
};

void PathsTest::init() { m_home = std::make_unique<TestHome>(); }

void PathsTest::cleanup()
{
    Desktop::use(std::nullopt);
    m_home.reset();
}

void PathsTest::theRootIsVantorPlatformerInApplicationSupport_data()
{
    QTest::addColumn<bool>("onMac");
    QTest::addColumn<QString>("base");
    QTest::newRow("macOS") << true << QStringLiteral("Library/Application Support");
    QTest::newRow("Linux") << false << QStringLiteral("data");
}

void PathsTest::theRootIsVantorPlatformerInApplicationSupport()
{
    QFETCH(bool, onMac);
    QFETCH(QString, base);
    Desktop::use(Desktop::describing(onMac ? Desktop::System::MacOS : Desktop::System::Linux));
    QCOMPARE(Paths::root(), m_home->filePath(base + QStringLiteral("/Vantor Platformer")));
}

void PathsTest::theEnginesDataLiesBesideTheRoot()
{
    QFETCH(bool, onMac);
    QFETCH(QString, base);
    Desktop::use(Desktop::describing(onMac ? Desktop::System::MacOS : Desktop::System::Linux));
    QCOMPARE(Paths::godotData(), m_home->filePath(base + QStringLiteral("/Godot")));
}

void PathsTest::askingForAPathCreatesNothing()
{
    static_cast<void>(Paths::root());
    static_cast<void>(Paths::godotData());
    static_cast<void>(Paths::tempFolder());
    QVERIFY(QDir(m_home->path()).isEmpty());
}

void PathsTest::gameEngineAndTempLieUnderTheRoot()
{
    QCOMPARE(Paths::gameFolder(), Paths::root() + QStringLiteral("/Game"));
    QCOMPARE(Paths::engineFolder(), Paths::root() + QStringLiteral("/Engine"));
    QCOMPARE(Paths::tempFolder(), Paths::root() + QStringLiteral("/Temp"));
}

void PathsTest::theFirstReportedFolderIsTheBase()
{
    const QStringList reported { QStringLiteral("/first"), QStringLiteral("/second") };
    QCOMPARE(Paths::applicationSupportBase(reported, QStringLiteral("/home/me")), QStringLiteral("/first"));
}

void PathsTest::withoutAReportedFolderTheBaseLiesInTheHome()
{
    QCOMPARE(Paths::applicationSupportBase({}, QStringLiteral("/Users/me")),
             QStringLiteral("/Users/me/Library/Application Support"));
}

void PathsTest::pathsAreComputedAnewOnEachCall()
{
    Desktop::use(Desktop::describing(Desktop::System::Linux));
    const QString before = Paths::root();
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_home->filePath(QStringLiteral("elsewhere"))));
    QVERIFY(Paths::root() != before);
    QCOMPARE(Paths::root(), m_home->filePath(QStringLiteral("elsewhere/Vantor Platformer")));
}

void PathsTest::aTempDirIsNamedByAnUpperCaseUuid()
{
    static const QRegularExpression uuid(
        QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"));
    const QString name = QFileInfo(Paths::newTempDir()).fileName();
    QVERIFY2(uuid.match(name).hasMatch(), qPrintable(name));
}

void PathsTest::twoTempDirsAreDifferentEmptyFoldersUnderTemp()
{
    const QString first = Paths::newTempDir();
    const QString second = Paths::newTempDir();
    QVERIFY(first != second);
    for (const QString &folder : { first, second }) {
        QCOMPARE(QFileInfo(folder).path(), Paths::root() + QStringLiteral("/Temp"));
        QVERIFY(QFileInfo(folder).isDir());
        QVERIFY(QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }
}

void PathsTest::aTempDirThatCannotBeMadeIsTheFileSystemsOwnError()
{
    QDir().mkpath(Paths::root());
    QFile file(Paths::tempFolder());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    try {
        Paths::newTempDir();
        QFAIL("A folder was made inside a file.");
    } catch (const FileError &error) {
        QCOMPARE(error.code(), ENOTDIR);
        QCOMPARE(error.errorDescription(),
                 QStringLiteral("A folder could not be created in “%1”: Not a directory.")
                     .arg(Paths::tempFolder()));
    }
}

void PathsTest::theFolderThatMayNotBeWrittenIsNamed_data()
{
    QTest::addColumn<QString>("folder");
    QTest::newRow("for scratch files") << QStringLiteral("data/Vantor Platformer/Temp");
    QTest::newRow("the launcher's") << QStringLiteral("data/Vantor Platformer");
    QTest::newRow("for application data") << QStringLiteral("data");
    QTest::newRow("the home") << QStringLiteral(".");
}

void PathsTest::theFolderThatMayNotBeWrittenIsNamed()
{
    QFETCH(QString, folder);
    const QString path = QDir::cleanPath(m_home->filePath(folder));
    QVERIFY(QDir().mkpath(path));
    QCOMPARE(::chmod(QFile::encodeName(m_home->path()).constData(), 0755), 0);
    QCOMPARE(::chmod(QFile::encodeName(path).constData(), 0555), 0);
    const auto isNamed = [&path] {
        try {
            Paths::newTempDir();
            return false;
        } catch (const FileError &error) {
            return error.code() == EACCES
                && error.errorDescription()
                == QStringLiteral("A folder could not be created in “%1”: Permission denied.").arg(path);
        }
    };
    const bool asExpected = OrdinaryUser::run(isNamed);
    QCOMPARE(::chmod(QFile::encodeName(path).constData(), 0755), 0);
    QVERIFY(asExpected);
}

void PathsTest::theLaunchersFolderIsItsUsersAlone()
{
    const mode_t before = ::umask(0);
    const QString scratch = Paths::newTempDir();
    ::umask(before);
    for (const QString &folder : { scratch, Paths::tempFolder(), Paths::root() }) {
        struct stat status = {};
        QCOMPARE(::stat(QFile::encodeName(folder).constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777U, 0700U);
    }
}

void PathsTest::withoutAHomeAndAnAccountTheBaseIsStillAnAbsolutePath()
{
    if (!OrdinaryUser::isNeeded())
        QSKIP("Only the superuser can become somebody without an account.");
    constexpr uid_t unknownUser = 3'000'000'000;
    qunsetenv("XDG_DATA_HOME");
    for (const char *home : { "", "relative" }) {
        qputenv("HOME", home);
        QVERIFY(OrdinaryUser::run(
            [] {
                return Paths::root() == QStringLiteral("/Library/Application Support/Vantor Platformer")
                    && Paths::godotData() == QStringLiteral("/Library/Application Support/Godot");
            },
            unknownUser));
    }
}

void PathsTest::aScratchFolderGoesWithItsOwner()
{
    QString path;
    {
        const ScratchFolder scratch;
        path = scratch.path();
        QCOMPARE(QFileInfo(path).path(), Paths::tempFolder());
        QCOMPARE(scratch.filePath(QStringLiteral("game.zip")), path + QStringLiteral("/game.zip"));
        QVERIFY(QDir().mkpath(scratch.filePath(QStringLiteral("a/.b/c"))));
    }
    QVERIFY(!QFileInfo::exists(path));
    QVERIFY(QFileInfo(Paths::tempFolder()).isDir());
}

void PathsTest::aScratchFolderGoesWhenItsOwnerThrows()
{
    QString path;
    try {
        const ScratchFolder scratch;
        path = scratch.path();
        throw FileError(path, QStringLiteral("read"), EIO);
    } catch (const FileError &) {
    }
    QVERIFY(!path.isEmpty());
    QVERIFY(!QFileInfo::exists(path));
}

void PathsTest::aScratchFolderThatIsGoneAlreadyIsNoError()
{
    const ScratchFolder scratch;
    QVERIFY(QDir(Paths::root()).removeRecursively());
}

QTEST_GUILESS_MAIN(PathsTest)
#include "PathsTest.moc"
