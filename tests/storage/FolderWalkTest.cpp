#include "FolderWalk.h"

#include "TestHome.h"

#include <QTest>

#include <algorithm>
#include <cerrno>

namespace {

QByteArray bytes(const QString &path) { return QFile::encodeName(path); }

}

class FolderWalkTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aLinkIsNeverEntered();
    void theFirstFolderMayBeNamedByALinkWhenAskedFor();
    void aFileIsNeverEntered();
    void theWayBackEndsAboveTheFirstFolder();
    void aFolderThatWasMovedMeanwhileIsNotLeftForAnother();
    void entriesAreListedAndInspectedWithoutFollowingLinks();
};

void FolderWalkTest::aLinkIsNeverEntered()
{
    const TestHome home;
    home.write(QStringLiteral("precious/save"), "1");
    QVERIFY(QDir().mkpath(home.filePath(QStringLiteral("tree"))));
    QVERIFY(
        QFile::link(home.filePath(QStringLiteral("precious")), home.filePath(QStringLiteral("tree/link"))));
    for (const auto permissions : { FolderWalk::Permissions::AsTheyAre, FolderWalk::Permissions::Claimed }) {
        FolderWalk walk(permissions);
        QCOMPARE(walk.begin(bytes(home.filePath(QStringLiteral("tree"))), FolderWalk::Start::NotThroughLink),
                 0);
        QVERIFY(walk.enter("link") != 0);
        FolderWalk atLink(permissions);
        QVERIFY(
            atLink.begin(bytes(home.filePath(QStringLiteral("tree/link"))), FolderWalk::Start::NotThroughLink)
            != 0);
    }
}

void FolderWalkTest::theFirstFolderMayBeNamedByALinkWhenAskedFor()
{
    const TestHome home;
    home.write(QStringLiteral("real/file"), "1");
    QVERIFY(QFile::link(QStringLiteral("real"), home.filePath(QStringLiteral("link"))));
    FolderWalk walk(FolderWalk::Permissions::AsTheyAre);
    QCOMPARE(walk.begin(bytes(home.filePath(QStringLiteral("link"))), FolderWalk::Start::ThroughLink), 0);
    QList<QByteArray> names;
    QCOMPARE(walk.list(names), 0);
    QCOMPARE(names, QList<QByteArray>({ "file" }));
}

void FolderWalkTest::aFileIsNeverEntered()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("file"), "1");
    FolderWalk walk(FolderWalk::Permissions::AsTheyAre);
    QCOMPARE(walk.begin(bytes(file), FolderWalk::Start::NotThroughLink), ENOTDIR);
    QCOMPARE(walk.begin(bytes(home.path()), FolderWalk::Start::NotThroughLink), 0);
    QCOMPARE(walk.enter("file"), ENOTDIR);
    QCOMPARE(walk.enter("nothing"), ENOENT);
}

void FolderWalkTest::theWayBackEndsAboveTheFirstFolder()
{
    const TestHome home;
    home.write(QStringLiteral("a/b/file"), "1");
    FolderWalk walk(FolderWalk::Permissions::AsTheyAre);
    QCOMPARE(walk.begin(bytes(home.filePath(QStringLiteral("a"))), FolderWalk::Start::NotThroughLink), 0);
    QCOMPARE(walk.enter("b"), 0);
    QCOMPARE(walk.leave(), 0);
    QList<QByteArray> names;
    QCOMPARE(walk.list(names), 0);
    QCOMPARE(names, QList<QByteArray>({ "b" }));
    QCOMPARE(walk.leave(), 0);
}

void FolderWalkTest::aFolderThatWasMovedMeanwhileIsNotLeftForAnother()
{
    const TestHome home;
    home.write(QStringLiteral("tree/here/file"), "1");
    home.write(QStringLiteral("precious/save"), "1");
    FolderWalk walk(FolderWalk::Permissions::Claimed);
    QCOMPARE(walk.begin(bytes(home.filePath(QStringLiteral("tree"))), FolderWalk::Start::NotThroughLink), 0);
    QCOMPARE(walk.enter("here"), 0);
    QVERIFY(QDir().rename(home.filePath(QStringLiteral("tree/here")),
                          home.filePath(QStringLiteral("precious/here"))));
    QCOMPARE(walk.leave(), ENOENT);
}

void FolderWalkTest::entriesAreListedAndInspectedWithoutFollowingLinks()
{
    const TestHome home;
    home.write(QStringLiteral("tree/.hidden"), "1");
    QVERIFY(QFile::link(QStringLiteral("nothing"), home.filePath(QStringLiteral("tree/link"))));
    FolderWalk walk(FolderWalk::Permissions::AsTheyAre);
    QCOMPARE(walk.begin(bytes(home.filePath(QStringLiteral("tree"))), FolderWalk::Start::NotThroughLink), 0);
    QList<QByteArray> names;
    QCOMPARE(walk.list(names), 0);
    std::sort(names.begin(), names.end());
    QCOMPARE(names, QList<QByteArray>({ ".hidden", "link" }));
    struct stat status = {};
    QCOMPARE(walk.inspect("link", status), 0);
    QVERIFY(S_ISLNK(status.st_mode));
    QCOMPARE(walk.inspect("nothing", status), ENOENT);
}

QTEST_GUILESS_MAIN(FolderWalkTest)
#include "FolderWalkTest.moc"
