#include "FileError.h"
#include "FileOperations.h"

#include "Failure.h"
#include "OrdinaryUser.h"
#include "Table.h"
#include "TestHome.h"

#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// Makes something in the home, and returns its path.
using Make = std::function<QString()>;

QString removalFailure(const QString &path)
{
    return failureOf<FileError>([&] { FileOperations::removeTree(path); });
}

QString sentence(const QString &path, int code)
{
    return FileError(path, u"removed"_s, code).errorDescription();
}

int openDescriptors()
{
    int count = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor)
        count += ::fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
    return count;
}

/// Makes a tree so deep that the path of its last folder exceeds PATH_MAX.
QString makeDeepTree(const TestHome &home)
{
    const QByteArray name(100, 'd');
    const QString before = QDir::currentPath();
    bool isDone = QDir::setCurrent(home.path());
    for (int level = 0; level < 500; ++level)
        isDone = isDone && ::mkdir(name.constData(), 0700) == 0 && ::chdir(name.constData()) == 0;
    ::close(::creat("file", 0600));
    if (!QDir::setCurrent(before) || !isDone)
        qFatal("The deep tree could not be made.");
    return home.filePath(QString::fromLatin1(name));
}

}

class RemovalTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home.emplace();
        m_precious = m_home->write(u"precious/save"_s, "1");
    }

    void whateverIsAtAPathIsRemovedAndNothingElse_data()
    {
        const auto row = table<Make>("make");
        row("nothing", [this] { return tree(); });
        row("nothing, in a missing folder", [this] { return m_home->filePath(u"no/thing"_s); });
        row("a file", [this] { return m_home->write(u"file"_s, "1"); });
        row("a tree, hidden files included", [this] {
            for (const QString &name : { u"/.hidden/.file"_s, u"/a/b/c"_s, u"/a/b2/c"_s, u"/file"_s })
                m_home->write(tree() + name, "1");
            return tree();
        });
        row("a tree with links", [this] {
            m_home->link(u"tree/link"_s, u"../precious"_s);
            m_home->link(u"tree/file-link"_s, m_precious);
            return tree();
        });
        row("a tree with a pipe, which must not block", [this] {
            m_home->pipe(u"tree/pipe"_s);
            return tree();
        });
        row("a tree five hundred levels deep", [this] { return makeDeepTree(*m_home); });
        row("a link", [this] { return m_home->link(u"link"_s, u"precious"_s); });
        row("a link, with slashes at its end",
            [this] { return m_home->link(u"link"_s, u"precious"_s) + u"//"_s; });
        row("a link to nothing", [this] { return m_home->link(u"link"_s, u"nothing"_s); });
    }

    void whateverIsAtAPathIsRemovedAndNothingElse()
    {
        QFETCH(Make, make);
        const QString path = make();
        const int descriptors = openDescriptors();
        QCOMPARE(removalFailure(path), QString());
        QCOMPARE(m_home->list(), QStringList(u"precious"_s));
        QVERIFY(FileOperations::exists(m_precious));
        QCOMPARE(openDescriptors(), descriptors);
    }

    void namesThatAreNotUtf8AreRemoved()
    {
        const QByteArray file = m_home->bytes(m_home->write(u"tree/file"_s, "1"));
        const QByteArray folder = m_home->bytes(u"tree/caf"_s) + '\xE9';
        if (::mkdir(folder.constData(), 0700) != 0)
            QSKIP("This file system takes only names in UTF-8.");
        QCOMPARE(::rename(file.constData(), (folder + "/\xFF\n").constData()), 0);
        FileOperations::removeTree(tree());
        QVERIFY(!FileOperations::exists(tree()));
    }

    void foldersWithoutPermissionsAreRemoved()
    {
        QVERIFY(OrdinaryUser::own(m_home->path()));
        QVERIFY(OrdinaryUser::run([this] {
            for (const QString &name : { u"shut/deeper"_s, u"read-only"_s, u"not-listed"_s })
                m_home->write(u"tree/"_s + name + u"/file"_s, "1");
            m_home->setMode(u"tree/read-only/file"_s, 0400);
            m_home->setMode(u"tree/shut/deeper"_s, 0);
            m_home->setMode(u"tree/shut"_s, 0);
            m_home->setMode(u"tree/read-only"_s, 0500);
            m_home->setMode(u"tree/not-listed"_s, 0300);
            m_home->setMode(u"tree"_s, 0);
            FileOperations::removeTree(tree());
            return !FileOperations::exists(tree());
        }));
    }

    void theRestIsRemovedAndTheFirstFailureIsNamed_data()
    {
        const auto row = table<mode_t, QString>("mode", "named");
        // What is in the folder, not the folders that it keeps from being empty.
        row("a folder that may be listed and searched", 0755, u"file"_s);
        row("a folder that may only be listed", 0744, u"held"_s);
        row("a folder that may not be entered", 0700, u"held"_s);
    }

    void theRestIsRemovedAndTheFirstFailureIsNamed()
    {
        if (!OrdinaryUser::isNeeded())
            QSKIP(OrdinaryUser::cannotDisown);
        QFETCH(mode_t, mode);
        QFETCH(QString, named);
        // One in each of two folders, so that in any order of listing something follows one of them.
        const QStringList folders { u"tree/a"_s, u"tree/b"_s };
        for (const QString &folder : folders) {
            m_home->write(folder + u"/file"_s, "1");
            m_home->write(folder + u"/held/file"_s, "1");
            m_home->write(folder + u"/other/file"_s, "1");
            m_home->folder(folder + u"/empty"_s);
        }
        QVERIFY(OrdinaryUser::ownTree(m_home->path()));
        for (const QString &folder : folders) {
            for (const QString &name : { u"/held"_s, u"/empty"_s }) {
                QVERIFY(OrdinaryUser::disown(m_home->filePath(folder + name)));
                m_home->setMode(folder + name, mode);
            }
        }
        QVERIFY(OrdinaryUser::run([&] { return removalFailure(tree()) == sentence(named, EACCES); }));
        for (const QString &folder : folders) {
            QCOMPARE(m_home->list(folder), QStringList(u"held"_s));
            QVERIFY(FileOperations::exists(m_home->filePath(folder + u"/held/file"_s)));
        }
    }

    void aPathBelowAFileIsAnError()
    {
        const QString file = m_home->write(u"file"_s, "1");
        QCOMPARE(removalFailure(file + u"/x"_s), sentence(u"x"_s, ENOTDIR));
        QVERIFY(!FileOperations::removeTreeIfPossible(file + u"/x"_s));
        QVERIFY(FileOperations::removeTreeIfPossible(file));
        QVERIFY(FileOperations::removeTreeIfPossible(file));
    }

    void aPathWithoutANameIsRefused()
    {
        const QString file = m_home->write(u"tree/file"_s, "1");
        for (const QString &path : { QString(), u"/"_s, u"//"_s, tree() + u"/."_s, tree() + u"/.."_s }) {
            QCOMPARE(removalFailure(path), sentence(path, EINVAL));
            QVERIFY(FileOperations::exists(file));
        }
    }

private:
    QString tree() const { return m_home->filePath(u"tree"_s); }

    std::optional<TestHome> m_home;
    QString m_precious;
};

QTEST_GUILESS_MAIN(RemovalTest)
#include "RemovalTest.moc"
