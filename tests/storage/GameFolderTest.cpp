#include "GameFolder.h"
#include "FileError.h"

#include "Failure.h"
#include "LauncherFolder.h"

#include <QTest>

#include <cerrno>
#include <optional>

using namespace Qt::StringLiterals;

class GameFolderTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }

    void theFirstGameIsMovedIntoPlace()
    {
        QCOMPARE(GameFolder::replace(write(u"Temp/A/extract/Vantor-master"_s, "new")), QString());
        QCOMPARE(game(), "new");
    }

    void theReplacedGameIsLeftToTheCallerAndNeverComesBack()
    {
        write(u"Game"_s, "old");
        const QString replaced = GameFolder::replace(write(u"Temp/A/extract/Vantor-master"_s, "new"));
        QCOMPARE(QFileInfo(replaced).path(), Paths::tempFolder());
        QCOMPARE(game(), "new");

        QVERIFY(QDir(Paths::gameFolder()).removeRecursively());
        QVERIFY(GameFolder::putBack());
        QVERIFY(!LauncherFolder::has(u"Game"_s));
    }

    void aNewGameThatCannotBeMovedLeavesTheOldOneAndNothingElse()
    {
        write(u"Game"_s, "old");
        const QString missing = LauncherFolder::path(u"Temp/missing"_s);
        QCOMPARE(failureOf<FileError>([&] { GameFolder::replace(missing); }),
                 FileError(missing, u"moved"_s, ENOENT).errorDescription());
        QCOMPARE(game(), "old");
        QCOMPARE(m_home->list(Paths::tempFolder()), QStringList());
    }

    void theGameInPlaceIsNotReplacedByOneThatIsPutBack()
    {
        write(u"Game"_s, "new");
        write(u"Temp/A/Game"_s, "old");
        QVERIFY(GameFolder::putBack());
        QCOMPARE(game(), "new");
    }

    void aGameBehindALinkIsNotTakenForOneToPutBack()
    {
        const QString elsewhere = m_home->write(u"elsewhere/Game/project.godot"_s, "mine");
        m_home->link(Paths::tempFolder() + u"/link"_s, m_home->filePath(u"elsewhere"_s));
        QVERIFY(GameFolder::putBack());
        QVERIFY(!LauncherFolder::has(u"Game"_s));
        QVERIFY(QFileInfo::exists(elsewhere));
    }

private:
    /// Writes a game into a folder in the launcher's, and returns that folder.
    QString write(const QString &name, const QByteArray &content) const
    {
        return QFileInfo(m_home->write(LauncherFolder::path(name) + u"/project.godot"_s, content)).path();
    }

    QByteArray game() const { return m_home->read(Paths::gameFolder() + u"/project.godot"_s); }

    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(GameFolderTest)
#include "GameFolderTest.moc"
