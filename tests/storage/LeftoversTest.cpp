#include "Leftovers.h"
#include "FileOperations.h"
#include "Paths.h"

#include "TestHome.h"
#include "Uninstall.h"

#include <QDir>
#include <QTest>

#include <optional>

#if defined(Q_OS_LINUX)
#include <sys/mount.h>
#endif

class LeftoversTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }
    void cleanup() { m_home.reset(); }

    void whatAKilledLauncherLeftInTempGoes()
    {
        write(QStringLiteral("Temp/A/game.zip.part"));
        write(QStringLiteral("Temp/B/extract/Vantor-master/project.godot"));
        QVERIFY(Leftovers::clear());
        QVERIFY(!exists(QStringLiteral("Temp")));
    }

    void aGameThatWasAboutToBeReplacedIsPutBackBeforeTempIsEmptied()
    {
        write(QStringLiteral("Temp/A/Game/project.godot"));
        QVERIFY(Leftovers::clear());
        QVERIFY(exists(QStringLiteral("Game/project.godot")));
        QVERIFY(!exists(QStringLiteral("Temp")));
    }

    void aGameThatCannotBePutBackKeepsTempAsItIs()
    {
#if defined(Q_OS_LINUX)
        write(QStringLiteral("Temp/A/Game/project.godot"));
        const QByteArray game = QFile::encodeName(Paths::tempFolder() + QStringLiteral("/A/Game"));
        // A mount point cannot be renamed.
        if (::mount(game.constData(), game.constData(), nullptr, MS_BIND, nullptr) != 0)
            QSKIP("Only the superuser can bring in another file system.");
        const bool isClear = Leftovers::clear();
        QCOMPARE(::umount(game.constData()), 0);
        QVERIFY(!isClear);
        QVERIFY(exists(QStringLiteral("Temp/A/Game/project.godot")));
        QVERIFY(Leftovers::clear());
        QVERIFY(exists(QStringLiteral("Game/project.godot")));
#else
        QSKIP("There is no other file system to be had here.");
#endif
    }

    void aHalfWrittenFileGoesAndWhatTheGameBringsStays()
    {
        write(QStringLiteral("Game/.write-6ba7b810-9dad-11d1-80b4-00c04fd430c8"));
        write(QStringLiteral("Game/.write-ahead"));
        write(QStringLiteral("Game/project.godot"));
        QVERIFY(Leftovers::clear());
        QCOMPARE(QDir(Paths::gameFolder()).entryList(QDir::Files | QDir::Hidden),
                 (QStringList { QStringLiteral(".write-ahead"), QStringLiteral("project.godot") }));
    }

    void whatIsInstalledStays()
    {
        write(QStringLiteral("Game/project.godot"));
        write(QStringLiteral("Engine/4.6/Godot"));
        QVERIFY(Leftovers::clear());
        QVERIFY(exists(QStringLiteral("Game/project.godot")));
        QVERIFY(exists(QStringLiteral("Engine/4.6/Godot")));
    }

    void clearingCreatesNothing()
    {
        QVERIFY(Leftovers::clear());
        QVERIFY(!QFileInfo::exists(Paths::root()));
    }

    void whatIsDiscardedIsGoneAndLeavesNothingBehind()
    {
        write(QStringLiteral("Game/levels/one"));
        Uninstall::game();
        QVERIFY(!exists(QStringLiteral("Game")));
        QVERIFY(QDir(Paths::tempFolder()).isEmpty());
    }

    void discardingNothingCreatesNothing()
    {
        Uninstall::game();
        QVERIFY(!QFileInfo::exists(Paths::root()));
    }

    void whatCannotLeaveItsPlaceIsRemovedThere()
    {
        write(QStringLiteral("Temp")); // a file, so that no folder can be made there
        write(QStringLiteral("Game/project.godot"));
        Uninstall::game();
        QVERIFY(!exists(QStringLiteral("Game")));
    }

    void halfOfWhatWasDiscardedDoesNotComeBack()
    {
        write(QStringLiteral("Temp/A/discarded/project.godot"));
        QVERIFY(Leftovers::clear());
        QVERIFY(!exists(QStringLiteral("Game")));
    }

private:
    void write(const QString &name) const
    {
        const QDir home(m_home->path());
        m_home->write(home.relativeFilePath(Paths::root() + u'/' + name), "content");
    }

    static bool exists(const QString &name) { return FileOperations::exists(Paths::root() + u'/' + name); }

    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(LeftoversTest)
#include "LeftoversTest.moc"
