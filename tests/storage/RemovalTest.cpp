#include "FileError.h"
#include "FileOperations.h"

#include "OrdinaryUser.h"
#include "TestHome.h"

#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

class RemovalTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nothingThereIsNoError();
    void aFileIsRemoved();
    void aWholeTreeIsRemovedHiddenFilesIncluded();
    void aLinkInTheTreeIsRemovedAndNotFollowed();
    void aLinkInPlaceOfTheTreeIsRemovedAndNotFollowed();
    void aPathWithASlashAtItsEndDoesNotFollowALink();
    void aDanglingLinkIsRemoved();
    void aPipeIsRemovedWithoutBlocking();
    void aTreeFiveHundredLevelsDeepIsRemoved();
    void namesThatAreNotUtf8AreRemoved();
    void foldersWithoutPermissionsAreRemoved();
    void theRestGoesWhenSomethingCannotBeRemoved();
    void theRestGoesWhenAFolderMayOnlyBeListed();
    void ofFoldersThatCannotBeEnteredTheEmptyOneGoes();
    void theFirstThingThatCannotBeRemovedIsNamed();
    void aPathBelowAFileIsAnError();
    void theTopOfTheFileSystemIsRefused_data();
    void theTopOfTheFileSystemIsRefused();
    void removalIfPossibleSaysWhetherNothingIsLeft();
    void noDescriptorIsLeftOpen();

private:
    /// Makes a tree whose folder "held" belongs to another user, so that an ordinary user can neither empty
    /// nor enter it. Returns whether that worked.
    static bool makeTreeWithForeignFolder(const TestHome &home);
    static int openDescriptors();
};

bool RemovalTest::makeTreeWithForeignFolder(const TestHome &home)
{
    home.write(QStringLiteral("tree/a/file"), "1");
    home.write(QStringLiteral("tree/held/file"), "1");
    home.write(QStringLiteral("tree/z/file"), "1");
    bool made = ::chmod(QFile::encodeName(home.path()).constData(), 0755) == 0;
    for (const char *name : { "tree", "tree/a", "tree/a/file", "tree/z", "tree/z/file" })
        made = made
            && OrdinaryUser::own(QFile::encodeName(home.filePath(QLatin1StringView(name))).constData());
    return made;
}

int RemovalTest::openDescriptors()
{
    int count = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor)
        count += ::fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
    return count;
}

void RemovalTest::nothingThereIsNoError()
{
    const TestHome home;
    FileOperations::removeTree(home.filePath(QStringLiteral("nothing")));
    FileOperations::removeTree(home.filePath(QStringLiteral("no/thing")));
}

void RemovalTest::aFileIsRemoved()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("file"), "1");
    FileOperations::removeTree(file);
    QVERIFY(!FileOperations::exists(file));
}

void RemovalTest::aWholeTreeIsRemovedHiddenFilesIncluded()
{
    const TestHome home;
    home.write(QStringLiteral("tree/.hidden/.file"), "1");
    home.write(QStringLiteral("tree/a/b/c"), "1");
    home.write(QStringLiteral("tree/a/b2/c"), "1");
    home.write(QStringLiteral("tree/file"), "1");
    home.write(QStringLiteral("beside"), "1");
    FileOperations::removeTree(home.filePath(QStringLiteral("tree")));
    QVERIFY(!FileOperations::exists(home.filePath(QStringLiteral("tree"))));
    QVERIFY(FileOperations::exists(home.filePath(QStringLiteral("beside"))));
}

void RemovalTest::aLinkInTheTreeIsRemovedAndNotFollowed()
{
    const TestHome home;
    const QString precious = home.write(QStringLiteral("precious/save"), "1");
    home.write(QStringLiteral("tree/file"), "1");
    QVERIFY(
        QFile::link(home.filePath(QStringLiteral("precious")), home.filePath(QStringLiteral("tree/link"))));
    QVERIFY(QFile::link(precious, home.filePath(QStringLiteral("tree/file-link"))));
    FileOperations::removeTree(home.filePath(QStringLiteral("tree")));
    QVERIFY(!FileOperations::exists(home.filePath(QStringLiteral("tree"))));
    QVERIFY(FileOperations::exists(precious));
}

void RemovalTest::aLinkInPlaceOfTheTreeIsRemovedAndNotFollowed()
{
    const TestHome home;
    const QString precious = home.write(QStringLiteral("precious/save"), "1");
    const QString link = home.filePath(QStringLiteral("link"));
    QVERIFY(QFile::link(home.filePath(QStringLiteral("precious")), link));
    FileOperations::removeTree(link);
    QVERIFY(!FileOperations::exists(link));
    QVERIFY(FileOperations::exists(precious));
}

void RemovalTest::aPathWithASlashAtItsEndDoesNotFollowALink()
{
    const TestHome home;
    const QString precious = home.write(QStringLiteral("precious/save"), "1");
    const QString link = home.filePath(QStringLiteral("link"));
    QVERIFY(QFile::link(home.filePath(QStringLiteral("precious")), link));
    FileOperations::removeTree(link + QStringLiteral("//"));
    QVERIFY(!FileOperations::exists(link));
    QVERIFY(FileOperations::exists(precious));
}

void RemovalTest::aDanglingLinkIsRemoved()
{
    const TestHome home;
    const QString link = home.filePath(QStringLiteral("link"));
    QVERIFY(QFile::link(QStringLiteral("nothing"), link));
    QVERIFY(FileOperations::exists(link));
    FileOperations::removeTree(link);
    QVERIFY(!FileOperations::exists(link));
}

void RemovalTest::aPipeIsRemovedWithoutBlocking()
{
    const TestHome home;
    home.write(QStringLiteral("tree/file"), "1");
    QCOMPARE(mkfifo(QFile::encodeName(home.filePath(QStringLiteral("tree/pipe"))).constData(), 0600), 0);
    FileOperations::removeTree(home.filePath(QStringLiteral("tree")));
    QVERIFY(!FileOperations::exists(home.filePath(QStringLiteral("tree"))));
}

void RemovalTest::aTreeFiveHundredLevelsDeepIsRemoved()
{
    const TestHome home;
    // Names so long that the path of the deepest folder exceeds PATH_MAX.
    const QByteArray name(100, 'd');
    int here = ::open(QFile::encodeName(home.path()).constData(), O_RDONLY | O_DIRECTORY);
    for (int level = 0; level < 500; ++level) {
        QCOMPARE(::mkdirat(here, name.constData(), 0700), 0);
        const int next = ::openat(here, name.constData(), O_RDONLY | O_DIRECTORY);
        QVERIFY(next >= 0);
        ::close(here);
        here = next;
    }
    ::close(::openat(here, "file", O_CREAT | O_WRONLY, 0600));
    ::close(here);
    FileOperations::removeTree(home.filePath(QString::fromLatin1(name)));
    QVERIFY(!FileOperations::exists(home.filePath(QString::fromLatin1(name))));
}

void RemovalTest::namesThatAreNotUtf8AreRemoved()
{
    const TestHome home;
    home.write(QStringLiteral("tree/file"), "1");
    const QByteArray tree = QFile::encodeName(home.filePath(QStringLiteral("tree")));
    if (::mkdir((tree + "/caf\xE9").constData(), 0700) != 0)
        QSKIP("This file system takes only names in UTF-8.");
    QCOMPARE(::rename((tree + "/file").constData(), (tree + "/caf\xE9/\xFF\n").constData()), 0);
    FileOperations::removeTree(home.filePath(QStringLiteral("tree")));
    QVERIFY(!FileOperations::exists(home.filePath(QStringLiteral("tree"))));
}

void RemovalTest::foldersWithoutPermissionsAreRemoved()
{
    const TestHome home;
    QVERIFY(OrdinaryUser::own(QFile::encodeName(home.path()).constData()));
    const QString tree = home.filePath(QStringLiteral("tree"));
    const bool removed = OrdinaryUser::run([&] {
        const TestHome *in = &home;
        in->write(QStringLiteral("tree/shut/deeper/file"), "1");
        in->write(QStringLiteral("tree/read-only/file"), "1");
        in->write(QStringLiteral("tree/not-listed/file"), "1");
        for (const auto &[name, mode] : { std::pair { "tree/shut/deeper", 0 }, std::pair { "tree/shut", 0 },
                                          std::pair { "tree/read-only", 0500 },
                                          std::pair { "tree/not-listed", 0300 }, std::pair { "tree", 0 } }) {
            const QByteArray path = QFile::encodeName(in->filePath(QLatin1StringView(name)));
            if (::chmod(path.constData(), static_cast<mode_t>(mode)) != 0)
                return false;
        }
        FileOperations::removeTree(tree);
        return !FileOperations::exists(tree);
    });
    QVERIFY(removed);
}

void RemovalTest::theRestGoesWhenSomethingCannotBeRemoved()
{
    if (!OrdinaryUser::isNeeded())
        QSKIP("Only the superuser can make a folder that belongs to somebody else.");
    const TestHome home;
    QVERIFY(makeTreeWithForeignFolder(home));
    const QString tree = home.filePath(QStringLiteral("tree"));
    const bool failed = OrdinaryUser::run([&] {
        try {
            FileOperations::removeTree(tree);
            return false;
        } catch (const FileError &) {
            return true;
        }
    });
    QVERIFY(failed);
    QVERIFY(!FileOperations::exists(home.filePath(QStringLiteral("tree/a"))));
    QVERIFY(!FileOperations::exists(home.filePath(QStringLiteral("tree/z"))));
    QVERIFY(FileOperations::exists(home.filePath(QStringLiteral("tree/held/file"))));
}

void RemovalTest::theRestGoesWhenAFolderMayOnlyBeListed()
{
    if (!OrdinaryUser::isNeeded())
        QSKIP("Only the superuser can make a folder that belongs to somebody else.");
    const TestHome home;
    const auto path = [&home](const QString &name) { return QFile::encodeName(home.filePath(name)); };
    QCOMPARE(::chmod(path(QStringLiteral(".")).constData(), 0755), 0);
    // One in each of two folders, so that in any order of listing something follows one of them.
    const QStringList folders { QStringLiteral("tree/a"), QStringLiteral("tree/b") };
    for (const QString &folder : folders) {
        home.write(folder + QStringLiteral("/file"), "1");
        home.write(folder + QStringLiteral("/held/file"), "1");
        QVERIFY(OrdinaryUser::own(path(folder).constData()));
        QCOMPARE(::chmod(path(folder + QStringLiteral("/held")).constData(), 0744), 0);
    }
    QVERIFY(OrdinaryUser::own(path(QStringLiteral("tree")).constData()));
    QVERIFY(OrdinaryUser::run(
        [&home] { return !FileOperations::removeTreeIfPossible(home.filePath(QStringLiteral("tree"))); }));
    for (const QString &folder : folders) {
        QVERIFY(!FileOperations::exists(home.filePath(folder + QStringLiteral("/file"))));
        QVERIFY(FileOperations::exists(home.filePath(folder + QStringLiteral("/held/file"))));
    }
}

void RemovalTest::ofFoldersThatCannotBeEnteredTheEmptyOneGoes()
{
    if (!OrdinaryUser::isNeeded())
        QSKIP("Only the superuser can make a folder that belongs to somebody else.");
    const TestHome home;
    QVERIFY(makeTreeWithForeignFolder(home));
    const QString tree = home.filePath(QStringLiteral("tree"));
    const QByteArray full = QFile::encodeName(tree + QStringLiteral("/held"));
    const QByteArray empty = QFile::encodeName(tree + QStringLiteral("/empty"));
    QCOMPARE(::chmod(full.constData(), 0700), 0);
    QCOMPARE(::mkdir(empty.constData(), 0700), 0);
    const bool named = OrdinaryUser::run([&] {
        try {
            FileOperations::removeTree(tree);
            return false;
        } catch (const FileError &error) {
            return error.code() == EACCES
                && error.errorDescription()
                == QStringLiteral("“held” could not be removed: Permission denied.");
        }
    });
    QVERIFY(named);
    QVERIFY(FileOperations::exists(QFile::decodeName(full)));
    QVERIFY(!FileOperations::exists(QFile::decodeName(empty)));
}

void RemovalTest::theFirstThingThatCannotBeRemovedIsNamed()
{
    if (!OrdinaryUser::isNeeded())
        QSKIP("Only the superuser can make a folder that belongs to somebody else.");
    const TestHome home;
    QVERIFY(makeTreeWithForeignFolder(home));
    const bool named = OrdinaryUser::run([&] {
        try {
            FileOperations::removeTree(home.filePath(QStringLiteral("tree")));
            return false;
        } catch (const FileError &error) {
            // The file in the other user's folder, not the folders that it keeps from being empty.
            return error.code() == EACCES
                && error.errorDescription()
                == QStringLiteral("“file” could not be removed: Permission denied.");
        }
    });
    QVERIFY(named);
}

void RemovalTest::aPathBelowAFileIsAnError()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("file"), "1");
    QVERIFY_THROWS_EXCEPTION(FileError, FileOperations::removeTree(file + QStringLiteral("/x")));
}

void RemovalTest::theTopOfTheFileSystemIsRefused_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("empty") << QString();
    QTest::newRow("slash") << QStringLiteral("/");
    QTest::newRow("slashes") << QStringLiteral("//");
    QTest::newRow("here") << QStringLiteral("tree/.");
    QTest::newRow("above") << QStringLiteral("tree/..");
}

void RemovalTest::theTopOfTheFileSystemIsRefused()
{
    QFETCH(QString, path);
    const TestHome home;
    const QString file = home.write(QStringLiteral("tree/file"), "1");
    const QString whole = path.startsWith(QStringLiteral("tree")) ? home.filePath(path) : path;
    QVERIFY_THROWS_EXCEPTION(FileError, FileOperations::removeTree(whole));
    QVERIFY(FileOperations::exists(file));
}

void RemovalTest::removalIfPossibleSaysWhetherNothingIsLeft()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("file"), "1");
    QVERIFY(!FileOperations::removeTreeIfPossible(file + QStringLiteral("/x")));
    QVERIFY(FileOperations::removeTreeIfPossible(file));
    QVERIFY(FileOperations::removeTreeIfPossible(file));
}

void RemovalTest::noDescriptorIsLeftOpen()
{
    const TestHome home;
    const int before = openDescriptors();
    home.write(QStringLiteral("tree/a/b/file"), "1");
    FileOperations::removeTree(home.filePath(QStringLiteral("tree")));
    QCOMPARE(openDescriptors(), before);
}

QTEST_GUILESS_MAIN(RemovalTest)
#include "RemovalTest.moc"
