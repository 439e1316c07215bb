#include "Paths.h"
#include "FileError.h"
#include "ScratchFolder.h"

#include "Desktop.h"
#include "Failure.h"
#include "OrdinaryUser.h"
#include "Table.h"
#include "TestHome.h"

#include <QRegularExpression>
#include <QTest>

#include <cerrno>

using namespace Qt::StringLiterals;

class PathsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }
    void cleanup() { Desktop::use(std::nullopt); }

    void theRootAndTheEnginesDataLieInApplicationSupport_data()
    {
        const auto row = table<Desktop::System, QString>("system", "base");
        row("macOS", Desktop::System::MacOS, u"Library/Application Support"_s);
        row("Linux", Desktop::System::Linux, u"data"_s);
    }

    void theRootAndTheEnginesDataLieInApplicationSupport()
    {
        QFETCH(Desktop::System, system);
        QFETCH(QString, base);
        Desktop::use(Desktop::describing(system));
        QCOMPARE(Paths::base(), m_home->filePath(base));
        QCOMPARE(Paths::root(), Paths::base() + u"/Vantor Platformer"_s);
        QCOMPARE(Paths::godotData(), Paths::base() + u"/Godot"_s);
        QCOMPARE(Paths::gameFolder(), Paths::root() + u"/Game"_s);
        QCOMPARE(Paths::engineFolder(), Paths::root() + u"/Engine"_s);
        QCOMPARE(Paths::tempFolder(), Paths::root() + u"/Temp"_s);
        QCOMPARE(m_home->list(), QStringList()); // asking creates nothing
    }

    void theBaseIsTheFirstReportedFolderOrLiesInTheHome()
    {
        QCOMPARE(Paths::applicationSupportBase({ u"/first"_s, u"/second"_s }, u"/home/me"_s), u"/first"_s);
        QCOMPARE(Paths::applicationSupportBase({}, u"/Users/me"_s),
                 u"/Users/me/Library/Application Support"_s);
    }

    void pathsAreComputedAnewOnEachCall()
    {
        Desktop::use(Desktop::describing(Desktop::System::Linux));
        const QString before = Paths::root();
        qputenv("XDG_DATA_HOME", m_home->bytes(u"elsewhere"_s));
        QVERIFY(Paths::root() != before);
        QCOMPARE(Paths::root(), m_home->filePath(u"elsewhere/Vantor Platformer"_s));
    }

    void twoTempDirsAreDifferentEmptyFoldersUnderTempNamedByUpperCaseUuids()
    {
        static const QRegularExpression uuid(
            u"^[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"_s);
        const QString first = Paths::newTempDir();
        const QString second = Paths::newTempDir();
        QVERIFY(first != second);
        for (const QString &folder : { first, second }) {
            QCOMPARE(QFileInfo(folder).path(), Paths::tempFolder());
            QVERIFY2(uuid.match(QFileInfo(folder).fileName()).hasMatch(), qPrintable(folder));
            QVERIFY(QFileInfo(folder).isDir());
            QCOMPARE(m_home->list(folder), QStringList());
        }
    }

    void aTempDirThatCannotBeMadeIsTheFileSystemsOwnError()
    {
        const QString file = m_home->write(Paths::tempFolder(), "in the way");
        QCOMPARE(failureOf<FileError>(Paths::newTempDir),
                 FileError::noNewFolderIn(file, ENOTDIR).errorDescription());
    }

    void theFolderThatMayNotBeWrittenIsNamed_data()
    {
        const auto row = table<QString>("folder");
        row("for scratch files", u"data/Vantor Platformer/Temp"_s);
        row("the launcher's", u"data/Vantor Platformer"_s);
        row("for application data", u"data"_s);
        row("the home", {});
    }

    void theFolderThatMayNotBeWrittenIsNamed()
    {
        QFETCH(QString, folder);
        const QString path = m_home->folder(folder);
        m_home->setMode(m_home->path(), 0755);
        m_home->setMode(path, 0555);
        const bool isNamed = OrdinaryUser::run([&path] {
            return failureOf<FileError>(Paths::newTempDir)
                == FileError::noNewFolderIn(path, EACCES).errorDescription();
        });
        m_home->setMode(path, 0755);
        QVERIFY(isNamed);
    }

    void theLaunchersFolderIsItsUsersAlone()
    {
        const mode_t before = ::umask(0);
        const QString scratch = Paths::newTempDir();
        ::umask(before);
        for (const QString &folder : { scratch, Paths::tempFolder(), Paths::root() })
            QCOMPARE(m_home->mode(folder), mode_t(0700));
    }

    void withoutAHomeAndAnAccountTheBaseIsStillAnAbsolutePath()
    {
        if (!OrdinaryUser::isNeeded())
            QSKIP("Only the superuser can become somebody without an account.");
        constexpr uid_t unknownUser = 3'000'000'000;
        qunsetenv("XDG_DATA_HOME");
        for (const char *home : { "", "relative" }) {
            qputenv("HOME", home);
            QVERIFY(OrdinaryUser::run(
                [] {
                    return Paths::base() == u"/Library/Application Support"_s
                        && Paths::godotData() == u"/Library/Application Support/Godot"_s;
                },
                unknownUser));
        }
    }

    void aScratchFolderIsDeletedWithItsOwner()
    {
        QString path;
        {
            const ScratchFolder scratch;
            path = scratch.path();
            QCOMPARE(QFileInfo(path).path(), Paths::tempFolder());
            m_home->write(path + u"/a/.b/c"_s, "1");
            QVERIFY(QFileInfo::exists(path));
        }
        QVERIFY(!QFileInfo::exists(path));
        QVERIFY(QFileInfo(Paths::tempFolder()).isDir());

        const ScratchFolder deletedBeforeIt;
        QVERIFY(QDir(Paths::root()).removeRecursively());
    }

private:
    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(PathsTest)
#include "PathsTest.moc"
