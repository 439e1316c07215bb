#include "FileOperations.h"
#include "FileError.h"

#include "OrdinaryUser.h"
#include "TestHome.h"

#include <QTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <initializer_list>
#include <optional>

class FileOperationsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anythingAtAPathExists();
    void whatALinkLeadsToIsReachableUnlessItLeadsNowhere();
    void aFolderIsCreatedWithAllMissingParents();
    void aFolderThatExistsIsNoError();
    void aFileInTheWayOfAFolderIsAnError();
    void aFileIsMoved();
    void aFolderIsMovedWithItsContent();
    void aLinkIsMovedAndNotItsTarget();
    void nothingIsMovedOntoANameThatIsTaken_data();
    void nothingIsMovedOntoANameThatIsTaken();
    void movingAMissingFileIsAnError();
    void movingBelowAFileIsAnError();
    void aNewFileIsWritten();
    void anExistingFileIsReplacedAndKeepsItsPermissions();
    void aReaderOfTheOldFileSeesTheOldContent();
    void nothingIsLeftBesideAWrittenFile();
    void aReadOnlyFileIsNotReplaced();
    void aFolderIsNotReplacedByAFile();
    void aPipeIsNotReplacedByAFile();
    void writingIntoAMissingFolderIsAnError();
    void writingBelowAFileIsAnError();
    void aFileOfSomebodyElseIsNotReplaced();
    void aWriteThatFailsHalfwayLeavesTheOldFileAlone();
    void aLinkIsReplacedAndItsTargetLeftAlone();
    void aFileWithTheLongestNameIsWritten();

private:
    static QByteArray contentOf(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
    }

    /// The error that `work` throws, or no value.
    template <typename Work> static std::optional<FileError> failureOf(Work work)
    {
        try {
            work();
        } catch (const FileError &error) {
            return error;
        }
        return std::nullopt;
    }

    static QStringList everythingIn(const QString &folder)
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }
};

void FileOperationsTest::anythingAtAPathExists()
{
    const TestHome home;
    QVERIFY(FileOperations::exists(home.path()));
    QVERIFY(FileOperations::exists(home.write(QStringLiteral("file"), "1")));
    QVERIFY(!FileOperations::exists(home.filePath(QStringLiteral("nothing"))));
    QVERIFY(!FileOperations::exists(QString()));
    QVERIFY(QFile::link(QStringLiteral("nothing"), home.filePath(QStringLiteral("link"))));
    QVERIFY(FileOperations::exists(home.filePath(QStringLiteral("link"))));
}

void FileOperationsTest::whatALinkLeadsToIsReachableUnlessItLeadsNowhere()
{
    const TestHome home;
    const QString link = home.filePath(QStringLiteral("link"));
    QVERIFY(QFile::link(home.filePath(QStringLiteral("folder")), link));
    QVERIFY(FileOperations::exists(link));
    QVERIFY(!FileOperations::isReachable(link));
    QVERIFY(!FileOperations::isReachable(home.filePath(QStringLiteral("folder"))));
    home.write(QStringLiteral("folder/file"), "1");
    QVERIFY(FileOperations::isReachable(link));
    QVERIFY(FileOperations::isReachable(link + QStringLiteral("/file")));
}

void FileOperationsTest::aFolderIsCreatedWithAllMissingParents()
{
    const TestHome home;
    const QString folder = home.filePath(QStringLiteral("a/b c/Größe"));
    FileOperations::createFolder(folder);
    QVERIFY(QFileInfo(folder).isDir());
    FileOperations::createFolder(home.filePath(QStringLiteral("x//y/")));
    QVERIFY(QFileInfo(home.filePath(QStringLiteral("x/y"))).isDir());
}

void FileOperationsTest::aFolderThatExistsIsNoError()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("a/file"), "1");
    FileOperations::createFolder(home.filePath(QStringLiteral("a")));
    FileOperations::createFolder(QStringLiteral("/"));
    QVERIFY(FileOperations::exists(file));
    QVERIFY(QFile::link(QStringLiteral("a"), home.filePath(QStringLiteral("link"))));
    FileOperations::createFolder(home.filePath(QStringLiteral("link/b")));
    QVERIFY(QFileInfo(home.filePath(QStringLiteral("a/b"))).isDir());
}

void FileOperationsTest::aFileInTheWayOfAFolderIsAnError()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("file"), "1");
    auto error = failureOf([&] { FileOperations::createFolder(file); });
    QVERIFY(error);
    QCOMPARE(error->errorDescription(), QStringLiteral("“file” could not be created: File exists."));
    error = failureOf([&] { FileOperations::createFolder(file + QStringLiteral("/a/b")); });
    QVERIFY(error);
    QCOMPARE(error->errorDescription(),
             QStringLiteral("A folder could not be created in “%1”: Not a directory.").arg(file));
    QVERIFY(failureOf([] { FileOperations::createFolder(QString()); }));
}

void FileOperationsTest::aFileIsMoved()
{
    const TestHome home;
    const QString from = home.write(QStringLiteral("from"), "1");
    const QString to = home.filePath(QStringLiteral("to"));
    FileOperations::move(from, to);
    QVERIFY(!FileOperations::exists(from));
    QCOMPARE(contentOf(to), QByteArray("1"));
}

void FileOperationsTest::aFolderIsMovedWithItsContent()
{
    const TestHome home;
    home.write(QStringLiteral("from/a/file"), "1");
    FileOperations::move(home.filePath(QStringLiteral("from/")), home.filePath(QStringLiteral("to/")));
    QCOMPARE(contentOf(home.filePath(QStringLiteral("to/a/file"))), QByteArray("1"));
}

void FileOperationsTest::aLinkIsMovedAndNotItsTarget()
{
    const TestHome home;
    const QString target = home.write(QStringLiteral("target/file"), "1");
    QVERIFY(QFile::link(QStringLiteral("target"), home.filePath(QStringLiteral("link"))));
    FileOperations::move(home.filePath(QStringLiteral("link/")), home.filePath(QStringLiteral("moved")));
    QVERIFY(QFileInfo(home.filePath(QStringLiteral("moved"))).isSymLink());
    QVERIFY(FileOperations::exists(target));
}

void FileOperationsTest::nothingIsMovedOntoANameThatIsTaken_data()
{
    QTest::addColumn<QString>("taken");
    QTest::newRow("by a file") << QStringLiteral("file");
    QTest::newRow("by an empty folder") << QStringLiteral("folder");
    QTest::newRow("by a dangling link") << QStringLiteral("link");
}

void FileOperationsTest::nothingIsMovedOntoANameThatIsTaken()
{
    QFETCH(QString, taken);
    const TestHome home;
    home.write(QStringLiteral("file"), "old");
    QVERIFY(QDir().mkpath(home.filePath(QStringLiteral("folder"))));
    QVERIFY(QFile::link(QStringLiteral("nothing"), home.filePath(QStringLiteral("link"))));
    home.write(QStringLiteral("from-folder/file"), "new");
    const QString fromFile = home.write(QStringLiteral("from-file"), "new");
    for (const QString &from : { home.filePath(QStringLiteral("from-folder")), fromFile }) {
        const auto error = failureOf([&] { FileOperations::move(from, home.filePath(taken)); });
        QVERIFY(error);
        QCOMPARE(error->code(), EEXIST);
        QVERIFY(FileOperations::exists(from));
    }
    QCOMPARE(contentOf(home.filePath(QStringLiteral("file"))), QByteArray("old"));
}

void FileOperationsTest::movingAMissingFileIsAnError()
{
    const TestHome home;
    const auto error = failureOf([&] {
        FileOperations::move(home.filePath(QStringLiteral("game.zip")), home.filePath(QStringLiteral("to")));
    });
    QVERIFY(error);
    QCOMPARE(error->errorDescription(),
             QStringLiteral("“game.zip” could not be moved: No such file or directory."));
}

void FileOperationsTest::movingBelowAFileIsAnError()
{
    const TestHome home;
    const QString from = home.write(QStringLiteral("from"), "1");
    const QString file = home.write(QStringLiteral("file"), "1");
    QVERIFY(failureOf([&] { FileOperations::move(from, file + QStringLiteral("/x")); }));
    QVERIFY(FileOperations::exists(from));
}

void FileOperationsTest::aNewFileIsWritten()
{
    const TestHome home;
    const QByteArray content = QByteArray("one\0two\n", 8).repeated(100'000);
    FileOperations::writeAtomically(home.filePath(QStringLiteral("marker")), content);
    QCOMPARE(contentOf(home.filePath(QStringLiteral("marker"))), content);
    FileOperations::writeAtomically(home.filePath(QStringLiteral("empty")), {});
    QCOMPARE(contentOf(home.filePath(QStringLiteral("empty"))), QByteArray());
}

void FileOperationsTest::anExistingFileIsReplacedAndKeepsItsPermissions()
{
    const TestHome home;
    const QString path = home.write(QStringLiteral("project.godot"), "old and longer");
    for (const mode_t mode : std::initializer_list<mode_t> { 0600, 0644, 0755, 0666 }) {
        QCOMPARE(::chmod(QFile::encodeName(path).constData(), mode), 0);
        FileOperations::writeAtomically(path, "new");
        QCOMPARE(contentOf(path), QByteArray("new"));
        struct stat status = {};
        QCOMPARE(::stat(QFile::encodeName(path).constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777, mode);
    }
}

void FileOperationsTest::aReaderOfTheOldFileSeesTheOldContent()
{
    const TestHome home;
    QFile reader(home.write(QStringLiteral("file"), "old"));
    QVERIFY(reader.open(QIODevice::ReadOnly));
    FileOperations::writeAtomically(reader.fileName(), "new");
    QCOMPARE(reader.readAll(), QByteArray("old"));
}

void FileOperationsTest::nothingIsLeftBesideAWrittenFile()
{
    const TestHome home;
    const QString path = home.write(QStringLiteral("file"), "old");
    FileOperations::writeAtomically(path, "new");
    QCOMPARE(everythingIn(home.path()), QStringList(QStringLiteral("file")));
}

void FileOperationsTest::aReadOnlyFileIsNotReplaced()
{
    const TestHome home;
    const QString path = home.write(QStringLiteral("project.godot"), "old");
    QCOMPARE(::chmod(QFile::encodeName(path).constData(), 0444), 0);
    const auto error = failureOf([&] { FileOperations::writeAtomically(path, "new"); });
    QVERIFY(error);
    QCOMPARE(error->errorDescription(),
             QStringLiteral("“project.godot” could not be written: Permission denied."));
    QCOMPARE(contentOf(path), QByteArray("old"));
    QCOMPARE(everythingIn(home.path()), QStringList(QStringLiteral("project.godot")));
}

void FileOperationsTest::aFolderIsNotReplacedByAFile()
{
    const TestHome home;
    QVERIFY(QDir().mkpath(home.filePath(QStringLiteral("folder"))));
    const auto error
        = failureOf([&] { FileOperations::writeAtomically(home.filePath(QStringLiteral("folder")), "new"); });
    QVERIFY(error);
    QCOMPARE(error->code(), EISDIR);
    QCOMPARE(everythingIn(home.path()), QStringList(QStringLiteral("folder")));
}

void FileOperationsTest::aPipeIsNotReplacedByAFile()
{
    const TestHome home;
    const QString pipe = home.filePath(QStringLiteral("pipe"));
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QVERIFY(failureOf([&] { FileOperations::writeAtomically(pipe, "new"); }));
    QCOMPARE(everythingIn(home.path()), QStringList(QStringLiteral("pipe")));
}

void FileOperationsTest::writingIntoAMissingFolderIsAnError()
{
    const TestHome home;
    const auto error = failureOf(
        [&] { FileOperations::writeAtomically(home.filePath(QStringLiteral("no/file")), "new"); });
    QVERIFY(error);
    QCOMPARE(error->code(), ENOENT);
    QVERIFY(everythingIn(home.path()).isEmpty());
}

void FileOperationsTest::writingBelowAFileIsAnError()
{
    const TestHome home;
    const QString path = home.write(QStringLiteral("file"), "old") + QStringLiteral("/new");
    const auto error = failureOf([&] { FileOperations::writeAtomically(path, "new"); });
    QVERIFY(error);
    QCOMPARE(error->code(), ENOTDIR);
}

void FileOperationsTest::aFileOfSomebodyElseIsNotReplaced()
{
    const TestHome home;
    const QString path = home.write(QStringLiteral("file"), "old");
    QVERIFY(OrdinaryUser::own(QFile::encodeName(home.path()).constData()));
    if (!OrdinaryUser::isNeeded())
        QSKIP("Only the superuser can make a file that belongs to somebody else.");
    QVERIFY(OrdinaryUser::run([path] {
        const auto error = failureOf([path] { FileOperations::writeAtomically(path, "new"); });
        return error && error->code() == EACCES;
    }));
    QCOMPARE(contentOf(path), QByteArray("old"));
}

void FileOperationsTest::aWriteThatFailsHalfwayLeavesTheOldFileAlone()
{
    const TestHome home;
    const QString path = home.write(QStringLiteral("file"), "old");
    rlimit before = {};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small { 1000, before.rlim_max };
    std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    const auto error = failureOf([&] { FileOperations::writeAtomically(path, QByteArray(5000, 'x')); });
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, SIG_DFL);
    QVERIFY(error);
    QCOMPARE(error->code(), EFBIG);
    QCOMPARE(everythingIn(home.path()), QStringList(QStringLiteral("file")));
    QCOMPARE(contentOf(path), QByteArray("old"));
}

void FileOperationsTest::aLinkIsReplacedAndItsTargetLeftAlone()
{
    const TestHome home;
    const QString target = home.write(QStringLiteral("target"), "old");
    const QString link = home.filePath(QStringLiteral("link"));
    QVERIFY(QFile::link(QStringLiteral("target"), link));
    FileOperations::writeAtomically(link, "new");
    QCOMPARE(contentOf(target), QByteArray("old"));
    QCOMPARE(contentOf(link), QByteArray("new"));
    QVERIFY(!QFileInfo(link).isSymLink());
}

void FileOperationsTest::aFileWithTheLongestNameIsWritten()
{
    const TestHome home;
    const QString path = home.filePath(QString(255, u'n'));
    FileOperations::writeAtomically(path, "one");
    FileOperations::writeAtomically(path, "two");
    QCOMPARE(contentOf(path), QByteArray("two"));
}

QTEST_GUILESS_MAIN(FileOperationsTest)
#include "FileOperationsTest.moc"
