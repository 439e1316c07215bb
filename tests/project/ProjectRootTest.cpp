#include "ProjectInspector.h"
#include "TestHome.h"

#include <QElapsedTimer>
#include <QTest>

#include <filesystem>

#include <sys/stat.h>

class ProjectRootTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFolderItselfMayHoldTheProjectFile();
    void theShallowestOfTwoProjectFilesWins();
    void aShallowerProjectFileWinsThoughADeeperOneIsListedFirst();
    void aFileInTheFourthLevelIsFound();
    void aFileInTheFifthLevelIsNotFound();
    void anotherLetterCaseIsNoMatch_data();
    void anotherLetterCaseIsNoMatch();
    void hiddenFoldersAreNotLookedInto();
    void aHiddenFolderAboveTheSearchedOneDoesNotMatter();
    void ofSeveralAtOneDepthTheFirstInListingOrderWins();
    void nothingIsFoundInAnEmptyOrMissingFolderOrAFile();
    void linksToFoldersAreNotFollowed();
    void aFolderFullOfLinksToEverywhereIsHarmlessAndQuick();
    void anUnreadableFolderIsPassedOver();
    void anEntryOfAnyKindWithTheNameCounts();
    void manyFoldersAreSearchedQuickly();

private:
    static void makeFolder(const QString &path) { QVERIFY(QDir().mkpath(path)); }
    static QString searched(const TestHome &home) { return home.filePath(QStringLiteral("archive")); }
};

using ProjectInspector::findProjectRoot;

void ProjectRootTest::theFolderItselfMayHoldTheProjectFile()
{
    const TestHome home;
    home.write(QStringLiteral("archive/project.godot"), "");
    QCOMPARE(findProjectRoot(searched(home)), searched(home));
}

void ProjectRootTest::theShallowestOfTwoProjectFilesWins()
{
    const TestHome home;
    home.write(QStringLiteral("archive/top/addons/demo/project.godot"), "");
    home.write(QStringLiteral("archive/top/project.godot"), "");
    QCOMPARE(findProjectRoot(searched(home)), home.filePath(QStringLiteral("archive/top")));
}

void ProjectRootTest::aShallowerProjectFileWinsThoughADeeperOneIsListedFirst()
{
    const TestHome home;
    // With so many folders, some deeper file is almost certainly listed before the shallow one.
    for (char name = 'a'; name <= 'p'; ++name)
        home.write(QStringLiteral("archive/%1/deep/er/project.godot").arg(QLatin1Char(name)), "");
    home.write(QStringLiteral("archive/h/project.godot"), "");
    QCOMPARE(findProjectRoot(searched(home)), home.filePath(QStringLiteral("archive/h")));
}

void ProjectRootTest::aFileInTheFourthLevelIsFound()
{
    const TestHome home;
    home.write(QStringLiteral("archive/1/2/3/project.godot"), "");
    QCOMPARE(findProjectRoot(searched(home)), home.filePath(QStringLiteral("archive/1/2/3")));
}

void ProjectRootTest::aFileInTheFifthLevelIsNotFound()
{
    const TestHome home;
    home.write(QStringLiteral("archive/1/2/3/4/project.godot"), "");
    home.write(QStringLiteral("archive/1/2/3/4/5/project.godot"), "");
    QCOMPARE(findProjectRoot(searched(home)), std::nullopt);
}

void ProjectRootTest::anotherLetterCaseIsNoMatch_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : { "Project.godot", "project.Godot", "PROJECT.GODOT", "project.godot.bak",
                              "my-project.godot", "project" })
        QTest::newRow(name) << QString::fromLatin1(name);
}

void ProjectRootTest::anotherLetterCaseIsNoMatch()
{
    QFETCH(QString, name);
    const TestHome home;
    home.write(QStringLiteral("archive/") + name, "");
    QCOMPARE(findProjectRoot(searched(home)), std::nullopt);
}

void ProjectRootTest::hiddenFoldersAreNotLookedInto()
{
    const TestHome home;
    home.write(QStringLiteral("archive/.git/project.godot"), "");
    QCOMPARE(findProjectRoot(searched(home)), std::nullopt);
    home.write(QStringLiteral("archive/a/b/project.godot"), "");
    QCOMPARE(findProjectRoot(searched(home)), home.filePath(QStringLiteral("archive/a/b")));
}

void ProjectRootTest::aHiddenFolderAboveTheSearchedOneDoesNotMatter()
{
    const TestHome home;
    home.write(QStringLiteral(".local/share/archive/project.godot"), "");
    const QString folder = home.filePath(QStringLiteral(".local/share/archive"));
    QCOMPARE(findProjectRoot(folder), folder);
}

void ProjectRootTest::ofSeveralAtOneDepthTheFirstInListingOrderWins()
{
    const TestHome home;
    for (int number = 0; number < 40; ++number)
        home.write(QStringLiteral("archive/game-%1/project.godot").arg(number * 7919 % 1000), "");
    const std::filesystem::path folder = QFile::encodeName(searched(home)).toStdString();
    const std::string first = std::filesystem::directory_iterator(folder)->path().string();
    QCOMPARE(findProjectRoot(searched(home)), QString::fromStdString(first));
}

void ProjectRootTest::nothingIsFoundInAnEmptyOrMissingFolderOrAFile()
{
    const TestHome home;
    QCOMPARE(findProjectRoot(searched(home)), std::nullopt);
    makeFolder(searched(home));
    QCOMPARE(findProjectRoot(searched(home)), std::nullopt);
    QCOMPARE(findProjectRoot(home.write(QStringLiteral("project.godot"), "")), std::nullopt);
    QCOMPARE(findProjectRoot(QString()), std::nullopt);
}

void ProjectRootTest::linksToFoldersAreNotFollowed()
{
    const TestHome home;
    home.write(QStringLiteral("elsewhere/project.godot"), "");
    makeFolder(searched(home));
    QVERIFY(
        QFile::link(home.filePath(QStringLiteral("elsewhere")), searched(home) + QStringLiteral("/link")));
    QCOMPARE(findProjectRoot(searched(home)), std::nullopt);
}

void ProjectRootTest::aFolderFullOfLinksToEverywhereIsHarmlessAndQuick()
{
    const TestHome home;
    for (const char *folder : { "archive", "archive/a", "archive/a/b", "archive/a/b/c" }) {
        const QString path = home.filePath(QString::fromLatin1(folder));
        makeFolder(path);
        for (int number = 0; number < 50; ++number) {
            const QString link = path + QStringLiteral("/link%1-").arg(number);
            QVERIFY(QFile::link(QStringLiteral("/"), link + QStringLiteral("disk")));
            QVERIFY(QFile::link(QStringLiteral("."), link + QStringLiteral("itself")));
            QVERIFY(QFile::link(QStringLiteral(".."), link + QStringLiteral("parent")));
            QVERIFY(QFile::link(QStringLiteral("nowhere"), link + QStringLiteral("nothing")));
        }
    }
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(findProjectRoot(searched(home)), std::nullopt);
    const ProjectInfo info = ProjectInspector::inspect(searched(home));
    QCOMPARE(info.controls.size(), 2);
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
}

void ProjectRootTest::anUnreadableFolderIsPassedOver()
{
    const TestHome home;
    makeFolder(searched(home));
    // A pipe is no folder, and a link to itself cannot be followed.
    QCOMPARE(::mkfifo(QFile::encodeName(searched(home) + QStringLiteral("/pipe")).constData(), 0600), 0);
    QVERIFY(QFile::link(QStringLiteral("loop"), searched(home) + QStringLiteral("/loop")));
    home.write(QStringLiteral("archive/locked/project.godot"), "");
    home.write(QStringLiteral("archive/open/below/project.godot"), "");
    const QByteArray locked = QFile::encodeName(home.filePath(QStringLiteral("archive/locked")));
    QCOMPARE(::chmod(locked.constData(), 0), 0);
    const bool permissionsCount = !QFileInfo(home.filePath(QStringLiteral("archive/locked"))).isReadable();
    const auto found = findProjectRoot(searched(home));
    QCOMPARE(::chmod(locked.constData(), 0700), 0);
    // The superuser can read the locked folder, too.
    QCOMPARE(found,
             home.filePath(permissionsCount ? QStringLiteral("archive/open/below")
                                            : QStringLiteral("archive/locked")));
}

void ProjectRootTest::anEntryOfAnyKindWithTheNameCounts()
{
    const TestHome home;
    makeFolder(home.filePath(QStringLiteral("archive/game/project.godot")));
    QCOMPARE(findProjectRoot(searched(home)), home.filePath(QStringLiteral("archive/game")));
}

void ProjectRootTest::manyFoldersAreSearchedQuickly()
{
    const TestHome home;
    for (int number = 0; number < 2000; ++number)
        makeFolder(home.filePath(QStringLiteral("archive/%1/%2").arg(number % 50).arg(number)));
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(findProjectRoot(searched(home)), std::nullopt);
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(ProjectRootTest)
#include "ProjectRootTest.moc"
