#include "GameFolder.h"
#include "FileError.h"
#include "Paths.h"

#include "TestHome.h"

#include <QDir>
#include <QTest>

#include <cerrno>
#include <optional>

class GameFolderTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }
    void cleanup() { m_home.reset(); }

    void theFirstGameIsMovedIntoPlace()
    {
        const QString project = write(QStringLiteral("Temp/A/extract/Vantor-master"), "new");
        QCOMPARE(GameFolder::replace(project), QString());
        QCOMPARE(game(), "new");
    }

    void theReplacedGameIsLeftToTheCallerAndNeverComesBack()
    {
        write(QStringLiteral("Game"), "old");
        const QString project = write(QStringLiteral("Temp/A/extract/Vantor-master"), "new");
        const QString replaced = GameFolder::replace(project);
        QCOMPARE(QFileInfo(replaced).path(), Paths::tempFolder());
        QCOMPARE(game(), "new");

        QVERIFY(QDir(Paths::gameFolder()).removeRecursively());
        QVERIFY(GameFolder::putBack());
        QVERIFY(!QFileInfo::exists(Paths::gameFolder()));
    }

    void aNewGameThatCannotBeMovedLeavesTheOldOneAndNothingElse()
    {
        write(QStringLiteral("Game"), "old");
        try {
            GameFolder::replace(Paths::tempFolder() + QStringLiteral("/missing"));
            QFAIL("A game that is not there was moved.");
        } catch (const FileError &error) {
            QCOMPARE(error.code(), ENOENT);
        }
        QCOMPARE(game(), "old");
        QVERIFY(QDir(Paths::tempFolder()).isEmpty());
    }

    void aGameThatWasAboutToBeReplacedIsPutBack()
    {
        write(QStringLiteral("Temp/A/extract/Vantor-master"), "new");
        write(QStringLiteral("Temp/B/Game"), "old");
        QVERIFY(GameFolder::putBack());
        QCOMPARE(game(), "old");
    }

    void theGameInPlaceIsNotReplacedByOneThatIsPutBack()
    {
        write(QStringLiteral("Game"), "new");
        write(QStringLiteral("Temp/A/Game"), "old");
        QVERIFY(GameFolder::putBack());
        QCOMPARE(game(), "new");
    }

    void aGameBehindALinkIsNotTakenForOneToPutBack()
    {
        const QString elsewhere = m_home->write(QStringLiteral("elsewhere/Game/project.godot"), "mine");
        QVERIFY(QDir().mkpath(Paths::tempFolder()));
        QVERIFY(QFile::link(m_home->filePath(QStringLiteral("elsewhere")),
                            Paths::tempFolder() + QStringLiteral("/link")));
        QVERIFY(GameFolder::putBack());
        QVERIFY(!QFileInfo::exists(Paths::gameFolder()));
        QVERIFY(QFileInfo::exists(elsewhere));
    }

    void withoutAnythingToPutBackNothingHappens()
    {
        QVERIFY(GameFolder::putBack());
        QVERIFY(!QFileInfo::exists(Paths::root()));
    }

private:
    /// Writes a game into the folder `name` under the root, and returns that folder.
    QString write(const QString &name, const QByteArray &content) const
    {
        const QString folder = Paths::root() + u'/' + name;
        const QDir home(m_home->path());
        m_home->write(home.relativeFilePath(folder) + QStringLiteral("/project.godot"), content);
        return folder;
    }

    static QByteArray game()
    {
        QFile file(Paths::gameFolder() + QStringLiteral("/project.godot"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(GameFolderTest)
#include "GameFolderTest.moc"
