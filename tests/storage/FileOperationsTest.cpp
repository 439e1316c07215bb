#include "FileOperations.h"
#include "FileError.h"

#include "Failure.h"
#include "OrdinaryUser.h"
#include "Table.h"
#include "TestHome.h"

#include <QTest>

#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <initializer_list>

using namespace Qt::StringLiterals;

namespace {

using Work = std::function<void()>;

QString writeFailure(const QString &path, const QByteArray &content = "new")
{
    return failureOf<FileError>([&] { FileOperations::writeAtomically(path, content); });
}

QString folderFailure(const QString &path)
{
    return failureOf<FileError>([&] { FileOperations::createFolder(path); });
}

QString sentence(const QString &path, const QString &action, int code)
{
    return FileError(path, action, code).errorDescription();
}

}

class FileOperationsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }

    void anythingAtAPathExists()
    {
        QVERIFY(FileOperations::exists(m_home->path()));
        QVERIFY(FileOperations::exists(m_home->write(u"file"_s, "1")));
        QVERIFY(FileOperations::exists(m_home->link(u"link"_s, u"nothing"_s)));
        QVERIFY(!FileOperations::exists(at(u"nothing"_s)));
        QVERIFY(!FileOperations::exists(QString()));
    }

    void whatALinkLeadsToIsReachableUnlessItLeadsNowhere()
    {
        const QString link = m_home->link(u"link"_s, at(u"folder"_s));
        QVERIFY(FileOperations::exists(link));
        QVERIFY(!FileOperations::isReachable(link));
        QVERIFY(!FileOperations::isReachable(at(u"folder"_s)));
        m_home->write(u"folder/file"_s, "1");
        QVERIFY(FileOperations::isReachable(link));
        QVERIFY(FileOperations::isReachable(link + u"/file"_s));
    }

    void aFolderIsCreatedWithAllMissingParentsUnlessItExists()
    {
        const QString file = m_home->write(u"a/file"_s, "1");
        m_home->link(u"link"_s, u"a"_s);
        for (const QString &name : { u"a"_s, u"/"_s, u"link/b"_s, u"c/d e/Größe"_s, u"x//y/"_s }) {
            FileOperations::createFolder(at(name));
            QVERIFY2(FileOperations::isFolder(at(name)), qPrintable(name));
        }
        QVERIFY(FileOperations::isFolder(at(u"a/b"_s)));
        QVERIFY(FileOperations::exists(file));
    }

    void aFileInTheWayOfAFolderIsAnError()
    {
        const QString file = m_home->write(u"file"_s, "1");
        QCOMPARE(folderFailure(file), sentence(file, u"created"_s, EEXIST));
        QCOMPARE(folderFailure(file + u"/a/b"_s), FileError::noNewFolderIn(file, ENOTDIR).errorDescription());
        QCOMPARE(folderFailure(QString()), sentence(QString(), u"created"_s, ENOENT));
    }

    void aFileOrAFolderIsMovedWithItsContent()
    {
        FileOperations::move(m_home->write(u"from/a/file"_s, "1"), at(u"from/a/moved"_s));
        FileOperations::move(at(u"from/"_s), at(u"to/"_s));
        QCOMPARE(m_home->list(), QStringList(u"to"_s));
        QCOMPARE(m_home->list(u"to/a"_s), QStringList(u"moved"_s));
        QCOMPARE(m_home->read(u"to/a/moved"_s), "1");
    }

    void aLinkIsMovedAndNotItsTarget()
    {
        const QString target = m_home->write(u"target/file"_s, "1");
        FileOperations::move(m_home->link(u"link"_s, u"target"_s) + u'/', at(u"moved"_s));
        QVERIFY(QFileInfo(at(u"moved"_s)).isSymLink());
        QVERIFY(FileOperations::exists(target));
    }

    void whatCannotBeMovedOrWrittenIsAnErrorAndStaysAsItIs_data()
    {
        const auto row = table<QString, Work>("sentence", "work");
        const auto moving = [&](const char *description, const QString &from, const QString &to, int code) {
            row(description, sentence(from, u"moved"_s, code),
                [this, from, to] { FileOperations::move(at(from), at(to)); });
        };
        moving("a missing file", u"missing"_s, u"to"_s, ENOENT);
        moving("a file to below a file", u"file"_s, u"read-only/to"_s, ENOTDIR);
        moving("a file onto a file", u"file"_s, u"read-only"_s, EEXIST);
        moving("a file onto an empty folder", u"file"_s, u"empty"_s, EEXIST);
        moving("a file onto a link to nothing", u"file"_s, u"link"_s, EEXIST);
        moving("a folder onto a file", u"folder"_s, u"read-only"_s, EEXIST);
        moving("a folder onto an empty folder", u"folder"_s, u"empty"_s, EEXIST);
        moving("a folder onto a link to nothing", u"folder"_s, u"link"_s, EEXIST);
        const auto writing = [&](const char *description, const QString &path, int code) {
            row(description, sentence(path, u"written"_s, code),
                [this, path] { FileOperations::writeAtomically(at(path), "new"); });
        };
        writing("a read-only file", u"read-only"_s, EACCES);
        writing("a folder", u"empty"_s, EISDIR);
        writing("a pipe", u"pipe"_s, EINVAL);
        writing("a file in a missing folder", u"no/file"_s, ENOENT);
        writing("a file below a file", u"read-only/new"_s, ENOTDIR);
    }

    void whatCannotBeMovedOrWrittenIsAnErrorAndStaysAsItIs()
    {
        QFETCH(Work, work);
        m_home->write(u"file"_s, "other");
        m_home->write(u"folder/file"_s, "other");
        m_home->setMode(m_home->write(u"read-only"_s, "old"), 0444);
        m_home->folder(u"empty"_s);
        m_home->link(u"link"_s, u"nothing"_s);
        m_home->pipe(u"pipe"_s);
        const QStringList before = m_home->tree();
        QTEST(failureOf<FileError>(work), "sentence");
        QCOMPARE(m_home->tree(), before);
        QCOMPARE(m_home->read(u"file"_s), "other");
        QCOMPARE(m_home->read(u"read-only"_s), "old");
    }

    void aNewFileIsWrittenEvenOneWithTheLongestName()
    {
        const QByteArray content = QByteArray("one\0two\n", 8).repeated(100'000);
        FileOperations::writeAtomically(at(u"marker"_s), content);
        QCOMPARE(m_home->read(u"marker"_s), content);
        FileOperations::writeAtomically(at(u"empty"_s), {});
        QCOMPARE(m_home->read(u"empty"_s), "");
        const QString longestName(255, u'n');
        FileOperations::writeAtomically(at(longestName), "one");
        FileOperations::writeAtomically(at(longestName), "two");
        QCOMPARE(m_home->read(longestName), "two");
    }

    void anExistingFileIsReplacedAndKeepsItsPermissions()
    {
        const QString path = m_home->write(u"project.godot"_s, "old and longer");
        for (const mode_t mode : std::initializer_list<mode_t> { 0600, 0644, 0755, 0666 }) {
            m_home->setMode(path, mode);
            FileOperations::writeAtomically(path, "new");
            QCOMPARE(m_home->read(path), "new");
            QCOMPARE(m_home->mode(path), mode);
        }
        QCOMPARE(m_home->list(), QStringList(u"project.godot"_s));
    }

    void aReaderOfTheOldFileSeesTheOldContent()
    {
        QFile reader(m_home->write(u"file"_s, "old"));
        QVERIFY(reader.open(QIODevice::ReadOnly));
        FileOperations::writeAtomically(reader.fileName(), "new");
        QCOMPARE(reader.readAll(), "old");
    }

    void aFileOfSomebodyElseIsNotReplaced()
    {
        if (!OrdinaryUser::isNeeded())
            QSKIP(OrdinaryUser::cannotDisown);
        const QString path = m_home->write(u"file"_s, "old");
        QVERIFY(OrdinaryUser::own(m_home->path()));
        QVERIFY(
            OrdinaryUser::run([&] { return writeFailure(path) == sentence(path, u"written"_s, EACCES); }));
        QCOMPARE(m_home->read(path), "old");
    }

    void aWriteThatFailsHalfwayLeavesTheOldFileAlone()
    {
        const QString path = m_home->write(u"file"_s, "old");
        rlimit before = {};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
        const rlimit small { 1000, before.rlim_max };
        std::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &small);
        const QString failure = writeFailure(path, QByteArray(5000, 'x'));
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, SIG_DFL);
        QCOMPARE(failure, sentence(path, u"written"_s, EFBIG));
        QCOMPARE(m_home->list(), QStringList(u"file"_s));
        QCOMPARE(m_home->read(path), "old");
    }

    void aLinkIsReplacedAndItsTargetLeftAlone()
    {
        m_home->write(u"target"_s, "old");
        const QString link = m_home->link(u"link"_s, u"target"_s);
        FileOperations::writeAtomically(link, "new");
        QCOMPARE(m_home->read(u"target"_s), "old");
        QCOMPARE(m_home->read(link), "new");
        QVERIFY(!QFileInfo(link).isSymLink());
    }

private:
    QString at(const QString &name) const { return m_home->filePath(name); }

    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(FileOperationsTest)
#include "FileOperationsTest.moc"
