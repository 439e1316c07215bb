#include "DirectorySize.h"

#include "OrdinaryUser.h"
#include "Table.h"
#include "TestHome.h"

#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

const QByteArray content(10'000, 'x');

qint64 blocksOf(const QString &path)
{
    struct stat status = {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_blocks * 512 : -1;
}

}

class DirectorySizeTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }

    void onlyFilesCountAndEachTheBlocksThatItTakes_data()
    {
        const auto row = table<QStringList, std::function<void()>>("files", "change");
        row("no folder", {}, {});
        row("an empty folder", {}, [this] { m_home->folder(tree()); });
        row("a file in place of a folder", {}, [this] { m_home->write(tree(), content); });
        row("a link to a file", {},
            [this] { m_home->link(u"tree/link"_s, m_home->write(u"file"_s, content)); });
        row("links to folders", {}, [this] {
            m_home->write(u"away/file"_s, content);
            m_home->link(u"tree/away"_s, u"../away"_s);
            m_home->link(u"tree/round"_s, u"."_s);
        });
        row("a pipe, which must not block", {}, [this] { m_home->pipe(u"tree/pipe"_s); });
        row("a byte", { u"file"_s }, [this] { m_home->write(u"tree/file"_s, "1"); });
        row("a sparse file", { u"file"_s },
            [this] { QVERIFY(QFile::resize(tree() + u"/file"_s, 1'000'000'000)); });
        row("files that are hidden or in a bundle",
            { u".imported-4.3"_s, u".godot/imported/a.ctex"_s, u"Godot.app/Contents/MacOS/Godot"_s }, {});
        row("a file with two names, at each of them", { u"a"_s, u"b"_s }, [this] {
            QVERIFY(QFile::remove(tree() + u"/b"_s));
            QCOMPARE(::link(m_home->bytes(u"tree/a"_s).constData(), m_home->bytes(u"tree/b"_s).constData()),
                     0);
        });
        row("five hundred folders", { u"d/"_s.repeated(500) + u"file"_s, u"d/beside"_s }, {});
    }

    void onlyFilesCountAndEachTheBlocksThatItTakes()
    {
        QFETCH(QStringList, files);
        QFETCH(std::function<void()>, change);
        for (const QString &file : files)
            m_home->write(tree() + u'/' + file, content);
        if (change)
            change();
        qint64 expected = 0;
        for (const QString &file : files) {
            const qint64 blocks = blocksOf(tree() + u'/' + file);
            QVERIFY(blocks > 0 && blocks < 1'000'000);
            expected += blocks;
        }
        QCOMPARE(directorySize(tree()), expected);
    }

    void withoutAPathThereIsNothing() { QCOMPARE(directorySize(QString()), 0); }

    void aFolderNamedByALinkIsSized()
    {
        const QString file = m_home->write(u"real/a"_s, content);
        QCOMPARE(directorySize(m_home->link(u"link"_s, u"real"_s)), blocksOf(file));
    }

    void namesThatAreNotUtf8Count()
    {
        const QByteArray folder = m_home->bytes(u"caf"_s) + '\xE9';
        if (::mkdir(folder.constData(), 0700) != 0)
            QSKIP("This file system takes only names in UTF-8.");
        const QByteArray file = folder + "/\xFF\xFE";
        QCOMPARE(::rename(m_home->bytes(m_home->write(u"plain"_s, content)).constData(), file.constData()),
                 0);
        QVERIFY(directorySize(m_home->path()) >= content.size());
        // QTemporaryDir removes only names in UTF-8.
        QCOMPARE(::unlink(file.constData()), 0);
        QCOMPARE(::rmdir(folder.constData()), 0);
    }

    void aFolderThatIsShutAddsNothingAndTheRestCounts_data()
    {
        const auto row = table<mode_t>("mode");
        row("neither listed nor searched", 0);
        row("listed, but not searched", 0444);
        row("searched, but not listed", 0311);
    }

    void aFolderThatIsShutAddsNothingAndTheRestCounts()
    {
        QFETCH(mode_t, mode);
        m_home->setMode(m_home->path(), 0755);
        // One in each of two folders, so that in any order of listing something follows one of them.
        qint64 open = 0;
        qint64 shut = 0;
        for (const QString &name : { u"a"_s, u"b"_s }) {
            open += blocksOf(m_home->write(name + u"/file"_s, content));
            shut += blocksOf(m_home->write(name + u"/shut/file"_s, content));
            m_home->setMode(name + u"/shut"_s, mode);
        }
        const bool asExpected = OrdinaryUser::run([&] { return directorySize(m_home->path()) == open; });
        for (const QString &name : { u"a"_s, u"b"_s })
            m_home->setMode(name + u"/shut"_s, 0700);
        QVERIFY(asExpected);
        QCOMPARE(directorySize(m_home->path()), open + shut);
    }

private:
    QString tree() const { return m_home->filePath(u"tree"_s); }

    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(DirectorySizeTest)
#include "DirectorySizeTest.moc"
