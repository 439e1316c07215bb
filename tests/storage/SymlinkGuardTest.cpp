#include "AppError.h"
#include "BackgroundRemoval.h"
#include "FileOperations.h"
#include "Leftovers.h"
#include "Paths.h"

#include "OrdinaryUser.h"
#include "TestHome.h"
#include "Uninstall.h"

#include <QDirIterator>
#include <QTest>

#include <sys/stat.h>

#include <csignal>

namespace {

/// Writes `name` in the launcher's folder.
void keep(const TestHome &home, const QString &name)
{
    home.write(QStringLiteral("data/Vantor Platformer/") + name, "1");
}

void linkTo(const QString &target, const QString &place)
{
    QDir().mkpath(QFileInfo(place).path());
    if (!QFile::link(target, place))
        qFatal("%s could not be made a link.", qPrintable(place));
}

/// Removes `path` as the launcher does. Returns whether it no longer exists.
bool removed(const QString &path)
{
    if (path == Paths::root())
        Uninstall::everything();
    else if (path == Paths::tempFolder())
        Leftovers::clear();
    else if (path == Paths::gameFolder())
        Uninstall::game();
    else if (path == Paths::engineFolder())
        Uninstall::engines();
    else
        Uninstall::file(path);
    BackgroundRemoval::wait({});
    return !FileOperations::exists(path);
}

}

class SymlinkGuardTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TestHome>();
        m_precious = m_home->filePath(QStringLiteral("precious"));
        for (const char *name : { "save", "Game/save", "Engine/save", "Temp/save" })
            m_home->write(QStringLiteral("precious/") + QLatin1StringView(name), "1");
    }

    // A TestHome restores the environment on destruction, so it must be destroyed before the next is made.
    void cleanup() { m_home.reset(); }

    void whatIsMissingIsRemovedAlreadyAndNothingIsMade()
    {
        for (const QString &path : { Paths::root(), Paths::gameFolder(), Paths::tempFolder() })
            QVERIFY(removed(path));
        QVERIFY(!FileOperations::exists(Paths::root()));
    }

    void theGameGoesAndEverythingElseStays()
    {
        keep(*m_home, QStringLiteral("Game/project.godot"));
        keep(*m_home, QStringLiteral("Engine/4.6/engine"));
        QVERIFY(removed(Paths::gameFolder()));
        QVERIFY(!FileOperations::exists(Paths::gameFolder()));
        QVERIFY(FileOperations::exists(Paths::engineFolder() + QStringLiteral("/4.6/engine")));
        QVERIFY(QDir(Paths::tempFolder()).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot));
    }

    void theWholeFolderGoesWithWhatThePlayerPutThere()
    {
        keep(*m_home, QStringLiteral("Game/project.godot"));
        keep(*m_home, QStringLiteral("Engine/4.6/engine"));
        keep(*m_home, QStringLiteral("note.txt"));
        QVERIFY(removed(Paths::root()));
        QVERIFY(!FileOperations::exists(Paths::root()));
    }

    void aLauncherThatIsKilledWhileItRemovesTheGameLeavesNoHalfGame()
    {
        for (int file = 0; file < 1500; ++file)
            keep(*m_home, QStringLiteral("Game/%1/file").arg(file));
        const pid_t child = fork();
        if (child == 0) {
            Uninstall::game();
            BackgroundRemoval::wait({});
            _exit(0);
        }
        // Kills it once a file is missing: by then, the whole game must have left its place.
        while (FileOperations::exists(Paths::gameFolder() + QStringLiteral("/1499")) && ::kill(child, 0) == 0
               && waitpid(child, nullptr, WNOHANG) == 0) { }
        ::kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        QVERIFY(!FileOperations::exists(Paths::gameFolder()));
    }

    void noLinkIsFollowedWhereverItIsPlanted_data()
    {
        QTest::addColumn<QString>("place");
        QTest::addColumn<QString>("what");
        for (const char *place : { "", "/Temp", "/Engine", "/Game", "/Engine/4.6", "/Game/levels",
                                   "/Game/levels/deep/deeper", "/Temp/A/extract", "/beside" }) {
            for (const char *what : { "", "/Temp", "/Engine", "/Game", "/Game/.imported-4.6" })
                QTest::addRow("link at root%s, root%s removed", place, what)
                    << QString::fromLatin1(place) << QString::fromLatin1(what);
        }
    }

    void noLinkIsFollowedWhereverItIsPlanted()
    {
        QFETCH(QString, place);
        QFETCH(QString, what);
        m_home->write(QStringLiteral("precious/.imported-4.6"), "ok");
        const QStringList before = everythingPrecious();
        linkTo(m_precious, Paths::root() + place);
        static_cast<void>(removed(Paths::root() + what));
        QCOMPARE(everythingPrecious(), before);
        if (what.isEmpty())
            QVERIFY(!FileOperations::exists(Paths::root()));
        if (place == what)
            QVERIFY(!FileOperations::exists(Paths::root() + place));
    }

    void nothingIsPutThroughALink_data()
    {
        QTest::addColumn<QString>("place");
        QTest::addColumn<QString>("name");
        QTest::newRow("the launcher's folder") << QString() << QStringLiteral("Vantor Platformer");
        QTest::newRow("scratch") << QStringLiteral("/Temp") << QStringLiteral("Temp");
        QTest::newRow("engines") << QStringLiteral("/Engine") << QStringLiteral("Engine");
    }

    void nothingIsPutThroughALink()
    {
        QFETCH(QString, place);
        QFETCH(QString, name);
        const QStringList before = everythingPrecious();
        linkTo(m_precious, Paths::root() + place);
        try {
            Paths::newTempDir();
            QFAIL("A scratch folder was made.");
        } catch (const AppError &error) {
            QCOMPARE(error.errorDescription(),
                     QStringLiteral("The folder “%1” is a symbolic link, which the launcher does not "
                                    "download through: please choose “Remove everything”, which removes "
                                    "only the link, and play again.")
                         .arg(name));
        }
        QCOMPARE(everythingPrecious(), before);
        QVERIFY(removed(Paths::root()));
        QVERIFY(FileOperations::exists(Paths::newTempDir()));
    }

    void foldersWithoutPermissionsGo()
    {
        QVERIFY(OrdinaryUser::own(QFile::encodeName(m_home->path()).constData()));
        QVERIFY(OrdinaryUser::run([this] {
            keep(*m_home, QStringLiteral("Game/shut/deeper/file"));
            keep(*m_home, QStringLiteral("Engine/4.6/engine"));
            for (const char *name :
                 { "/Game/shut/deeper", "/Game/shut", "/Game", "/Engine/4.6", "/Engine" }) {
                const QByteArray path = QFile::encodeName(Paths::root() + QLatin1StringView(name));
                if (::chmod(path.constData(), 0) != 0)
                    return false;
            }
            return removed(Paths::root());
        }));
        QVERIFY(!FileOperations::exists(Paths::root()));
    }

    void readOnlyFilesGo()
    {
        keep(*m_home, QStringLiteral("Game/project.godot"));
        const QString file = Paths::gameFolder() + QStringLiteral("/project.godot");
        QVERIFY(QFile::setPermissions(file, QFileDevice::ReadOwner));
        QVERIFY(QFile::setPermissions(Paths::gameFolder(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        QVERIFY(removed(Paths::gameFolder()));
        QVERIFY(!FileOperations::exists(file));
    }

    void aGameFiveHundredFoldersDeepGoes()
    {
        keep(*m_home, QStringLiteral("Game/") + QStringLiteral("d/").repeated(500) + QStringLiteral("file"));
        QVERIFY(removed(Paths::root()));
        QVERIFY(!FileOperations::exists(Paths::root()));
    }

    void whatBelongsToSomebodyElseStaysAndTheRestGoes()
    {
        if (!OrdinaryUser::isNeeded())
            QSKIP("Only the superuser can make a folder that belongs to somebody else.");
        for (const char *name : { "Game/a/file", "Game/held/file", "Engine/4.6/engine", "note.txt" })
            keep(*m_home, QString::fromLatin1(name));
        giveAllTo(*m_home);
        const QByteArray held = QFile::encodeName(Paths::gameFolder() + QStringLiteral("/held"));
        QCOMPARE(::lchown(held.constData(), 0, 0), 0);
        QVERIFY(OrdinaryUser::run([] { return removed(Paths::root()); }));
        QVERIFY(!FileOperations::exists(Paths::engineFolder()));
        QVERIFY(!FileOperations::exists(Paths::root() + QStringLiteral("/note.txt")));
        // The game has left its place, so that a whole one can be put there.
        QVERIFY(!FileOperations::exists(Paths::gameFolder()));
        QStringList files;
        QDirIterator left(QFileInfo(Paths::root()).path(), QDir::Files | QDir::Hidden,
                          QDirIterator::Subdirectories);
        while (left.hasNext())
            files << QFileInfo(left.next()).fileName();
        QCOMPARE(files, QStringList({ QStringLiteral("file") }));
    }

    void whatCouldNotBeRemovedGoesAsSoonAsItCan()
    {
        if (!OrdinaryUser::isNeeded())
            QSKIP("Only the superuser can make a folder that belongs to somebody else.");
        keep(*m_home, QStringLiteral("Game/held/file"));
        giveAllTo(*m_home);
        const QByteArray held = QFile::encodeName(Paths::gameFolder() + QStringLiteral("/held"));
        QCOMPARE(::lchown(held.constData(), 0, 0), 0);
        const QDir root(Paths::root());
        const QDir::Filters all = QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot;
        QVERIFY(OrdinaryUser::run([&] { return removed(Paths::gameFolder()) && !root.isEmpty(all); }));
        QVERIFY(Leftovers::clear()); // as the superuser
        QVERIFY(QDir(Paths::root()).isEmpty(all));
    }

private:
    static void giveAllTo(const TestHome &home)
    {
        OrdinaryUser::own(QFile::encodeName(home.path()).constData());
        QDirIterator entries(home.path(), QDir::AllEntries | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        while (entries.hasNext())
            OrdinaryUser::own(QFile::encodeName(entries.next()).constData());
    }

    QStringList everythingPrecious() const
    {
        QStringList found;
        QDirIterator entries(m_precious, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        while (entries.hasNext())
            found << entries.next();
        found.sort();
        return found;
    }

    std::unique_ptr<TestHome> m_home;
    QString m_precious;
};

QTEST_GUILESS_MAIN(SymlinkGuardTest)
#include "SymlinkGuardTest.moc"
