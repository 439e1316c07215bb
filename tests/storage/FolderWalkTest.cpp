#include "FolderWalk.h"

#include "TestHome.h"

#include <QTest>

#include <algorithm>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

constexpr auto notThroughLink = FolderWalk::Start::NotThroughLink;

QList<QByteArray> namesHere(const FolderWalk &walk)
{
    QList<QByteArray> names;
    if (const int error = walk.list(names); error != 0)
        return { "error " + QByteArray::number(error) };
    std::sort(names.begin(), names.end());
    return names;
}

}

class FolderWalkTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aLinkIsNeverEntered()
    {
        const TestHome home;
        home.write(u"precious/save"_s, "1");
        home.link(u"tree/link"_s, home.filePath(u"precious"_s));
        for (const auto permissions :
             { FolderWalk::Permissions::AsTheyAre, FolderWalk::Permissions::Claimed }) {
            FolderWalk walk(permissions);
            QCOMPARE(walk.begin(home.bytes(u"tree"_s), notThroughLink), 0);
            QVERIFY(walk.enter("link") != 0);
            QVERIFY(FolderWalk(permissions).begin(home.bytes(u"tree/link"_s), notThroughLink) != 0);
        }
    }

    void aFileIsNeverEntered()
    {
        const TestHome home;
        home.write(u"file"_s, "1");
        FolderWalk walk(FolderWalk::Permissions::AsTheyAre);
        QCOMPARE(walk.begin(home.bytes(u"file"_s), notThroughLink), ENOTDIR);
        QCOMPARE(walk.begin(home.bytes(u"."_s), notThroughLink), 0);
        QCOMPARE(walk.enter("file"), ENOTDIR);
        QCOMPARE(walk.enter("nothing"), ENOENT);
    }

    void theWayBackEndsAboveTheFirstFolder()
    {
        const TestHome home;
        home.write(u"a/b/file"_s, "1");
        FolderWalk walk(FolderWalk::Permissions::AsTheyAre);
        QCOMPARE(walk.begin(home.bytes(u"a"_s), notThroughLink), 0);
        QCOMPARE(walk.enter("b"), 0);
        QCOMPARE(walk.leave(), 0);
        QCOMPARE(namesHere(walk), QList<QByteArray>({ "b" }));
        QCOMPARE(walk.leave(), 0);
    }

    void aFolderThatWasMovedMeanwhileIsNotLeftForAnother()
    {
        const TestHome home;
        home.write(u"tree/here/file"_s, "1");
        home.write(u"precious/save"_s, "1");
        FolderWalk walk(FolderWalk::Permissions::Claimed);
        QCOMPARE(walk.begin(home.bytes(u"tree"_s), notThroughLink), 0);
        QCOMPARE(walk.enter("here"), 0);
        QVERIFY(QDir().rename(home.filePath(u"tree/here"_s), home.filePath(u"precious/here"_s)));
        QCOMPARE(walk.leave(), ENOENT);
    }

    void entriesAreListedAndInspectedWithoutFollowingLinks()
    {
        const TestHome home;
        home.write(u"tree/.hidden"_s, "1");
        home.link(u"tree/link"_s, u"nothing"_s);
        FolderWalk walk(FolderWalk::Permissions::AsTheyAre);
        QCOMPARE(walk.begin(home.bytes(u"tree"_s), notThroughLink), 0);
        QCOMPARE(namesHere(walk), QList<QByteArray>({ ".hidden", "link" }));
        struct stat status = {};
        QCOMPARE(walk.inspect("link", status), 0);
        QVERIFY(S_ISLNK(status.st_mode));
        QCOMPARE(walk.inspect("nothing", status), ENOENT);
    }
};

QTEST_GUILESS_MAIN(FolderWalkTest)
#include "FolderWalkTest.moc"
